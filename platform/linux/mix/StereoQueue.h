#pragma once

#include <QtGlobal>

#include <algorithm>
#include <span>
#include <vector>

/// Interleaved stereo, appended at one end and taken from the other. Used by one thread at a time.
class StereoQueue
{
public:
    qint64 frames() const { return (std::ssize(m_samples) - m_taken) / 2; }

    /// What is waiting, to be appended to.
    std::vector<float> &samples()
    {
        // Only here: it costs moving the rest to the front.
        m_samples.erase(m_samples.begin(), m_samples.begin() + m_taken);
        m_taken = 0;
        return m_samples;
    }

    /// Takes the next frames: \p stereo must not be longer than what is waiting.
    void take(std::span<float> stereo)
    {
        Q_ASSERT(std::ssize(stereo) <= std::ssize(m_samples) - m_taken);
        std::copy_n(m_samples.begin() + m_taken, stereo.size(), stereo.begin());
        m_taken += std::ssize(stereo);
    }

private:
    std::vector<float> m_samples;
    std::ptrdiff_t m_taken = 0; ///< of them, at the front
};
