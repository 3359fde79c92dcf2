#pragma once

#include "platform/linux/pipewire/CyclePlacer.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
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
    /// The room of a cycle besides its samples, in samples.
    static constexpr std::size_t headerSamples = sizeof(CapturedCycle) / sizeof(float);

    /// Room for ten seconds at 48 kHz, however short the cycles are (the shortest has 32 frames).
    static SampleRing tenSeconds(int channelCount);

    /// \p capacity: samples of all channels together, headers included.
    SampleRing(int channelCount, std::size_t capacity);

    /// For the data thread. False when there was no room. \p samples has cycle.frames frames.
    bool write(const CapturedCycle &cycle, std::span<const float> samples) noexcept;

    /// For the worker. The oldest cycle; its samples go into \p samples, which is replaced. Null
    /// where none waits.
    std::optional<CapturedCycle> take(std::vector<float> &samples);

    /// For the worker.
    bool isEmpty() const noexcept
    {
        // A writer that begins at the front again moves the other counter first.
        const std::size_t written = m_written.load(std::memory_order_acquire);
        return m_taken.load(std::memory_order_relaxed) >= written;
    }

    /// For the worker. Frames that found no room since the last call.
    quint64 takeLostFrames() noexcept;

    /// Samples of all channels that were waiting at the worst moment so far, headers included. Any
    /// thread.
    std::size_t highestFill() const noexcept
    {
        return m_highestFill.load(std::memory_order_relaxed);
    }

private:
    std::span<float> untilWrap(std::size_t begin, std::size_t count) const noexcept;
    std::size_t copyIn(std::size_t begin, std::span<const float> samples) noexcept;

    const std::size_t m_channelCount;
    const std::size_t m_capacity;
    const std::unique_ptr<float[]> m_memory; ///< its pages come with the first use

    // Counters of everything ever written or taken, and of what was skipped to begin at the front;
    // the place in the memory is the remainder.
    std::atomic<std::size_t> m_written{0};
    std::atomic<std::size_t> m_taken{0};
    std::atomic<quint64> m_lostFrames{0};
    std::atomic<std::size_t> m_highestFill{0};
};
