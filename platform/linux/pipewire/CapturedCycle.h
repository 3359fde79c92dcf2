#pragma once

#include "platform/AudioBuffer.h"

#include <QtGlobal>

/// What the sound server told about the samples of one cycle of its graph.
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
