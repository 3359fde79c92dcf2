#include "platform/linux/mix/ParallelEncoder.h"

ParallelEncoder::ParallelEncoder(int threadCount, AacEncoder::PacketHandler handle)
    : m_threadCount(static_cast<std::size_t>(threadCount))
    , m_handle(std::move(handle))
{
}

std::expected<void, Error> ParallelEncoder::encode(std::span<const float> block)
{
    if (m_blocks == m_next.firstBlock()) {
        Input &input = m_collected.emplace_back(m_next);
        input.stereo.reserve(static_cast<std::size_t>(
            (m_next.lastBlock() - m_next.firstBlock() + 1) * aacFrameLength * 2));
        ++m_next.number;
    }
    for (Input &input : m_collected)
        input.stereo.insert(input.stereo.end(), block.begin(), block.end());
    const bool complete = m_blocks++ == m_collected.front().segment.lastBlock();
    // A short block waits in the encoder for finish().
    if (!complete || block.size() < 2 * aacFrameLength)
        return {};
    Input input = std::move(m_collected.front());
    m_collected.pop_front();
    return start(std::move(input));
}

std::expected<void, Error> ParallelEncoder::finish()
{
    for (Input &input : m_collected) {
        // The lead-in of a segment that the stream does not reach.
        if (input.segment.firstPacket() > m_blocks)
            break;
        input.isLast = true;
        if (const auto started = start(std::move(input)); !started)
            return started;
    }
    while (!m_underWay.empty()) {
        if (const auto handed = handOverFirst(); !handed)
            return handed;
    }
    return {};
}

/// One more than there are threads, so that none of them idles while the first is awaited.
std::expected<void, Error> ParallelEncoder::start(Input &&input)
{
    std::expected<void, Error> handed;
    if (m_underWay.size() > m_threadCount)
        handed = handOverFirst();
    // Where no thread can be had, it is done when it is waited for.
    constexpr auto policy = std::launch::async | std::launch::deferred;
    m_underWay.push_back(
        std::async(policy, [input = std::move(input)] { return encodeSegment(input); }));
    return handed;
}

std::expected<void, Error> ParallelEncoder::handOverFirst()
{
    const Packets packets = m_underWay.front().get();
    m_underWay.pop_front();
    if (!packets)
        return std::unexpected(packets.error());
    for (AacPacket packet : *packets)
        m_handle(std::move(packet));
    return {};
}

ParallelEncoder::Packets ParallelEncoder::encodeSegment(const Input &input)
{
    auto encoder = SegmentEncoder::create(input.segment);
    if (!encoder)
        return std::unexpected(encoder.error());
    std::vector<AacPacket> packets;
    packets.reserve(Segment::length);
    const auto collect = [&packets](AacPacket &&packet) { packets.push_back(std::move(packet)); };
    auto encoded = encoder->encode(input.stereo, collect);
    if (encoded && input.isLast)
        encoded = encoder->finish(collect);
    if (!encoded)
        return std::unexpected(encoded.error());
    return packets;
}
