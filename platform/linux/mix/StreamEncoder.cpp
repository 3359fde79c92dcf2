#include "platform/linux/mix/StreamEncoder.h"

std::expected<void, Error> StreamEncoder::encode(std::span<const float> block)
{
    if (m_blocks == m_next.firstBlock()) {
        auto encoder = SegmentEncoder::create(m_next);
        if (!encoder)
            return std::unexpected(encoder.error());
        m_active.push_back(std::move(*encoder));
        ++m_next.number;
    }
    for (SegmentEncoder &encoder : m_active) {
        if (const auto encoded = encoder.encode(block, m_handle); !encoded)
            return encoded;
    }
    const bool complete = m_blocks++ == m_active.front().segment().lastBlock();
    // A short block waits in the encoders for finish().
    if (complete && block.size() == 2 * aacFrameLength)
        m_active.pop_front();
    return {};
}

std::expected<void, Error> StreamEncoder::finish()
{
    for (SegmentEncoder &encoder : m_active) {
        // The lead-in of a segment that the stream does not reach.
        if (encoder.segment().firstPacket() > m_blocks)
            break;
        if (const auto finished = encoder.finish(m_handle); !finished)
            return finished;
    }
    return {};
}
