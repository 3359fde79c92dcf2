#include "platform/linux/pipewire/AudioGraph.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
bool isSink(const QString &mediaClass)
{
    return mediaClass == u"Audio/Sink"_s || mediaClass == u"Audio/Duplex"_s;
}

bool isMicrophone(const QString &mediaClass)
{
    return mediaClass.startsWith(u"Audio/Source"_s) || mediaClass == u"Audio/Duplex"_s;
}
} // namespace

void AudioGraph::remove(quint32 id)
{
    m_nodes.remove(id);
    m_links.remove(id);
}

QList<CaptureTarget> AudioGraph::sinks() const
{
    QList<CaptureTarget> targets;
    for (auto node = m_nodes.begin(); node != m_nodes.end(); ++node) {
        if (isSink(*node))
            targets.append(CaptureTarget{node.key()});
    }
    return targets;
}

bool AudioGraph::hasMicrophone() const
{
    return std::ranges::any_of(m_nodes, isMicrophone);
}

Feed AudioGraph::feedOf(quint32 id) const
{
    Feed feed = Feed::nothing;
    for (const Link &link : m_links) {
        if (link.inputNode != id)
            continue;
        if (!isMicrophone(m_nodes.value(link.outputNode)))
            return Feed::other;
        feed = Feed::microphone;
    }
    return feed;
}
