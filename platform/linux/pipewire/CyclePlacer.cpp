#include "platform/linux/pipewire/CyclePlacer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace
{
using namespace std::chrono_literals;

/// How far ticks and clock may disagree before the ticks are those of another driver. Longer than
/// the longest cycle (8192 frames at 48 kHz).
constexpr MediaTime tolerance = 200ms;

/// Shorter gaps are none where they are not counted in our own frames: the converter of another
/// rate makes cycles of differing length, and the start of a cycle is known no better.
constexpr MediaTime wobble = 2ms;

double seconds(MediaTime time)
{
    return std::chrono::duration<double>(time).count();
}
} // namespace

CyclePlacer::CyclePlacer(int sampleRate)
    : m_sampleRate(sampleRate)
    , m_wobbleFrames(std::llround(seconds(wobble) * sampleRate))
{
}

bool CyclePlacer::repeatsPrevious(const CapturedCycle &cycle) const
{
    // A stream that is linked anew may be run a second time in the same cycle.
    return m_previous && cycle.now == m_previous->now;
}

bool CyclePlacer::continues(const CapturedCycle &cycle) const
{
    if (!m_previous || cycle.rate == 0 || cycle.rate != m_previous->rate ||
        cycle.ticks <= m_previous->ticks || repeatsPrevious(cycle))
        return false;
    const double byTicks =
        static_cast<double>(cycle.ticks - m_previous->ticks) / static_cast<double>(cycle.rate);
    return std::abs(byTicks - seconds(cycle.now - m_previous->now)) <= seconds(tolerance);
}

bool CyclePlacer::keepsLength(const CapturedCycle &cycle) const
{
    const auto change = std::abs(static_cast<qint64>(cycle.frames) - m_previous->frames);
    const bool isConverted = static_cast<int>(cycle.rate) != m_sampleRate;
    return isConverted ? change < m_wobbleFrames : change == 0;
}

qint64 CyclePlacer::framesSincePrevious(const CapturedCycle &cycle, bool countsTicks) const
{
    const double elapsed = countsTicks
                               ? static_cast<double>(cycle.ticks - m_previous->ticks) / cycle.rate
                               : seconds(cycle.start() - m_previous->start());
    return std::llround(elapsed * m_sampleRate);
}

CyclePlacer::Placement CyclePlacer::place(const CapturedCycle &cycle, qint64 appended,
                                          MediaTime next)
{
    const qint64 frames = cycle.frames;
    if (repeatsPrevious(cycle))
        return {0, frames};

    qint64 position = appended;
    bool isSteady = false;
    if (continues(cycle) && !m_isInDoubt) {
        isSteady = keepsLength(cycle);
        // The first cycle of a new length may already carry the loss that the next one shows.
        const bool countsTicks = isSteady && m_isSteady;
        position = m_previousPosition + framesSincePrevious(cycle, countsTicks);
        const bool isExact = countsTicks && static_cast<int>(cycle.rate) == m_sampleRate;
        if (!isExact && std::abs(position - appended) < m_wobbleFrames)
            position = appended;
        // A driver delivers no sample twice: what seems to overlap is a cycle that began late.
        position = std::max(position, m_previousPosition + m_previous->frames);
    } else if (m_previous) {
        position += std::llround(seconds(cycle.start() - next) * m_sampleRate);
    }
    m_isInDoubt = false;
    m_isSteady = isSteady;
    m_previous = cycle;
    m_previousPosition = position;
    return {std::max<qint64>(position - appended, 0),
            std::clamp<qint64>(appended - position, 0, frames)};
}
