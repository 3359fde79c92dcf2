#include "core/RecentsFile.h"

#include "base/AtomicFile.h"
#include "base/BoundedRead.h"
#include "base/PrivateFolder.h"
#include "base/Tasks.h"
#include "core/RecentsCoding.h"
#include "core/RecordingFile.h"
#include "core/SessionText.h"
#include "platform/Clock.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

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

void bringUpToDate(QList<RecentSession> &sessions, const QDateTime &now)
{
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

std::optional<RecentsFile::Identity> identityOf(const QString &path)
{
    struct stat status = {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return RecentsFile::Identity{.device = status.st_dev,
                                 .inode = status.st_ino,
                                 .changedNanoseconds = status.st_mtim.tv_sec * 1'000'000'000LL +
                                                       status.st_mtim.tv_nsec};
}

RecentsFile::Loaded read(const QString &folder, const QDateTime &now)
{
    const QString path = filePath(folder);
    AtomicFile::removeLeftovers(path);
    const auto file = identityOf(path);
    const auto content = readRegularFile(path, maxBytes);
    auto sessions = content ? decodeRecents(*content) : std::nullopt;
    if (!sessions)
        return {.sessions = RecentsFile::migrateFromDirectory(folder, now),
                .path = path,
                .file = std::nullopt};
    bringUpToDate(*sessions, now);
    return {.sessions = *std::move(sessions), .path = path, .file = file};
}

/// The list on the disk, but not in its place yet. Makes the folder if need be. Fails for a list
/// that load() would not take again: the older one in the file is worth more then.
std::expected<std::shared_ptr<AtomicFile::Pending>, Error>
written(const QString &path, const QList<RecentSession> &sessions)
{
    const QByteArray content = encodeRecents(sessions);
    if (content.size() > maxBytes)
        return std::unexpected(Error(u"录音列表过长，没有保存"_s));
    (void)makePrivateFolder(QFileInfo(path).path()); // otherwise the next step fails
    return AtomicFile::prepare(path, content);
}
} // namespace

RecentsFile::RecentsFile(const Clock &clock)
    : m_clock(clock)
{
}

QList<RecentSession> RecentsFile::load(const QString &folder)
{
    return finishLoading(read(folder, m_clock.now().toUTC()));
}

QFuture<RecentsFile::Loaded> RecentsFile::startLoading(const QString &folder) const
{
    return inBackground([folder, now = m_clock.now().toUTC()] { return read(folder, now); });
}

QList<RecentSession> RecentsFile::finishLoading(const Loaded &loaded)
{
    if (loaded.file)
        m_stored[loaded.path].file = loaded.file;
    return loaded.sessions;
}

QList<RecentSession> RecentsFile::migrateFromDirectory(const QString &folder, const QDateTime &now)
{
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
    Draft draft{.path = filePath(folder), .file = nullptr, .number = ++m_lastNumber};
    const auto pending = written(draft.path, sessions);
    if (!pending)
        return std::unexpected(pending.error());
    draft.file = *pending;
    const auto saved = putInPlace(draft);
    if (saved)
        AtomicFile::syncFolderOf(draft.path);
    return saved;
}

QFuture<RecentsFile::Draft> RecentsFile::draft(const QString &folder,
                                               const QList<RecentSession> &sessions)
{
    Draft draft{.path = filePath(folder), .file = nullptr, .number = ++m_lastNumber};
    return inBackground([draft = std::move(draft), sessions]() mutable {
        draft.file = written(draft.path, sessions).value_or(nullptr);
        return draft;
    });
}

void RecentsFile::adopt(const Draft &draft)
{
    // Silent like every save: the list in memory stays, and the next save tries again.
    if (!draft.file || draft.number < m_stored[draft.path].number || !putInPlace(draft))
        return;
    [[maybe_unused]] const auto ignored =
        inBackground([path = draft.path] { AtomicFile::syncFolderOf(path); });
}

std::expected<void, Error> RecentsFile::putInPlace(const Draft &draft)
{
    const bool isOurs = identityOf(draft.path) == m_stored[draft.path].file;
    const auto saved =
        draft.file->putInPlace(isOurs ? AtomicFile::Old::replaced : AtomicFile::Old::keptAside);
    if (saved)
        m_stored[draft.path] = {identityOf(draft.path), draft.number};
    return saved;
}
