#include "platform/linux/desktop/SystemClock.h"

#include <time.h>

QDateTime SystemClock::now() const
{
    return QDateTime::currentDateTime();
}

double SystemClock::mediaSeconds() const
{
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}
