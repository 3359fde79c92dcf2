#pragma once

#include "base/Error.h"
#include "platform/linux/mix/SegmentEncoder.h"

#include <deque>
#include <expected>
#include <span>

/// Encodes a stream as it comes, on the calling thread, into the very packets that ParallelEncoder
/// makes of it. At most two encoders are alive. Used by one thread at a time.
class StreamEncoder
{
public:
    /// \p handle gets the packets in order.
    explicit StreamEncoder(AacEncoder::PacketHandler handle)
        : m_handle(std::move(handle))
    {
    }

    /// One block; only the stream's last may be shorter.
    std::expected<void, Error> encode(std::span<const float> block);

    /// Encodes what is pending. Nothing can follow.
    std::expected<void, Error> finish();

private:
    AacEncoder::PacketHandler m_handle;
    std::deque<SegmentEncoder> m_active;
    Segment m_next;
    qint64 m_blocks = 0; ///< taken so far
};
