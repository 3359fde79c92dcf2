#include "platform/linux/pipewire/TimeLine.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace
{
using namespace std::chrono_literals;

/// How far ticks and clock may disagree before the ticks are those of another driver. Longer than
/// the longest cycle (8192 frames at 48 kHz).
constexpr MediaTime tolerance = 200ms;

/// Another rate than ours is converted on the way, and the converter's cycles differ in length.
constexpr MediaTime converterWobble = 2ms;

double seconds(MediaTime time)
{
    return std::chrono::duration<double>(time).count();
}
} // namespace

bool TimeLine::repeatsPrevious(const CapturedCycle &cycle) const
{
    // A stream that is linked anew may be run a second time in the same cycle.
    return m_previous && cycle.now == m_previous->now;
}

bool TimeLine::continues(const CapturedCycle &cycle) const
{
    if (!m_previous || cycle.rate == 0 || cycle.rate != m_previous->rate ||
        cycle.ticks <= m_previous->ticks || repeatsPrevious(cycle))
        return false;
    const double byTicks =
        static_cast<double>(cycle.ticks - m_previous->ticks) / static_cast<double>(cycle.rate);
    return std::abs(byTicks - seconds(cycle.now - m_previous->now)) <= seconds(tolerance);
}

qint64 TimeLine::positionByTicks(const CapturedCycle &cycle, qint64 appended) const
{
    const double frames = static_cast<double>(cycle.ticks - m_previous->ticks) * m_sampleRate /
                          static_cast<double>(cycle.rate);
    const qint64 position = m_previousPosition + std::llround(frames);
    const auto wobble = std::llround(seconds(converterWobble) * m_sampleRate);
    const bool isConverted = static_cast<int>(cycle.rate) != m_sampleRate;
    return isConverted && std::abs(position - appended) < wobble ? appended : position;
}

TimeLine::Placement TimeLine::place(const CapturedCycle &cycle, qint64 appended, MediaTime next)
{
    const qint64 frames = cycle.frames;
    if (repeatsPrevious(cycle))
        return {0, frames};

    qint64 position = appended;
    if (continues(cycle) && !m_isInDoubt)
        position = positionByTicks(cycle, appended);
    else if (m_previous)
        position += std::llround(seconds(cycle.now - next) * m_sampleRate);
    m_isInDoubt = false;
    m_previous = cycle;
    m_previousPosition = position;
    return {std::max<qint64>(position - appended, 0),
            std::clamp<qint64>(appended - position, 0, frames)};
}
