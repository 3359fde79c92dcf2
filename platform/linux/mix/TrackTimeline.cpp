#include "platform/linux/mix/TrackTimeline.h"

#include <algorithm>

namespace
{
constexpr qint64 longestHole = 60 * 48000; // a minute: our tracks carry silence as sound
}

bool TrackTimeline::place(qint64 position, std::span<const float> stereo)
{
    const auto frames = static_cast<qint64>(stereo.size()) / 2;
    if (position > end() + longestHole)
        return false;
    if (position > end()) {
        m_samples.resize(static_cast<std::size_t>(position - m_position) * 2, 0.0F);
    } else {
        const qint64 overlap = std::min(end() - position, frames);
        stereo = stereo.subspan(static_cast<std::size_t>(overlap) * 2);
    }
    m_samples.insert(m_samples.end(), stereo.begin(), stereo.end());
    return true;
}

void TrackTimeline::take(std::span<float> stereo)
{
    Q_ASSERT(stereo.size() <= m_samples.size());
    const auto last = m_samples.begin() + static_cast<std::ptrdiff_t>(stereo.size());
    std::copy(m_samples.begin(), last, stereo.begin());
    m_samples.erase(m_samples.begin(), last);
    m_position += static_cast<qint64>(stereo.size()) / 2;
}
