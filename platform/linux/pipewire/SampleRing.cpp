#include "platform/linux/pipewire/SampleRing.h"

#include <algorithm>

namespace
{
/// What waits as a rule fits here; touched before the data thread comes.
constexpr std::size_t usualSamples = 1U << 15U;
} // namespace

SampleRing SampleRing::tenSeconds(int channelCount)
{
    constexpr std::size_t cycles = 1U << 14U;
    constexpr std::size_t frames = 1U << 19U;
    return {channelCount, cycles, frames * static_cast<std::size_t>(channelCount)};
}

SampleRing::SampleRing(int channelCount, std::size_t cycleCapacity, std::size_t sampleCapacity)
    : m_channelCount(static_cast<std::size_t>(channelCount))
    , m_slots(cycleCapacity)
    , m_sampleCapacity(sampleCapacity)
    , m_samples(std::make_unique_for_overwrite<float[]>(sampleCapacity))
{
    std::fill_n(m_samples.get(), std::min(sampleCapacity, usualSamples), 0.0F);
}

/// With nothing waiting the worker touches neither counter nor samples.
void SampleRing::rewind() noexcept
{
    m_samplesWritten += m_sampleCapacity - 1;
    m_samplesWritten -= m_samplesWritten & (m_sampleCapacity - 1);
    m_samplesTaken.store(m_samplesWritten, std::memory_order_relaxed);
}

bool SampleRing::write(const CapturedCycle &cycle, std::span<const float> samples) noexcept
{
    const std::size_t written = m_cyclesWritten.load(std::memory_order_relaxed);
    const std::size_t cycles = written - m_cyclesTaken.load(std::memory_order_acquire);
    if (cycles == 0)
        rewind();
    const std::size_t waiting =
        m_samplesWritten - m_samplesTaken.load(std::memory_order_acquire) + samples.size();
    if (cycles == m_slots.size() || waiting > m_sampleCapacity) {
        m_lostFrames.fetch_add(cycle.frames, std::memory_order_relaxed);
        return false;
    }
    const std::size_t begin = m_samplesWritten & (m_sampleCapacity - 1);
    const auto untilWrap = samples.first(std::min(samples.size(), m_sampleCapacity - begin));
    std::ranges::copy(untilWrap, m_samples.get() + begin);
    std::ranges::copy(samples.subspan(untilWrap.size()), m_samples.get());
    m_slots[written & (m_slots.size() - 1)] = {cycle, m_samplesWritten};
    m_samplesWritten += samples.size();
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
    return &m_slots[taken & (m_slots.size() - 1)].cycle;
}

void SampleRing::take(std::vector<float> &samples)
{
    const std::size_t taken = m_cyclesTaken.load(std::memory_order_relaxed);
    const Slot &slot = m_slots[taken & (m_slots.size() - 1)];
    const std::size_t count = slot.cycle.frames * m_channelCount;
    const std::span<const float> all(m_samples.get(), m_sampleCapacity);
    const std::size_t begin = slot.begin & (m_sampleCapacity - 1);
    const auto untilWrap = all.subspan(begin, std::min(count, m_sampleCapacity - begin));
    const auto wrapped = all.first(count - untilWrap.size());
    samples.assign(untilWrap.begin(), untilWrap.end());
    samples.insert(samples.end(), wrapped.begin(), wrapped.end());
    m_samplesTaken.store(slot.begin + count, std::memory_order_release);
    m_cyclesTaken.store(taken + 1, std::memory_order_release);
}

quint64 SampleRing::takeLostFrames() noexcept
{
    return m_lostFrames.exchange(0, std::memory_order_relaxed);
}
