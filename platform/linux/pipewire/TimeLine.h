#pragma once

#include "platform/linux/pipewire/CapturedCycle.h"

#include <optional>

/// Decides where in a track the samples of each cycle belong.
///
/// The driver's ticks count every sample, also those that never reached us, so a step in them is
/// the exact length of a gap. When the driver changes they say nothing, and the start of the cycle
/// on the system's clock decides. That clock alone would not do: it jumps by a cycle, without any
/// loss, whenever the length of the cycles changes.
class TimeLine
{
public:
    /// What to do before the samples of a cycle are appended.
    struct Placement {
        qint64 silence = 0; ///< frames of silence to put in front
        qint64 cut = 0;     ///< frames to leave out at the head of the cycle

        bool operator==(const Placement &) const = default;
    };

    /// \p sampleRate: frames a second of the track.
    explicit TimeLine(int sampleRate)
        : m_sampleRate(sampleRate)
    {
    }

    /// Whether the same driver simply ran on since the previous cycle.
    bool continues(const CapturedCycle &cycle) const;

    /// Places \p cycle in a track that has \p appended frames, the next of which is heard at
    /// \p next. The caller does as told; all of its frames count as appended, also the silence.
    Placement place(const CapturedCycle &cycle, qint64 appended, MediaTime next);

    /// Makes the system's clock decide at the next cycle.
    void resynchronise() { m_isInDoubt = true; }

private:
    bool repeatsPrevious(const CapturedCycle &cycle) const;
    qint64 positionByTicks(const CapturedCycle &cycle, qint64 appended) const;

    int m_sampleRate;
    std::optional<CapturedCycle> m_previous;
    qint64 m_previousPosition = 0; ///< where in the track the previous cycle began, in frames
    bool m_isInDoubt = false;
};
