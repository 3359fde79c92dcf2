#pragma once

#include <chrono>
#include <cstddef>
#include <span>

/// A time on the media clock: nanoseconds of CLOCK_MONOTONIC, which does not count sleep.
using MediaTime = std::chrono::nanoseconds;

/// The media clock now. Any thread, also the data thread: makes no system call.
inline MediaTime mediaNow()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

/// Captured sound, borrowed for the length of the call that hands it over.
struct AudioBuffer {
    std::span<const float> samples; ///< interleaved, full scale is -1 to 1
    int channelCount = 0;
    int sampleRate = 0;            ///< frames per second
    MediaTime presentationTime{0}; ///< of the first frame

    std::size_t frameCount() const
    {
        return channelCount > 0 ? samples.size() / static_cast<std::size_t>(channelCount) : 0;
    }
};
