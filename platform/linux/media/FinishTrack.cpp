#include "platform/linux/media/FinishTrack.h"

#include "platform/linux/media/FragmentReader.h"
#include "platform/linux/media/Libav.h"
#include "platform/linux/media/M4aMuxer.h"
#include "platform/linux/media/PartFiles.h"
#include "platform/linux/media/TrackFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace
{
/// Copies all packets, and returns the facts that the finished file must show.
std::expected<TrackFacts, Error> copyPackets(FragmentReader &from, M4aMuxer &to,
                                             const std::stop_token &stop)
{
    for (;;) {
        const auto more = from.next();
        if (!more)
            return std::unexpected(more.error());
        if (!*more)
            break;
        if (stop.stop_requested())
            return std::unexpected(Error(u"已取消"_s));
        for (const auto packet : from.packets()) {
            if (const auto added = to.addPacket(packet); !added)
                return std::unexpected(added.error());
        }
    }
    if (const auto finished = to.finish(from.frameCount()); !finished)
        return std::unexpected(finished.error());
    return TrackFacts{.audioTrackCount = 1,
                      .sampleRate = from.format().sampleRate,
                      .channelCount = from.format().channelCount,
                      .frameCount = from.frameCount()};
}
} // namespace

std::expected<void, Error> makePlainFile(const QString &path, const std::stop_token &stop)
{
    auto fragments = FragmentReader::open(path);
    if (!fragments) {
        // Finished before, perhaps by a run that was interrupted afterwards.
        return inspectTrack(path) ? std::expected<void, Error>()
                                  : std::unexpected(fragments.error());
    }
    const QString part = partPath(path);
    auto muxer = M4aMuxer::create(part, fragments->format());
    if (!muxer)
        return std::unexpected(muxer.error());
    auto removal = qScopeGuard([&] { QFile::remove(part); });
    const auto written = copyPackets(*fragments, *muxer, stop);
    if (!written)
        return std::unexpected(written.error());
    const auto found = inspectTrack(part);
    if (!found)
        return std::unexpected(found.error());
    if (*found != *written)
        return std::unexpected(Error(u"写入录音文件失败：索引与数据不符"_s));
    if (const auto published = publishPart(path); !published)
        return published;
    removal.dismiss();
    return {};
}

QStringList abandonedTrackFiles(const QString &folder, const QStringList &nameFilters)
{
    const QDir directory(folder);
    QStringList tracks;
    for (const QString &name : directory.entryList(nameFilters, QDir::Files, QDir::Name)) {
        const QString path = directory.absoluteFilePath(name);
        if (isAbandoned(path) && FragmentReader::open(path))
            tracks.append(path);
    }
    return tracks;
}

QStringList filesChangedSince(const QString &folder, const QStringList &nameFilters,
                              const QDateTime &time)
{
    QStringList files;
    for (const QFileInfo &file : QDir(folder).entryInfoList(nameFilters, QDir::Files, QDir::Name)) {
        if (file.lastModified() > time && isAbandoned(file.absoluteFilePath()))
            files.append(file.absoluteFilePath());
    }
    return files;
}
