#pragma once

#include <mutex>
#include <span>

class Clock;

/// The level of a sound for the eye: it jumps to a louder peak at once and falls slowly.
///
/// One thread feeds it, any thread reads it. It is never reset; an old level fades away.
class PeakMeter
{
public:
    explicit PeakMeter(const Clock &clock)
        : m_clock(clock)
    {
    }

    /// Raises the level to the highest sample of \p samples, or lowers it by a quarter at most.
    /// Without a sample nothing changes.
    void update(std::span<const float> samples);

    /// The level now, 0 to 1. Reading also lowers it, by a factor 0.3 per second of silence.
    double currentLevel();

private:
    const Clock &m_clock;
    std::mutex m_peakLock; // guards the next two, for a few operations at a time
    double m_peak = 0.0;
    double m_peakUpdatedAt = 0.0; // seconds of the media clock
};
