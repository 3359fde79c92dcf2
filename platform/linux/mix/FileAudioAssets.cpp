#include "platform/linux/mix/FileAudioAssets.h"

#include "base/Tasks.h"
#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/FinishTrack.h"
#include "platform/linux/media/LiveTrack.h"
#include "platform/linux/media/PartFiles.h"
#include "platform/linux/mix/AheadMix.h"
#include "platform/linux/mix/MixEncoding.h"
#include "platform/linux/mix/MixFile.h"
#include "platform/linux/mix/TrackFile.h"
#include "platform/linux/mix/WholeFileMix.h"

#include <algorithm>
#include <cmath>
#include <thread>

using namespace Qt::StringLiterals;

namespace
{
constexpr int mostThreads = 8; ///< at 8 MB each

class FileExport : public ExportSession
{
public:
    FileExport(MixComposition composition, QString outputPath, std::unique_ptr<MixAhead> ahead)
        : m_composition(std::move(composition))
        , m_outputPath(std::move(outputPath))
        , m_ahead(std::move(ahead))
    {
    }

    QCoro::Task<ExportOutcome> run(std::stop_token stop) override
    {
        const auto exported = [this, stop] {
            const auto done = write(stop);
            return done ? ExportOutcome{.completed = true, .error = {}}
                        : ExportOutcome{.completed = false, .error = done.error()};
        };
        const QFuture<ExportOutcome> outcome = inBackground(exported);
        co_return co_await outcome;
    }

private:
    std::expected<void, Error> write(const std::stop_token &stop);
    std::expected<void, Error> publishAhead();

    const MixComposition m_composition;
    const QString m_outputPath;
    std::unique_ptr<MixAhead> m_ahead;
};

std::expected<void, Error> FileExport::write(const std::stop_token &stop)
{
    if (publishAhead()) // why not does not matter: the closed files are what counts
        return {};
    const int cores = static_cast<int>(std::thread::hardware_concurrency());
    return mixWholeFiles(m_composition, m_outputPath, std::clamp(cores, 1, mostThreads), stop);
}

std::expected<void, Error> FileExport::publishAhead()
{
    auto *ahead = dynamic_cast<AheadMix *>(m_ahead.get());
    if (!ahead)
        return std::unexpected(Error({}));
    QList<qint64> frameCounts;
    for (const MixComposition::Part &part : m_composition.parts())
        frameCounts.append(std::llround(part.durationSeconds * mixEncoding.sampleRate));
    const auto file = ahead->finish(frameCounts);
    return file ? (*file)->publish() : std::unexpected(file.error());
}
} // namespace

FileAudioAssets::FileAudioAssets(LiveTracks &tracks)
    : m_tracks(tracks)
{
}

QCoro::Task<std::expected<int, Error>> FileAudioAssets::audioTrackCount(QString path)
{
    const auto inspect = [path] { return inspectTrack(path); };
    const auto inspected = inBackground(inspect);
    const auto facts = co_await inspected;
    if (!facts)
        co_return std::unexpected(facts.error());
    co_return facts->audioTrackCount;
}

QCoro::Task<std::expected<double, Error>> FileAudioAssets::durationSeconds(QString path)
{
    const auto inspect = [path] { return inspectTrack(path); };
    const auto inspected = inBackground(inspect);
    const auto facts = co_await inspected;
    if (!facts)
        co_return std::unexpected(facts.error());
    if (facts->audioTrackCount == 0)
        co_return std::unexpected(Error(u"%1 没有音轨"_s.arg(path)));
    co_return static_cast<double>(facts->frameCount) / facts->sampleRate;
}

std::unique_ptr<MixAhead> FileAudioAssets::mixAhead(const QString &first, const QString &second,
                                                    const QString &outputPath)
{
    auto firstTrack = m_tracks.take(first);
    auto secondTrack = m_tracks.take(second);
    const auto fits = [](const auto &track) {
        return track && track->format().sampleRate == mixEncoding.sampleRate;
    };
    if (fits(firstTrack) && fits(secondTrack))
        return std::make_unique<AheadMix>(std::move(firstTrack), std::move(secondTrack),
                                          outputPath);
    // Nobody follows the one that there is: it need not keep its packets.
    for (const auto &track : {firstTrack, secondTrack}) {
        if (track)
            track->lose();
    }
    return nullptr;
}

std::unique_ptr<ExportSession> FileAudioAssets::makeExport(const MixComposition &composition,
                                                           const QString &outputPath,
                                                           std::unique_ptr<MixAhead> ahead)
{
    if (!AacEncoder::create(mixEncoding))
        return nullptr;
    return std::make_unique<FileExport>(composition, outputPath, std::move(ahead));
}

QCoro::Task<std::expected<void, Error>> FileAudioAssets::finishTrack(QString path,
                                                                     std::stop_token stop)
{
    const auto finish = [path, stop] { return finishTrackFile(path, stop); };
    const auto done = inBackground(finish);
    co_return co_await done;
}

QCoro::Task<QStringList> FileAudioAssets::abandonedTracks(QString folder, QStringList nameFilters)
{
    const auto find = [folder, nameFilters] { return abandonedTrackFiles(folder, nameFilters); };
    const auto found = inBackground(find);
    co_return co_await found;
}

QCoro::Task<QStringList> FileAudioAssets::filesChangedSince(QString folder, QStringList nameFilters,
                                                            QDateTime time)
{
    const auto find = [folder, nameFilters, time] {
        return ::filesChangedSince(folder, nameFilters, time);
    };
    const auto found = inBackground(find);
    co_return co_await found;
}

void FileAudioAssets::removeLeftovers(const QString &folder)
{
    inBackground([folder, time = m_begun] { removeAbandonedParts(folder, time); });
}
