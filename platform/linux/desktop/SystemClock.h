#pragma once

#include "platform/AudioBuffer.h"
#include "platform/Clock.h"

#include <chrono>

/// The machine's clocks.
class SystemClock : public Clock
{
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
    double mediaSeconds() const override
    {
        return std::chrono::duration<double>(mediaNow()).count();
    }
};
