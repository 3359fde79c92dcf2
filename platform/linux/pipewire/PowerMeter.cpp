#include "platform/linux/pipewire/PowerMeter.h"

#include <algorithm>
#include <cmath>

namespace
{
using namespace std::chrono_literals;

constexpr double windowSeconds = 0.1;
constexpr MediaTime patience = 500ms;
} // namespace

void PowerMeter::add(const AudioBuffer &buffer, MediaTime arrival)
{
    const std::size_t frames = buffer.frameCount();
    if (frames == 0)
        return;
    double sum = 0.0;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double sample = buffer.samples[frame * static_cast<std::size_t>(buffer.channelCount)];
        sum += sample * sample;
    }
    const auto count = static_cast<double>(frames);
    if (!std::isfinite(sum))
        return;
    m_meanSquare +=
        (sum / count - m_meanSquare) * (1.0 - std::exp(-count / buffer.sampleRate / windowSeconds));
    const double decibels = 10.0 * std::log10(m_meanSquare);
    m_decibels = std::clamp(static_cast<float>(decibels), floorDecibels, 0.0F);
    m_arrival = arrival;
}

float PowerMeter::decibels(MediaTime now) const
{
    return now - m_arrival.load() > patience ? floorDecibels : m_decibels.load();
}
