#include "audio/TrackMixing.h"

#include "audio/ClosedTracks.h"
#include "audio/SaveFolder.h"
#include "base/Logger.h"
#include "platform/AudioAssets.h"

#include <array>

using namespace Qt::StringLiterals;

namespace
{
constexpr Logger logger("audio");

/// Both tracks from 0 to their ends. No value inside: one of the files has no audio track.
using Composed = std::expected<std::optional<MixComposition>, Error>;

QCoro::Task<Composed> compose(AudioAssets &assets, QString system, QString mic)
{
    const std::array paths{system, mic};
    for (const QString &path : paths) {
        const auto tracks = co_await assets.audioTrackCount(path);
        if (!tracks)
            co_return std::unexpected(tracks.error());
        if (*tracks < 1)
            co_return Composed(std::nullopt);
    }
    MixComposition composition;
    for (const QString &path : paths) {
        const auto duration = co_await assets.durationSeconds(path);
        if (!duration)
            co_return std::unexpected(duration.error());
        composition.insert(path, *duration);
    }
    co_return Composed(composition);
}

/// Whether the mix that was made during the recording is the recording's now. A failure is no more
/// than lost time.
QCoro::Task<bool> finishAhead(std::unique_ptr<MixAhead> ahead, MixComposition composition)
{
    if (!ahead)
        co_return false;
    const auto finished = co_await ahead->finish(std::move(composition));
    if (!finished)
        logger.info(u"mixing anew: "_s + finished.error().description());
    co_return finished.has_value();
}
} // namespace

QCoro::Task<QUrl> mixTracks(AudioAssets &assets, QUrl systemURL, QUrl micURL,
                            std::unique_ptr<MixAhead> ahead, std::stop_token stop)
{
    const QString system = systemURL.toLocalFile();
    const QString mic = micURL.toLocalFile();
    const auto composed = co_await compose(assets, system, mic);
    if (!composed) {
        logger.error(u"mix error: "_s + composed.error().description());
        co_return systemURL;
    }
    if (!*composed) {
        logger.error(u"mix: missing audio tracks, falling back to system-only"_s);
        co_await removeFile(mic);
        co_return systemURL;
    }

    const QUrl outputURL = mixURL(systemURL);
    const QString output = outputURL.toLocalFile();
    co_await removeFile(output); // usually there is none
    const bool isMixed = co_await finishAhead(std::move(ahead), **composed);
    if (!isMixed) {
        const auto session = assets.makeExport(**composed, output);
        if (!session) {
            logger.error(u"mix: AVAssetExportSession init failed"_s);
            co_return systemURL;
        }
        const auto outcome = co_await session->run(stop);
        if (!outcome.completed) {
            const QString reason = outcome.error ? outcome.error->description() : u"unknown"_s;
            logger.error(u"export failed: "_s + reason);
            co_return systemURL;
        }
    }
    co_await removeFile(system);
    co_await removeFile(mic);
    logger.info(u"mixed → "_s + outputURL.fileName());
    co_return outputURL;
}
