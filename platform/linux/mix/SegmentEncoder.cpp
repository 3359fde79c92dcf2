#include "platform/linux/mix/SegmentEncoder.h"

#include "platform/linux/mix/MixEncoding.h"

std::expected<SegmentEncoder, Error> SegmentEncoder::create(Segment segment)
{
    auto encoder = AacEncoder::create(mixEncoding);
    if (!encoder)
        return std::unexpected(encoder.error());
    return SegmentEncoder(segment, std::move(*encoder));
}

SegmentEncoder::SegmentEncoder(Segment segment, AacEncoder encoder)
    : m_segment(segment)
    , m_encoder(std::move(encoder))
    , m_packet(segment.firstBlock())
{
}

std::expected<void, Error> SegmentEncoder::encode(std::span<const float> stereo,
                                                  const AacEncoder::PacketHandler &handle)
{
    return m_encoder.encode(stereo, onlyOwn(handle));
}

std::expected<void, Error> SegmentEncoder::finish(const AacEncoder::PacketHandler &handle)
{
    return m_encoder.finish(onlyOwn(handle));
}

AacEncoder::PacketHandler SegmentEncoder::onlyOwn(const AacEncoder::PacketHandler &handle)
{
    return [this, &handle](AacPacket &&packet) {
        const qint64 number = m_packet++;
        if (number >= m_segment.firstPacket() && number < m_segment.endPacket())
            handle(std::move(packet));
    };
}
