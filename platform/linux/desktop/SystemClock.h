#pragma once

#include "platform/Clock.h"

/// The machine's clocks.
class SystemClock : public Clock
{
public:
    QDateTime now() const override;

    /// CLOCK_MONOTONIC, which also times the captured sound.
    double mediaSeconds() const override;
};
