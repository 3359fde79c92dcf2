#pragma once

#include "base/FileDescriptor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>

/// Wakes one waiting thread. Any thread may call wake(), the audio callback too: it makes one
/// system call that never waits. Where the system had no descriptor left wait() only waits for its
/// limit.
class WakeUp
{
public:
    WakeUp()
        : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
    }

    void wake() noexcept
    {
        const std::uint64_t one = 1;
        // A write fails only when the counter is full, and then the thread is awake.
        [[maybe_unused]] const ssize_t written = ::write(m_event.get(), &one, sizeof one);
    }

    /// Waits until somebody called wake() since the last return, at most \p limit.
    void wait(std::chrono::milliseconds limit)
    {
        pollfd waiting{m_event.get(), POLLIN, 0};
        ::poll(&waiting, 1, static_cast<int>(limit.count()));
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t taken = ::read(m_event.get(), &count, sizeof count);
    }

private:
    FileDescriptor m_event;
};
