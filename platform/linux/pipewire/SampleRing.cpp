#include "platform/linux/pipewire/SampleRing.h"

#include <algorithm>

SampleRing SampleRing::tenSeconds(int channelCount)
{
    constexpr std::size_t cycles = 1U << 14U;
    constexpr std::size_t frames = 1U << 19U;
    return {channelCount, cycles, frames * static_cast<std::size_t>(channelCount)};
}

SampleRing::SampleRing(int channelCount, std::size_t cycleCapacity, std::size_t sampleCapacity)
    : m_channelCount(static_cast<std::size_t>(channelCount))
    , m_cycles(cycleCapacity)
    , m_samples(sampleCapacity)
{
}

bool SampleRing::write(const CapturedCycle &cycle, std::span<const float> samples) noexcept
{
    const std::size_t written = m_cyclesWritten.load(std::memory_order_relaxed);
    const std::size_t waiting =
        m_samplesWritten - m_samplesTaken.load(std::memory_order_acquire) + samples.size();
    if (written - m_cyclesTaken.load(std::memory_order_acquire) == m_cycles.size() ||
        waiting > m_samples.size()) {
        m_lostFrames.fetch_add(cycle.frames, std::memory_order_relaxed);
        return false;
    }
    const std::size_t begin = m_samplesWritten & (m_samples.size() - 1);
    const auto untilWrap = samples.first(std::min(samples.size(), m_samples.size() - begin));
    std::ranges::copy(untilWrap, m_samples.data() + begin);
    std::ranges::copy(samples.subspan(untilWrap.size()), m_samples.data());
    m_samplesWritten += samples.size();
    m_cycles[written & (m_cycles.size() - 1)] = cycle;
    m_cyclesWritten.store(written + 1, std::memory_order_release);
    if (waiting > m_highestFill.load(std::memory_order_relaxed))
        m_highestFill.store(waiting, std::memory_order_relaxed);
    return true;
}

const CapturedCycle *SampleRing::front() const noexcept
{
    const std::size_t taken = m_cyclesTaken.load(std::memory_order_relaxed);
    if (taken == m_cyclesWritten.load(std::memory_order_acquire))
        return nullptr;
    return &m_cycles[taken & (m_cycles.size() - 1)];
}

void SampleRing::take(std::vector<float> &samples)
{
    const std::size_t taken = m_cyclesTaken.load(std::memory_order_relaxed);
    const std::size_t count = m_cycles[taken & (m_cycles.size() - 1)].frames * m_channelCount;
    const std::size_t begin = m_samplesRead & (m_samples.size() - 1);
    const std::size_t untilWrap = std::min(count, m_samples.size() - begin);
    const auto first = m_samples.begin() + static_cast<std::ptrdiff_t>(begin);
    samples.assign(first, first + static_cast<std::ptrdiff_t>(untilWrap));
    samples.insert(samples.end(), m_samples.begin(),
                   m_samples.begin() + static_cast<std::ptrdiff_t>(count - untilWrap));
    m_samplesRead += count;
    m_samplesTaken.store(m_samplesRead, std::memory_order_release);
    m_cyclesTaken.store(taken + 1, std::memory_order_release);
}

quint64 SampleRing::takeLostFrames() noexcept
{
    return m_lostFrames.exchange(0, std::memory_order_relaxed);
}
