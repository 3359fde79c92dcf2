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

/// The devices of the sound server, the links between its nodes, and the default devices.
///
/// A plain value; a copy stays what it was.
class AudioGraph
{
public:
    struct Node {
        QString mediaClass; ///< for example Audio/Sink
        QString name;       ///< the one that the defaults refer to
        QString description;
    };
    struct Link {
        quint32 outputNode = 0;
        quint32 inputNode = 0;
    };

    void addNode(quint32 id, const Node &node) { m_nodes.insert(id, node); }
    void addLink(quint32 id, Link link) { m_links.insert(id, link); }
    void remove(quint32 id);
    void setDefaultSink(const QString &name) { m_defaultSink = name; }

    /// What can be captured, the default first and then in the order of their numbers.
    QList<CaptureTarget> sinks() const;

    bool hasMicrophone() const;

    /// What is linked to the node \p id. One link from anything else outweighs microphones.
    Feed feedOf(quint32 id) const;

private:
    QHash<quint32, Node> m_nodes;
    QHash<quint32, Link> m_links;
    QString m_defaultSink;
};
