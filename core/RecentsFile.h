#pragma once

#include "base/Error.h"
#include "core/RecentSession.h"

#include <QDateTime>
#include <QFuture>
#include <QHash>
#include <QList>
#include <QString>

#include <expected>
#include <memory>
#include <optional>

class Clock;

namespace AtomicFile
{
class Pending;
}

/// The recents list on disk: the hidden file ".sessions.json" in the folder of the recordings.
/// Owned by AppState, which holds the list itself. Main thread. What is no future returns when the
/// disk is done.
class RecentsFile
{
public:
    explicit RecentsFile(const Clock &clock);

    /// The stored list, brought up to date: relative times, missing identifiers, and uploads that
    /// an earlier run did not finish. Where no usable file is found, the list that
    /// migrateFromDirectory() makes. Writes nothing.
    QList<RecentSession> load(const QString &folder);

    /// A file as it was left, whatever stands at its path later: a volume may cover it.
    struct Identity {
        quint64 device = 0;
        quint64 inode = 0;
        qint64 changedNanoseconds = 0;

        bool operator==(const Identity &) const = default;
    };

    /// The list as it was read from the disk.
    struct Loaded {
        QList<RecentSession> sessions;
        QString path;
        std::optional<Identity> file; ///< none: there was no usable one
    };

    /// load() in two halves, the slow one in the background.
    QFuture<Loaded> startLoading(const QString &folder) const;
    QList<RecentSession> finishLoading(const Loaded &loaded);

    /// A list made from the audio files directly in \p folder, newest first, at \p now (UTC). Any
    /// thread.
    static QList<RecentSession> migrateFromDirectory(const QString &folder, const QDateTime &now);

    /// Replaces the file in \p folder, which is made if need be. A file that is not the one that
    /// this object has loaded or saved last (a damaged one, the list of another folder, what a
    /// volume brought) is kept aside under another name.
    std::expected<void, Error> save(const QString &folder, const QList<RecentSession> &sessions);

    /// A list on its way to the disk.
    struct Draft {
        QString path;
        std::shared_ptr<AtomicFile::Pending> file; ///< none: it could not be written
        quint64 number = 0;                        ///< later lists of a path have higher ones
    };

    /// The slow part of save() in the background: this thread waits neither for the encoding of a
    /// long list nor for the disk. adopt() then makes it the file.
    QFuture<Draft> draft(const QString &folder, const QList<RecentSession> &sessions);

    /// Does nothing where a later list is in the file already.
    void adopt(const Draft &draft);

private:
    std::expected<void, Error> putInPlace(const Draft &draft);

    const Clock &m_clock;
    /// The file whose content the list in memory contains.
    struct Stored {
        std::optional<Identity> file;
        quint64 number = 0;
    };
    QHash<QString, Stored> m_stored; ///< by path
    quint64 m_lastNumber = 0;
};
