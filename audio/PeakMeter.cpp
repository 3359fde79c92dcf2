#include "audio/PeakMeter.h"

#include "platform/Clock.h"

#include <algorithm>
#include <cmath>

void PeakMeter::update(std::span<const float> samples)
{
    if (samples.empty())
        return;
    float highest = 0.0F;
    for (const float sample : samples) {
        const float magnitude = std::fabs(sample);
        // The comparison stands in this order because a sample that is not a number compares false
        // and then changes nothing.
        highest = magnitude > highest ? magnitude : highest;
    }
    const double level = std::min(double{highest}, 1.0);

    const std::lock_guard guard(m_peakLock);
    m_peak = std::max(m_peak * 0.75, level);
    m_peakUpdatedAt = m_clock.mediaSeconds();
}

double PeakMeter::currentLevel()
{
    const std::lock_guard guard(m_peakLock);
    const double now = m_clock.mediaSeconds();
    const double silence = now - m_peakUpdatedAt;
    if (silence > 0.08) {
        m_peak *= std::pow(0.3, std::min(silence, 1.0));
        m_peakUpdatedAt = now;
    }
    return m_peak;
}
