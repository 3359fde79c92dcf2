#pragma once

#include "platform/SleepInhibitor.h"

/// Remembers what it was told last.
class FakeSleepInhibitor : public SleepInhibitor
{
public:
    void setHeld(bool held) override { isHeld = held; }

    bool isHeld = false;
};
