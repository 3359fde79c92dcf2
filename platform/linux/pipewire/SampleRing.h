#pragma once

#include "platform/linux/pipewire/CapturedCycle.h"

#include <atomic>
#include <cstddef>
#include <span>
#include <vector>

/// Carries captured cycles from the data thread to a worker, in order.
///
/// One thread writes, one reads; neither ever waits for the other. All memory is allocated and
/// touched in the constructor. What does not fit is counted and left out as a whole cycle.
class SampleRing
{
public:
    /// Room for ten seconds at 48 kHz, however short the cycles are (the shortest has 32 frames).
    static SampleRing tenSeconds(int channelCount);

    /// \p cycleCapacity and \p sampleCapacity (all channels together) are powers of two.
    SampleRing(int channelCount, std::size_t cycleCapacity, std::size_t sampleCapacity);

    /// For the data thread. False when there was no room. \p samples has cycle.frames frames.
    bool write(const CapturedCycle &cycle, std::span<const float> samples) noexcept;

    /// For the worker. The oldest cycle, or null; valid until it is taken.
    const CapturedCycle *front() const noexcept;

    /// For the worker. Moves the samples of front() into \p samples, which is replaced.
    void take(std::vector<float> &samples);

    /// For the worker. Frames that found no room since the last call.
    quint64 takeLostFrames() noexcept;

    /// Samples of all channels that were waiting at the worst moment so far. Any thread.
    std::size_t highestFill() const noexcept
    {
        return m_highestFill.load(std::memory_order_relaxed);
    }

private:
    const std::size_t m_channelCount;
    std::vector<CapturedCycle> m_cycles;
    std::vector<float> m_samples;

    // Counters of everything ever written or taken; the place in the vector is the remainder.
    std::atomic<std::size_t> m_cyclesWritten{0};
    std::atomic<std::size_t> m_cyclesTaken{0};
    std::atomic<std::size_t> m_samplesTaken{0};
    std::size_t m_samplesWritten = 0; ///< data thread only
    std::size_t m_samplesRead = 0;    ///< worker only
    std::atomic<quint64> m_lostFrames{0};
    std::atomic<std::size_t> m_highestFill{0};
};
