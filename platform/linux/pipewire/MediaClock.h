#pragma once

#include "platform/AudioBuffer.h"

#include <ctime>

/// The media clock now. Any thread, also the data thread: makes no system call.
inline MediaTime mediaNow()
{
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}
