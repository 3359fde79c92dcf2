#pragma once

#include "core/RecordingState.h"

/// What the panel makes no difference between: it looks alive as soon as a start is asked for.
inline bool isLive(RecordingState state)
{
    return state == RecordingState::recording || state == RecordingState::starting;
}

inline bool isStopping(RecordingState state)
{
    return state == RecordingState::stopping;
}
