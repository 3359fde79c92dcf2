#pragma once

#include "base/Error.h"
#include "platform/linux/media/AacEncoder.h"

#include <expected>
#include <span>

/// The piece of a stream that one encoder makes, so that a long stream can be encoded by several.
///
/// Segments are 938 packets (20.01 s). A block is 1024 frames, and packet p needs the blocks p - 1
/// to p + 1 (AacEncoder.h and one block of look-ahead). An encoder that starts in mid-stream is
/// given 64 blocks more: two make its window shapes those of an encoder that has been there from
/// the start, the rest is what its rate control takes to settle. The packets then join without a
/// seam, and which thread made them, or when, does not show.
struct Segment {
    qint64 number = 0;

    static constexpr qint64 length = 938; ///< packets
    static constexpr qint64 leadIn = 64;  ///< blocks

    constexpr qint64 firstPacket() const { return number * length; }
    constexpr qint64 endPacket() const { return firstPacket() + length; }

    /// The blocks that are fed, both included. The stream may end before the last.
    constexpr qint64 firstBlock() const { return number == 0 ? 0 : firstPacket() - 1 - leadIn; }
    constexpr qint64 lastBlock() const { return endPacket(); }
};

/// Packets of a stream of \p frames: the encoder's delay adds one.
constexpr qint64 packetCount(qint64 frames)
{
    return (frames + aacFrameLength - 1) / aacFrameLength + 1;
}

/// Encodes one segment. Used by one thread at a time.
class SegmentEncoder
{
public:
    static std::expected<SegmentEncoder, Error> create(Segment segment);

    const Segment &segment() const { return m_segment; }

    /// Encodes frames that follow each other, from the segment's first block on. \p handle gets
    /// the segment's packets only.
    std::expected<void, Error> encode(std::span<const float> stereo,
                                      const AacEncoder::PacketHandler &handle);

    /// The stream has ended within this segment.
    std::expected<void, Error> finish(const AacEncoder::PacketHandler &handle);

private:
    SegmentEncoder(Segment segment, AacEncoder encoder);
    AacEncoder::PacketHandler onlyOwn(const AacEncoder::PacketHandler &handle);

    Segment m_segment;
    AacEncoder m_encoder;
    qint64 m_packet; ///< number in the stream of the encoder's next packet
};
