#include "audio/UnlistedRecordings.h"

#include "audio/ClosedTracks.h"
#include "base/Logger.h"
#include "platform/AudioAssets.h"

#include <QMap>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{
constexpr Logger logger("audio");

/// The clock of a file server may differ, and some file systems count in steps of two seconds.
constexpr int tolerableSeconds = 60;

/// Seconds by which two equal lengths may differ after rounding.
constexpr double tolerableDifference = 0.001;

/// Whether the mix of \p files is there, and as long as the tracks that have not been removed yet.
QCoro::Task<bool> isMixed(AudioAssets &assets, RecordingFiles files)
{
    const bool hasMix = co_await fileHasContent(files.mix);
    if (!hasMix)
        co_return false;
    const auto mixed = co_await assets.durationSeconds(files.mix.toLocalFile());
    if (!mixed)
        co_return false;
    const std::array tracks{files.system, files.mic};
    for (const QUrl &track : tracks) {
        const bool remains = co_await fileHasContent(track);
        if (!remains)
            continue;
        const auto duration = co_await assets.durationSeconds(track.toLocalFile());
        if (!duration || *duration > *mixed + tolerableDifference)
            co_return false;
    }
    co_return true;
}
} // namespace

QCoro::Task<QList<UnlistedRecording>>
unlistedRecordings(AudioAssets &assets, RecordingSettings settings, QDateTime since)
{
    const QString folder = settings.saveDirectory.toLocalFile();
    const QStringList trackFilters{u"recording-*"_s + systemTrackEnding,
                                   u"recording-*"_s + micTrackEnding};
    const QStringList anyFilters{u"recording-*.m4a"_s};
    const QStringList tracks = co_await assets.abandonedTracks(folder, trackFilters);
    QStringList finished;
    if (since.isValid()) {
        finished =
            co_await assets.filesChangedSince(folder, anyFilters, since.addSecs(-tolerableSeconds));
    }
    // By the recordings' own files, so that each is there once. The other track may have been
    // finished before the end came.
    QMap<QString, UnlistedRecording> recordings;
    const auto add = [&](const QString &path, bool isFinished) {
        const RecordingFiles files = recordingFiles(path);
        if (!files.isListed(settings))
            recordings.insert(files.mix.toLocalFile(), {files, isFinished});
    };
    for (const QString &path : finished) {
        if (recordingStart(QUrl::fromLocalFile(path)).isValid())
            add(path, true);
    }
    for (const QString &path : tracks)
        add(path, false);
    QList<UnlistedRecording> unlisted = recordings.values();
    std::ranges::stable_partition(unlisted, &UnlistedRecording::isFinished);
    co_return unlisted;
}

QCoro::Task<std::optional<RecoveredRecording>>
recoverRecording(AudioAssets &assets, UnlistedRecording recording, std::stop_token stop)
{
    const RecordingFiles files = recording.files;
    QList<QUrl> candidates{files.mix, files.system, files.mic};
    if (!recording.isFinished) {
        const bool mixed = co_await isMixed(assets, files);
        if (mixed) {
            co_await removeFile(files.system.toLocalFile());
            co_await removeFile(files.mic.toLocalFile());
        } else {
            const auto concluded =
                co_await concludeRecording(assets, files.system, files.mic, nullptr, stop);
            if (concluded.file)
                candidates.prepend(*concluded.file);
            else if (stop.stop_requested())
                co_return std::nullopt;
        }
    }
    bool hasAnything = false; // a recording that had just begun has not
    for (const QUrl &file : candidates) {
        const bool hasContent = co_await fileHasContent(file);
        if (!hasContent)
            continue;
        hasAnything = true;
        const auto duration = co_await assets.durationSeconds(file.toLocalFile());
        if (!duration)
            continue;
        logger.info(u"recovered → "_s + file.fileName());
        co_return RecoveredRecording{
            .file = file, .startedAt = recordingStart(file), .durationSeconds = *duration};
    }
    if (!hasAnything && !recording.isFinished) {
        co_await removeFile(files.system.toLocalFile());
        co_await removeFile(files.mic.toLocalFile());
        co_return RecoveredRecording{.file = files.mix, .startedAt = {}, .durationSeconds = 0.0};
    }
    if (hasAnything)
        logger.error(u"recovering %1 failed: it cannot be read"_s.arg(files.mix.fileName()));
    co_return std::nullopt;
}
