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
    QList<CaptureTarget> targets;
    for (auto node = m_nodes.begin(); node != m_nodes.end(); ++node) {
        if (isSink(*node))
            targets.append(CaptureTarget{node.key()});
    }
    return targets;
}

std::optional<quint64> AudioGraph::defaultMicrophone() const
{
    const auto used = microphoneNamed(m_defaultSource);
    return used ? used : microphoneNamed(m_configuredSource);
}

std::optional<quint64> AudioGraph::microphoneNamed(const QString &name) const
{
    // Of several devices with one name take the oldest, so that the choice does not depend on the
    // table's order.
    std::optional<quint64> oldest;
    for (const Node &node : m_nodes) {
        if (isMicrophone(node) && node.name == name)
            oldest = std::min(oldest.value_or(node.serial), node.serial);
    }
    return oldest;
}

bool AudioGraph::isLinked(quint32 id) const
{
    return std::ranges::any_of(m_links, [id](const Link &link) { return link.inputNode == id; });
}
