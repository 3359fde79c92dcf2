#pragma once

/// Keeps the machine awake. Main thread; returns at once.
class SleepInhibitor
{
public:
    virtual ~SleepInhibitor() = default;

    /// While held the machine does not go to sleep by itself, as far as the desktop goes along with
    /// that. The screen may.
    virtual void setHeld(bool isHeld) = 0;
};
