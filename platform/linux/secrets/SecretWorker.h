#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

/// Runs calls one after the other on a thread of its own, which holds the worker as well: a thread
/// that sits in a prompt cannot be stopped, only left behind.
class SecretWorker
{
public:
    using Call = std::function<void()>;
    using Milliseconds = std::chrono::milliseconds;

    /// Starts the thread of \p worker.
    static void start(const std::shared_ptr<SecretWorker> &worker);

    void queue(Call call);

    /// Queues \p call and waits until it has run. False when that takes longer than \p limit, or
    /// when the worker has not moved since it was last waited for in vain; \p call is then dropped
    /// if it has not begun.
    bool runWithin(Milliseconds limit, const Call &call);

    /// Lets the thread end after what is queued, and waits for that as runWithin() does.
    void close(Milliseconds limit);

private:
    void run();
    bool waitFor(std::unique_lock<std::mutex> &lock, Milliseconds limit,
                 const std::function<bool()> &isDone);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Call> m_calls; ///< under the mutex, like all below
    uint64_t m_finishedCalls = 0;
    uint64_t m_finishedCallsAtFailure = UINT64_MAX; ///< when it was last waited for in vain
    bool m_isClosing = false;
    bool m_isEnded = false;
};
