#include "platform/linux/mix/DecodedSound.h"

#include <algorithm>

namespace
{
constexpr qint64 longestHole = 60 * 48000; // a minute: our tracks carry silence as sound
}

bool DecodedSound::place(qint64 position, std::span<const float> stereo)
{
    const auto frames = static_cast<qint64>(stereo.size()) / 2;
    if (position > end() + longestHole)
        return false;
    // Drop what was taken only here, because that moves the rest to the front.
    m_samples.erase(m_samples.begin(), m_samples.begin() + m_taken);
    m_taken = 0;
    if (position > end()) {
        m_samples.resize(static_cast<std::size_t>(position - m_position) * 2, 0.0F);
    } else {
        const qint64 overlap = std::min(end() - position, frames);
        stereo = stereo.subspan(static_cast<std::size_t>(overlap) * 2);
    }
    m_samples.insert(m_samples.end(), stereo.begin(), stereo.end());
    return true;
}

void DecodedSound::take(std::span<float> stereo)
{
    Q_ASSERT(std::ssize(stereo) <= std::ssize(m_samples) - m_taken);
    std::copy_n(m_samples.begin() + m_taken, stereo.size(), stereo.begin());
    m_taken += std::ssize(stereo);
    m_position += static_cast<qint64>(stereo.size()) / 2;
}
