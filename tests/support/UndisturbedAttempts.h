#pragma once

#include <QtGlobal>

#include <chrono>
#include <memory>

/// Repeats a measurement of real sound until the machine left it alone. A virtual machine whose
/// host is busy holds up the sound server itself: what it then leaves out no recorder can help.
///
///     for (UndisturbedAttempts attempts; attempts.next();) {
///         ... record ...
///         if (attempts.wasDisturbed())
///             continue;
///         ... verify ...
///         return;
///     }
///     QSKIP(UndisturbedAttempts::skipped);
class UndisturbedAttempts
{
public:
    static constexpr auto skipped = "the machine was held up in every attempt";

    UndisturbedAttempts();
    ~UndisturbedAttempts();
    Q_DISABLE_COPY_MOVE(UndisturbedAttempts)

    /// Begins the next attempt. False when they took a minute.
    bool next();

    /// Whether the processor was kept from its highest priority since next(), for as long as spoils
    /// a cycle of the sound server. Never where such a priority is not to be had. Ends the watch.
    bool wasDisturbed();

private:
    class Watch;

    std::unique_ptr<Watch> m_watch;
    std::chrono::nanoseconds m_end;
};
