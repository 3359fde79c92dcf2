#include "platform/linux/mix/FileAudioAssets.h"

#include "base/Tasks.h"
#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/FinishTrack.h"
#include "platform/linux/media/LiveTrack.h"
#include "platform/linux/media/PartFiles.h"
#include "platform/linux/media/TrackFile.h"
#include "platform/linux/mix/LiveMix.h"
#include "platform/linux/mix/MixFile.h"
#include "platform/linux/mix/WholeFileMix.h"

#include <algorithm>
#include <cmath>
#include <thread>

using namespace Qt::StringLiterals;

namespace
{
class FileExport : public ExportSession
{
public:
    FileExport(MixComposition composition, QString outputPath)
        : m_composition(std::move(composition))
        , m_outputPath(std::move(outputPath))
    {
    }

    QCoro::Task<ExportOutcome> run(std::stop_token stop) override
    {
        const auto exported = [this, stop] {
            const auto done = mixWholeFiles(m_composition, m_outputPath, stop);
            return done ? ExportOutcome{.completed = true, .error = {}}
                        : ExportOutcome{.completed = false, .error = done.error()};
        };
        const QFuture<ExportOutcome> outcome = inBackground(exported);
        co_return co_await outcome;
    }

private:
    const MixComposition m_composition;
    const QString m_outputPath;
};
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
        return std::make_unique<LiveMix>(std::move(firstTrack), std::move(secondTrack), outputPath);
    // A single track has no follower and must not keep its packets for one.
    for (const auto &track : {firstTrack, secondTrack}) {
        if (track)
            track->lose();
    }
    return nullptr;
}

std::unique_ptr<ExportSession> FileAudioAssets::makeExport(const MixComposition &composition,
                                                           const QString &outputPath)
{
    if (!AacEncoder::create(mixEncoding))
        return nullptr;
    return std::make_unique<FileExport>(composition, outputPath);
}

QCoro::Task<std::expected<void, Error>> FileAudioAssets::finishTrack(QString path,
                                                                     std::stop_token stop)
{
    const auto finish = [path, stop] { return makePlainFile(path, stop); };
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
