#include "platform/linux/mix/MixFile.h"

#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/PartFiles.h"
#include "platform/linux/mix/MixEncoding.h"
#include "platform/linux/mix/SegmentEncoder.h"
#include "platform/linux/mix/TrackLength.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace
{
std::expected<AacFormat, Error> mixFormat()
{
    const auto encoder = AacEncoder::create(mixEncoding);
    if (!encoder)
        return std::unexpected(encoder.error());
    const auto configuration = encoder->configuration();
    return AacFormat{.sampleRate = mixEncoding.sampleRate,
                     .channelCount = mixEncoding.channelCount,
                     .bitRate = mixEncoding.bitRate,
                     .configuration = {configuration.begin(), configuration.end()}};
}
} // namespace

std::expected<std::unique_ptr<MixFile>, Error> MixFile::create(const QString &outputPath)
{
    const auto format = mixFormat();
    if (!format)
        return std::unexpected(format.error());
    auto muxer = M4aMuxer::create(partPath(outputPath), *format);
    if (!muxer)
        return std::unexpected(muxer.error());
    return std::unique_ptr<MixFile>(new MixFile(outputPath, std::move(*muxer)));
}

MixFile::MixFile(const QString &outputPath, M4aMuxer muxer)
    : m_outputPath(outputPath)
    , m_temporaryPath(partPath(outputPath))
    , m_muxer(std::move(muxer))
{
}

MixFile::~MixFile()
{
    if (!m_published)
        QFile::remove(m_temporaryPath);
}

void MixFile::add(const AacPacket &packet)
{
    if (m_failure)
        return;
    ++m_packetCount;
    if (const auto added = m_muxer.addPacket(packet); !added)
        m_failure = added.error();
}

std::expected<void, Error> MixFile::finish(qint64 frameCount)
{
    if (m_failure)
        return std::unexpected(*m_failure);
    if (m_packetCount != packetCount(frameCount))
        return std::unexpected(Error(u"混音的长度有误：%1 个数据包"_s.arg(m_packetCount)));
    if (const auto finished = m_muxer.finish(frameCount); !finished)
        return finished;
    return check(frameCount);
}

std::expected<void, Error> MixFile::check(qint64 frameCount) const
{
    const auto frames = indexedLength(m_temporaryPath);
    if (!frames)
        return std::unexpected(frames.error());
    if (*frames != frameCount)
        return std::unexpected(
            Error(u"混音的长度有误：%1 帧，应为 %2 帧"_s.arg(*frames).arg(frameCount)));
    return {};
}

std::expected<void, Error> MixFile::publish()
{
    const auto published = publishPart(m_outputPath);
    m_published = published.has_value();
    return published;
}
