#pragma once

#include "platform/CaptureService.h"

#include <QHash>
#include <QList>
#include <QString>

/// Where the sound of a recording stream comes from.
enum class Feed {
    nothing,
    microphone,
    other, ///< above all an output's monitor: what the machine plays
};

/// The nodes of the sound server, its devices among them, and the links between them.
///
/// A plain value; a copy stays what it was.
class AudioGraph
{
public:
    struct Link {
        quint32 outputNode = 0;
        quint32 inputNode = 0;
    };

    /// \p mediaClass is, for example, Audio/Sink.
    void addNode(quint32 id, const QString &mediaClass) { m_nodes.insert(id, mediaClass); }
    void addLink(quint32 id, Link link) { m_links.insert(id, link); }
    void remove(quint32 id);

    /// What can be captured.
    QList<CaptureTarget> sinks() const;

    bool hasMicrophone() const;

    /// What is linked to the node \p id. One link from anything else outweighs microphones.
    Feed feedOf(quint32 id) const;

private:
    QHash<quint32, QString> m_nodes; ///< their media classes
    QHash<quint32, Link> m_links;
};
