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
    std::vector<float> &waiting = m_queue.samples();
    if (position > end()) {
        waiting.resize(static_cast<std::size_t>(position - m_position) * 2, 0.0F);
    } else {
        const qint64 overlap = std::min(end() - position, frames);
        stereo = stereo.subspan(static_cast<std::size_t>(overlap) * 2);
    }
    waiting.insert(waiting.end(), stereo.begin(), stereo.end());
    return true;
}

void TrackTimeline::take(std::span<float> stereo)
{
    m_queue.take(stereo);
    m_position += static_cast<qint64>(stereo.size()) / 2;
}
