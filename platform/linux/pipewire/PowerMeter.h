#pragma once

#include "platform/AudioBuffer.h"

#include <atomic>

/// The mean power of the first channel over about a tenth of a second.
///
/// One thread adds sound, any thread reads.
class PowerMeter
{
public:
    /// The power that is read when there is no sound.
    static constexpr float floorDecibels = -160.0F;

    /// Takes sound that arrived at \p arrival. A buffer with a sample that is not a number is left
    /// out.
    void add(const AudioBuffer &buffer, MediaTime arrival);

    /// Decibels relative to full scale, -160 to 0; a sine of full scale has -3. The floor when no
    /// sound arrived for half a second before \p now.
    float decibels(MediaTime now) const;

private:
    double m_meanSquare = 0.0; ///< adding thread only
    std::atomic<float> m_decibels{floorDecibels};
    std::atomic<MediaTime> m_arrival{MediaTime(0)};
};
