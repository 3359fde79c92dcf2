#pragma once

#include "platform/linux/pipewire/CapturedCycle.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

/// Carries captured cycles from the data thread to a worker, in order.
///
/// One thread writes, one reads; neither ever waits for the other. All memory is allocated in the
/// constructor. Whenever nothing waits, writing begins at the front again, so that only the front
/// is ever resident unless the worker falls behind. What does not fit is counted and left out as a
/// whole cycle.
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
    struct Slot {
        CapturedCycle cycle;
        std::size_t begin = 0; ///< of its samples, counted like m_samplesWritten
    };

    void rewind() noexcept;

    const std::size_t m_channelCount;
    std::vector<Slot> m_slots;
    const std::size_t m_sampleCapacity;
    const std::unique_ptr<float[]> m_samples; ///< its pages come with the first use

    // Counters of everything ever written or taken; the place in the memory is the remainder.
    std::atomic<std::size_t> m_cyclesWritten{0};
    std::atomic<std::size_t> m_cyclesTaken{0};
    std::atomic<std::size_t> m_samplesTaken{0};
    std::size_t m_samplesWritten = 0; ///< data thread only
    std::atomic<quint64> m_lostFrames{0};
    std::atomic<std::size_t> m_highestFill{0};
};
