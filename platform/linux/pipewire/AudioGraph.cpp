#include "platform/linux/pipewire/AudioGraph.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
bool isSink(const AudioGraph::Node &node)
{
    return node.mediaClass == u"Audio/Sink"_s || node.mediaClass == u"Audio/Duplex"_s;
}

bool isMicrophone(const AudioGraph::Node &node)
{
    return node.mediaClass.startsWith(u"Audio/Source"_s) || node.mediaClass == u"Audio/Duplex"_s;
}
} // namespace

void AudioGraph::remove(quint32 id)
{
    m_nodes.remove(id);
    m_links.remove(id);
}

QList<CaptureTarget> AudioGraph::sinks() const
{
    QList<quint32> ids;
    for (auto node = m_nodes.begin(); node != m_nodes.end(); ++node) {
        if (isSink(*node))
            ids.append(node.key());
    }
    std::ranges::sort(ids, {}, [this](quint32 id) {
        return std::pair(m_nodes.value(id).name != m_defaultSink, id);
    });
    QList<CaptureTarget> targets;
    for (const quint32 id : ids) {
        const Node node = m_nodes.value(id);
        targets.append(
            CaptureTarget{id, node.description.isEmpty() ? node.name : node.description});
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
