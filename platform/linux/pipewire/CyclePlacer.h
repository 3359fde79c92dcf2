#pragma once

#include "platform/AudioBuffer.h"

#include <QtGlobal>

#include <optional>

/// The sound server's description of the samples of one cycle of its graph.
struct CapturedCycle {
    MediaTime now{0};   ///< start of the cycle
    quint64 ticks = 0;  ///< position of the clock that drives the graph, in 1/rate seconds
    quint32 rate = 0;   ///< ticks a second
    quint32 frames = 0; ///< samples of one channel that came with it
    MediaTime age{0};   ///< how old the first sample was at the start

    /// When the first sample was heard.
    MediaTime start() const { return now - age; }

    bool operator==(const CapturedCycle &) const = default;
};

/// Decides where in a track the samples of each cycle belong.
///
/// The driver's ticks count every sample, also those that never reached us: while cycles keep their
/// length, a step in them is the exact length of a gap, and the start of the cycle on the system's
/// clock is not, because a cycle may start late without any loss. Where cycles change their length
/// it is the other way round: servers before 1.0 count a cycle in its own length, later ones in
/// that of the cycle before, and both run one cycle of the old length with samples of the new one,
/// so that only the clock tells what was lost. When the driver changes, the ticks say nothing.
class CyclePlacer
{
public:
    /// The silence or the cut that goes before the samples of a cycle.
    struct Placement {
        qint64 silence = 0; ///< frames of silence to put in front
        qint64 cut = 0;     ///< frames to leave out at the head of the cycle

        bool operator==(const Placement &) const = default;
    };

    /// \p sampleRate: frames a second of the track.
    explicit CyclePlacer(int sampleRate);

    /// Whether the same driver simply ran on since the previous cycle.
    bool continues(const CapturedCycle &cycle) const;

    /// Places \p cycle in a track that has \p appended frames, the next of which is heard at
    /// \p next. The caller does as told; all of its frames count as appended, also the silence.
    Placement place(const CapturedCycle &cycle, qint64 appended, MediaTime next);

    /// Makes the system's clock decide at the next cycle.
    void resynchronise() { m_isInDoubt = true; }

private:
    bool repeatsPrevious(const CapturedCycle &cycle) const;
    bool keepsLength(const CapturedCycle &cycle) const;
    qint64 framesSincePrevious(const CapturedCycle &cycle, bool countsTicks) const;

    int m_sampleRate;
    qint64 m_wobbleFrames;
    std::optional<CapturedCycle> m_previous;
    qint64 m_previousPosition = 0; ///< where in the track the previous cycle began, in frames
    bool m_isSteady = false;       ///< the previous cycle was as long as the one before it
    bool m_isInDoubt = false;
};
