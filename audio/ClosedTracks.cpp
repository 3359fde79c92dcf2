#include "audio/ClosedTracks.h"

#include "audio/TrackMixing.h"
#include "base/Logger.h"
#include "base/Tasks.h"
#include "platform/AudioAssets.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{
constexpr Logger logger("audio");
} // namespace

/// The container alone takes some hundred bytes, and a kilobyte is no tenth of a second.
QFuture<bool> fileHasContent(const std::optional<QUrl> &url)
{
    return inBackground([url] { return url && QFileInfo(url->toLocalFile()).size() > 1024; });
}

QCoro::Task<std::expected<void, Error>> finishTrack(AudioAssets &assets, QUrl track,
                                                    std::stop_token stop)
{
    const auto finished = co_await assets.finishTrack(track.toLocalFile(), stop);
    if (!finished) {
        logger.error(
            u"finishing %1 failed: %2"_s.arg(track.fileName(), finished.error().description()));
    }
    co_return finished;
}

QCoro::Task<ConcludedRecording> concludeRecording(AudioAssets &assets, std::optional<QUrl> system,
                                                  std::optional<QUrl> mic,
                                                  std::unique_ptr<MixAhead> ahead,
                                                  std::stop_token stop)
{
    ConcludedRecording concluded;
    const bool hasSystem = co_await fileHasContent(system);
    const bool hasMic = co_await fileHasContent(mic);
    if (hasSystem && hasMic) {
        const QUrl result = co_await mixTracks(assets, *system, *mic, std::move(ahead), stop);
        if (result != *system) {
            concluded.file = result;
            co_return concluded;
        }
    }
    ahead.reset();
    if (stop.stop_requested())
        co_return concluded;
    if (hasSystem)
        concluded.file = system;
    else if (hasMic)
        concluded.file = mic;
    const QList<std::optional<QUrl>> tracks{system, mic};
    for (const auto &track : tracks) {
        const bool remains = co_await fileHasContent(track); // a failed mix may have removed one
        if (!remains)
            continue;
        const auto finished = co_await finishTrack(assets, *track, stop);
        if (!finished && stop.stop_requested())
            co_return ConcludedRecording();
        if (!finished)
            concluded.failure = finished.error();
    }
    co_return concluded;
}
