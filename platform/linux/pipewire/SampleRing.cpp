#include "platform/linux/pipewire/SampleRing.h"

#include <algorithm>
#include <array>
#include <bit>

namespace
{
/// Samples that usually wait fit here; the memory is touched before the data thread comes.
constexpr std::size_t usualSamples = 1U << 15U;

using Header = std::array<float, SampleRing::headerSamples>;
} // namespace

SampleRing SampleRing::tenSeconds(int channelCount)
{
    constexpr std::size_t frames = 480'000;
    constexpr std::size_t shortestCycle = 32;
    return {channelCount, frames * static_cast<std::size_t>(channelCount) +
                              frames / shortestCycle * headerSamples};
}

SampleRing::SampleRing(int channelCount, std::size_t capacity)
    : m_channelCount(static_cast<std::size_t>(channelCount))
    , m_capacity(capacity)
    , m_memory(std::make_unique_for_overwrite<float[]>(capacity))
{
    std::fill_n(m_memory.get(), std::min(capacity, usualSamples), 0.0F);
}

std::span<float> SampleRing::untilWrap(std::size_t begin, std::size_t count) const noexcept
{
    const std::size_t place = begin % m_capacity;
    return {m_memory.get() + place, std::min(count, m_capacity - place)};
}

/// Copies \p samples to \p begin and returns where the next ones begin.
std::size_t SampleRing::copyIn(std::size_t begin, std::span<const float> samples) noexcept
{
    const auto first = untilWrap(begin, samples.size());
    std::ranges::copy(samples.first(first.size()), first.begin());
    std::ranges::copy(samples.subspan(first.size()), m_memory.get());
    return begin + samples.size();
}

bool SampleRing::write(const CapturedCycle &cycle, std::span<const float> samples) noexcept
{
    const std::size_t written = m_written.load(std::memory_order_relaxed);
    std::size_t taken = m_taken.load(std::memory_order_acquire);
    if (taken == written) {
        // With nothing waiting the worker touches neither counter nor memory, and the ring can
        // start at its front.
        taken = (written + m_capacity - 1) / m_capacity * m_capacity;
        m_taken.store(taken, std::memory_order_relaxed);
    }
    const std::size_t begin = std::max(taken, written);
    const std::size_t waiting = begin - taken + headerSamples + samples.size();
    if (waiting > m_capacity) {
        m_lostFrames.fetch_add(cycle.frames, std::memory_order_relaxed);
        return false;
    }
    const std::size_t samplesBegin = copyIn(begin, std::bit_cast<Header>(cycle));
    m_written.store(copyIn(samplesBegin, samples), std::memory_order_release);
    if (waiting > m_highestFill.load(std::memory_order_relaxed))
        m_highestFill.store(waiting, std::memory_order_relaxed);
    return true;
}

std::optional<CapturedCycle> SampleRing::take(std::vector<float> &samples)
{
    // Read the counters in this order: the data thread moves the taken one past the written one
    // before it writes.
    const std::size_t written = m_written.load(std::memory_order_acquire);
    std::size_t begin = m_taken.load(std::memory_order_relaxed);
    if (begin >= written)
        return std::nullopt;
    const auto copyOut = [this, &begin](std::span<float> out) {
        const auto first = untilWrap(begin, out.size());
        std::ranges::copy(first, out.begin());
        std::copy_n(m_memory.get(), out.size() - first.size(), out.begin() + std::ssize(first));
        begin += out.size();
    };
    Header header;
    copyOut(header);
    const auto cycle = std::bit_cast<CapturedCycle>(header);
    samples.resize(cycle.frames * m_channelCount);
    copyOut(samples);
    m_taken.store(begin, std::memory_order_release);
    return cycle;
}

quint64 SampleRing::takeLostFrames() noexcept
{
    return m_lostFrames.exchange(0, std::memory_order_relaxed);
}
