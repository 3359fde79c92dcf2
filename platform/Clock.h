#pragma once

#include <QDateTime>

/// The two clocks of the program, handed in wherever time is read so that tests can set it.
class Clock
{
public:
    virtual ~Clock() = default;

    /// The wall clock in the local time zone. May jump.
    virtual QDateTime now() const = 0;

    /// The media clock in seconds; never goes back, does not count sleep. Any thread.
    virtual double mediaSeconds() const = 0;
};
