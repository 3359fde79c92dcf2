#include "audio/ClosedTracks.h"

#include "audio/SaveFolder.h"
#include "audio/TrackMixing.h"
#include "base/Logger.h"
#include "base/Tasks.h"
#include "platform/AudioAssets.h"

#include <QFileInfo>
#include <QMap>

using namespace Qt::StringLiterals;

namespace
{
constexpr Logger logger("audio");

struct Tracks {
    std::optional<QUrl> system;
    std::optional<QUrl> mic;
};

/// By what the names of a recording's files have in common. The other track may have been finished
/// before the end came.
QMap<QString, Tracks> tracksByRecording(const QStringList &paths, const QSet<QString> &listedFiles)
{
    QMap<QString, Tracks> recordings;
    for (const QString &path : paths) {
        const QString stem = path.chopped(
            path.endsWith(systemTrackEnding) ? systemTrackEnding.size() : micTrackEnding.size());
        const bool isListed = listedFiles.contains(stem + u".m4a"_s) ||
                              listedFiles.contains(stem + systemTrackEnding) ||
                              listedFiles.contains(stem + micTrackEnding);
        if (isListed)
            continue;
        recordings[stem] = {.system = QUrl::fromLocalFile(stem + systemTrackEnding),
                            .mic = QUrl::fromLocalFile(stem + micTrackEnding)};
    }
    return recordings;
}
} // namespace

/// The container alone takes some hundred bytes, and a kilobyte is no tenth of a second.
QFuture<bool> fileHasContent(const std::optional<QUrl> &url)
{
    return inBackground([url] { return url && QFileInfo(url->toLocalFile()).size() > 1024; });
}

QCoro::Task<> finishTrack(AudioAssets &assets, QUrl track)
{
    const auto finished = co_await assets.finishTrack(track.toLocalFile());
    if (!finished) {
        logger.error(
            u"finishing %1 failed: %2"_s.arg(track.fileName(), finished.error().description()));
    }
}

QCoro::Task<std::optional<QUrl>> concludeRecording(AudioAssets &assets, std::optional<QUrl> system,
                                                   std::optional<QUrl> mic,
                                                   std::unique_ptr<MixAhead> ahead)
{
    const bool hasSystem = co_await fileHasContent(system);
    const bool hasMic = co_await fileHasContent(mic);
    if (hasSystem && hasMic) {
        const QUrl result = co_await mixTracks(assets, *system, *mic, std::move(ahead));
        if (result != *system)
            co_return result;
    }
    ahead.reset();
    if (hasSystem)
        co_await finishTrack(assets, *system);
    const bool stillHasMic = co_await fileHasContent(mic);
    if (stillHasMic) // a failed mix may have removed it
        co_await finishTrack(assets, *mic);
    if (hasSystem)
        co_return system;
    co_return hasMic ? mic : std::nullopt;
}

QCoro::Task<QList<RecoveredRecording>> recoverRecordings(AudioAssets &assets,
                                                         RecordingSettings settings)
{
    const QStringList filters{u"recording-*"_s + systemTrackEnding,
                              u"recording-*"_s + micTrackEnding};
    const QString folder = settings.saveDirectory.toLocalFile();
    const QStringList paths = co_await assets.abandonedTracks(folder, filters);
    const auto recordings = tracksByRecording(paths, settings.listedFiles);
    QList<RecoveredRecording> recovered;
    for (const Tracks &tracks : recordings) {
        const auto file = co_await concludeRecording(assets, tracks.system, tracks.mic, nullptr);
        if (!file)
            continue;
        const auto duration = co_await assets.durationSeconds(file->toLocalFile());
        if (!duration) // whatever it is, it stays
            continue;
        logger.info(u"recovered → "_s + file->fileName());
        recovered.append(
            {.file = *file, .startedAt = recordingStart(*file), .durationSeconds = *duration});
    }
    co_return recovered;
}
