#pragma once

#include "platform/Clock.h"

#include <chrono>

/// Both clocks stand still until a test moves them.
class FakeClock : public Clock
{
public:
    QDateTime now() const override { return wall; }
    double mediaSeconds() const override { return media; }

    /// Lets time pass on both clocks.
    void advance(std::chrono::milliseconds time)
    {
        wall = wall.addMSecs(time.count());
        media += std::chrono::duration<double>(time).count();
    }

    QDateTime wall{QDate(2025, 3, 7), QTime(14, 5)};
    double media = 1000.0;
};
