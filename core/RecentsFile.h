#pragma once

#include "base/Error.h"
#include "core/RecentSession.h"

#include <QDateTime>
#include <QFuture>
#include <QList>
#include <QSet>
#include <QString>

#include <expected>
#include <memory>

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

    /// What stood on the disk.
    struct Loaded {
        QList<RecentSession> sessions;
        QString path;
        bool isStored = false; ///< otherwise there was no usable file
    };

    /// load() in two halves, the slow one in the background.
    QFuture<Loaded> startLoading(const QString &folder) const;
    QList<RecentSession> finishLoading(const Loaded &loaded);

    /// A list made from the audio files directly in \p folder, newest first, at \p now (UTC). Any
    /// thread.
    static QList<RecentSession> migrateFromDirectory(const QString &folder, const QDateTime &now);

    /// Replaces the file in \p folder, which is made if need be. A file that this object has
    /// neither loaded nor saved (a damaged one, the list of another folder) is kept aside under
    /// another name.
    std::expected<void, Error> save(const QString &folder, const QList<RecentSession> &sessions);

    /// A list on its way to the disk.
    struct Draft {
        QString path;
        std::shared_ptr<AtomicFile::Pending> file; ///< none: it could not be written
        quint64 number = 0;                        ///< later lists have higher ones
    };

    /// The slow part of save() in the background: this thread waits neither for the encoding of a
    /// long list nor for the disk. adopt() then makes it the file.
    QFuture<Draft> draft(const QString &folder, const QList<RecentSession> &sessions);

    /// Does nothing where a later list is in the file already.
    void adopt(const Draft &draft);

private:
    std::expected<void, Error> putInPlace(const Draft &draft);

    const Clock &m_clock;
    QSet<QString> m_ownPaths; ///< what stands there is contained in the list in memory
    quint64 m_lastNumber = 0;
    quint64 m_numberInPlace = 0;
};
