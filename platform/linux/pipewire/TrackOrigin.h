#pragma once

#include "platform/AudioBuffer.h"

#include <atomic>
#include <optional>

/// When the track of the machine's sound began, while it is captured, so that the microphone's
/// track can begin at the same moment. Any thread.
class TrackOrigin
{
public:
    void set(MediaTime time) { m_time = time; }
    void clear() { m_time = MediaTime(0); }

    std::optional<MediaTime> time() const
    {
        const MediaTime time = m_time;
        return time == MediaTime(0) ? std::nullopt : std::optional(time);
    }

private:
    std::atomic<MediaTime> m_time{MediaTime(0)};
};
