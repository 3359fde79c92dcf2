#pragma once

#include "platform/linux/mix/StereoQueue.h"

#include <span>

/// The sound of one track in order of time: interleaved stereo from frame 0 on, without holes.
///
/// What a decoder hands over is put where its presentation time says, so that a packet that is
/// missing does not shift the rest. Used by one thread at a time.
class TrackTimeline
{
public:
    /// Puts \p stereo at frame \p position. What lies before frame 0 or over earlier sound is cut
    /// off, a hole before it becomes silence. False when that hole is beyond belief.
    bool place(qint64 position, std::span<const float> stereo);

    /// Takes the next frames: \p stereo must not be longer than available().
    void take(std::span<float> stereo);

    qint64 position() const { return m_position; } ///< the next frame to be taken
    qint64 available() const { return m_queue.frames(); }
    qint64 end() const { return m_position + available(); }

private:
    StereoQueue m_queue;
    qint64 m_position = 0;
};
