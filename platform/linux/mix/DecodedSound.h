#pragma once

#include <cstddef>
#include <iterator>
#include <span>
#include <vector>

/// The sound of one track in order of time: interleaved stereo from frame 0 on, without holes.
///
/// What a decoder hands over is put where its presentation time says, so that a packet that is
/// missing does not shift the rest. Used by one thread at a time.
class DecodedSound
{
public:
    /// Puts \p stereo at frame \p position. What lies before frame 0 or over earlier sound is cut
    /// off, a hole before it becomes silence. False when that hole is beyond belief.
    bool place(qint64 position, std::span<const float> stereo);

    /// Takes the next frames: \p stereo must not be longer than available().
    void take(std::span<float> stereo);

    qint64 position() const { return m_position; } ///< the next frame to be taken
    qint64 available() const { return (std::ssize(m_samples) - m_taken) / 2; }
    qint64 end() const { return m_position + available(); }

private:
    std::vector<float> m_samples;
    std::ptrdiff_t m_taken = 0; ///< samples at the front that take() has handed out
    qint64 m_position = 0;
};
