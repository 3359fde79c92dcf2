#include "core/RecentsFile.h"

#include "base/AtomicFile.h"
#include "base/BoundedRead.h"
#include "core/RecentsCoding.h"
#include "core/RecordingFile.h"
#include "core/SessionText.h"
#include "platform/Clock.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
// A hundred thousand entries and more; what is longer was not written by us.
constexpr qint64 maxBytes = 64LL << 20;

QString filePath(const QString &folder)
{
    return QDir(folder).absoluteFilePath(u".sessions.json"_s);
}

/// The earlier of birth and last change: a recording that was copied or restored is born anew, and
/// some file systems keep no birth time at all.
QDateTime creationDate(const QFileInfo &file, const QDateTime &now)
{
    const QDateTime born = file.birthTime();
    const QDateTime changed = file.lastModified();
    if (born.isValid() && changed.isValid())
        return std::min(born, changed).toUTC();
    if (born.isValid() || changed.isValid())
        return (born.isValid() ? born : changed).toUTC();
    return now;
}

RecentSession sessionFrom(const QFileInfo &file, const QDateTime &now)
{
    // Our encoders make about 8000 bytes a second.
    const qint64 seconds = file.size() / 8000;
    const QDateTime created = creationDate(file, now);
    const QUrl url = QUrl::fromLocalFile(file.absoluteFilePath());
    return RecentSession{
        .title = recordingBaseName(file.fileName()),
        .duration = formatDuration(static_cast<double>(seconds)),
        .durationSeconds = seconds,
        .when = relativeTime(created, now),
        .startedAt = created,
        .fileURL = url,
        .clientRecordingId = clientRecordingId(url),
    };
}
} // namespace

RecentsFile::RecentsFile(const Clock &clock)
    : m_clock(clock)
{
}

QList<RecentSession> RecentsFile::load(const QString &folder)
{
    const QString path = filePath(folder);
    AtomicFile::removeLeftovers(path);
    const auto content = readRegularFile(path, maxBytes);
    auto sessions = content ? decodeRecents(*content) : std::nullopt;
    if (!sessions)
        return migrateFromDirectory(folder);
    m_ownPaths.insert(path);
    bringUpToDate(*sessions);
    return *sessions;
}

void RecentsFile::bringUpToDate(QList<RecentSession> &sessions) const
{
    const QDateTime now = m_clock.now().toUTC();
    for (RecentSession &session : sessions) {
        session.when = relativeTime(session.startedAt, now);
        if (!session.clientRecordingId && session.fileURL)
            session.clientRecordingId = clientRecordingId(*session.fileURL);
        if (session.status == RecentSession::Status::processing) {
            session.status = RecentSession::Status::ready;
            session.uploadProgress.reset();
        }
    }
}

QList<RecentSession> RecentsFile::migrateFromDirectory(const QString &folder) const
{
    const QDateTime now = m_clock.now().toUTC();
    QList<RecentSession> sessions;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden);
    while (entries.hasNext()) {
        entries.next();
        // A link to a device passes the filter.
        if (hasAudioExtension(entries.fileName()) && entries.fileInfo().isFile())
            sessions.append(sessionFrom(entries.fileInfo(), now));
    }
    std::ranges::stable_sort(sessions, std::ranges::greater(), &RecentSession::startedAt);
    return sessions;
}

std::expected<void, Error> RecentsFile::save(const QString &folder,
                                             const QList<RecentSession> &sessions)
{
    const QString path = filePath(folder);
    QDir().mkpath(QFileInfo(path).path());
    const auto old =
        m_ownPaths.contains(path) ? AtomicFile::Old::replaced : AtomicFile::Old::keptAside;
    const auto saved = AtomicFile::replace(path, encodeRecents(sessions), old);
    if (saved)
        m_ownPaths.insert(path);
    return saved;
}
