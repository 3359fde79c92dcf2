#pragma once

#include "base/Error.h"
#include "core/RecentSession.h"

#include <QList>
#include <QSet>
#include <QString>

#include <expected>

class Clock;

/// The recents list on disk: the hidden file ".sessions.json" in the folder of the recordings.
/// Owned by AppState, which holds the list itself. Main thread; returns when the disk is done.
class RecentsFile
{
public:
    explicit RecentsFile(const Clock &clock);

    /// The stored list, brought up to date: relative times, missing identifiers, and uploads that
    /// an earlier run did not finish. Where no usable file is found, the list that
    /// migrateFromDirectory() makes. Writes nothing.
    QList<RecentSession> load(const QString &folder);

    /// A list made from the audio files directly in \p folder, newest first.
    QList<RecentSession> migrateFromDirectory(const QString &folder) const;

    /// Replaces the file in \p folder, which is made if need be. A file that this object has
    /// neither loaded nor saved (a damaged one, the list of another folder) is kept aside under
    /// another name.
    std::expected<void, Error> save(const QString &folder, const QList<RecentSession> &sessions);

private:
    void bringUpToDate(QList<RecentSession> &sessions) const;

    const Clock &m_clock;
    QSet<QString> m_ownPaths; ///< what stands there is contained in the list in memory
};
