#pragma once

#include "base/Error.h"
#include "platform/linux/mix/SegmentEncoder.h"

#include <deque>
#include <expected>
#include <future>
#include <span>
#include <vector>

/// Encodes a stream on several threads at once, a segment each. What comes out does not depend on
/// how many there are. Memory: about 8 MB a thread and two more.
///
/// Used by one thread, which waits while enough is under way.
class ParallelEncoder
{
public:
    /// \p handle gets the packets in order, on the thread that feeds.
    ParallelEncoder(int threadCount, AacEncoder::PacketHandler handle);

    /// Waits for what is under way.
    ~ParallelEncoder() = default;

    /// One block; only the stream's last may be shorter.
    std::expected<void, Error> encode(std::span<const float> block);

    /// Encodes what is pending. Nothing can follow.
    std::expected<void, Error> finish();

private:
    using Packets = std::expected<std::vector<AacPacket>, Error>;

    struct Input {
        Segment segment;
        std::vector<float> stereo;
        bool isLast = false; ///< the stream ends in it
    };

    static Packets encodeSegment(const Input &input);
    std::expected<void, Error> start(Input &&input);
    std::expected<void, Error> handOverFirst();

    const std::size_t m_threadCount;
    AacEncoder::PacketHandler m_handle;
    std::deque<Input> m_collected; ///< being fed, two at most
    std::deque<std::future<Packets>> m_underWay;
    Segment m_next;
    qint64 m_blocks = 0; ///< taken so far
};
