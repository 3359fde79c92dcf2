#pragma once

#include "platform/CaptureService.h"

#include <QHash>
#include <QList>
#include <QString>

#include <optional>

/// The nodes of the sound server, its devices among them, the links between them, and which
/// microphone is the default.
///
/// Not for two threads at once, and a copy shares its tables with the original.
class AudioGraph
{
public:
    struct Node {
        QString mediaClass; ///< for example Audio/Sink
        QString name;       ///< how the default devices are named
        quint64 serial = 0; ///< never used again by the server, unlike its number
    };
    struct Link {
        quint32 outputNode = 0;
        quint32 inputNode = 0;
    };

    void addNode(quint32 id, const Node &node) { m_nodes.insert(id, node); }
    void addLink(quint32 id, Link link) { m_links.insert(id, link); }
    void remove(quint32 id);

    /// \p name may be that of an output, whose monitor is the default where there is no microphone.
    void setDefaultSource(const QString &name) { m_defaultSource = name; }

    /// Sets the name of the device that the user chose, which need not be there.
    void setConfiguredSource(const QString &name) { m_configuredSource = name; }

    /// The outputs that can be captured.
    QList<CaptureTarget> sinks() const;

    /// The serial of the default microphone. None where the default is not a microphone, and the
    /// user's choice is not there either: a busy session manager may overlook that it is back.
    std::optional<quint64> defaultMicrophone() const;

    /// Whether anything is linked to the input of the node \p id.
    bool isLinked(quint32 id) const;

private:
    std::optional<quint64> microphoneNamed(const QString &name) const;

    QHash<quint32, Node> m_nodes;
    QHash<quint32, Link> m_links;
    QString m_defaultSource;
    QString m_configuredSource;
};
