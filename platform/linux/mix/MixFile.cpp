#include "platform/linux/mix/MixFile.h"

#include "platform/linux/media/PartFiles.h"
#include "platform/linux/media/TrackFile.h"

#include <QFile>

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

void addSound(std::span<float> sum, std::span<const float> sound)
{
    std::ranges::transform(sum, sound, sum.begin(), std::plus());
}

void limitToFullScale(std::span<float> sum)
{
    for (float &sample : sum)
        sample = std::isnan(sample) ? 0.0F : std::clamp(sample, -1.0F, 1.0F);
}

std::expected<std::unique_ptr<MixFile>, Error> MixFile::create(const QString &outputPath)
{
    auto encoder = AacEncoder::create(mixEncoding);
    if (!encoder)
        return std::unexpected(encoder.error());
    auto muxer = M4aMuxer::create(partPath(outputPath), encoder->format());
    if (!muxer)
        return std::unexpected(muxer.error());
    return std::unique_ptr<MixFile>(
        new MixFile(outputPath, std::move(*encoder), std::move(*muxer)));
}

MixFile::MixFile(const QString &outputPath, AacEncoder encoder, M4aMuxer muxer)
    : m_outputPath(outputPath)
    , m_temporaryPath(partPath(outputPath))
    , m_encoder(std::move(encoder))
    , m_muxer(std::move(muxer))
{
}

MixFile::~MixFile()
{
    if (!m_isPublished)
        QFile::remove(m_temporaryPath);
}

std::expected<void, Error> MixFile::append(std::span<const float> stereo)
{
    return outcome(m_encoder.encode(stereo, packetHandler()));
}

std::expected<void, Error> MixFile::finish()
{
    auto done = outcome(m_encoder.finish(packetHandler()));
    if (done)
        done = m_muxer.finish(m_encoder.frameCount());
    if (!done)
        return done;
    const auto found = inspectTrack(m_temporaryPath);
    if (found && found->frameCount != m_encoder.frameCount())
        return std::unexpected(Error(u"混音的长度有误：%1 帧，应为 %2 帧"_s.arg(found->frameCount)
                                         .arg(m_encoder.frameCount())));
    return found ? std::expected<void, Error>() : std::unexpected(found.error());
}

std::expected<void, Error> MixFile::publish()
{
    const auto published = publishPart(m_outputPath);
    m_isPublished = published.has_value();
    return published;
}

AacEncoder::PacketHandler MixFile::packetHandler()
{
    return [this](AacPacket &&packet) {
        if (m_written)
            m_written = m_muxer.addPacket(packet);
    };
}

std::expected<void, Error> MixFile::outcome(std::expected<void, Error> encoded) const
{
    return encoded ? m_written : encoded;
}
