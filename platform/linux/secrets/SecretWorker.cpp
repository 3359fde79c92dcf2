#include "platform/linux/secrets/SecretWorker.h"

#include <pthread.h>

#include <atomic>
#include <thread>

void SecretWorker::start(const std::shared_ptr<SecretWorker> &worker)
{
    std::thread([worker] { worker->run(); }).detach();
}

void SecretWorker::queue(Call call)
{
    const std::scoped_lock lock(m_mutex);
    m_calls.push_back(std::move(call));
    m_changed.notify_all();
}

bool SecretWorker::runWithin(Milliseconds limit, const Call &call)
{
    std::unique_lock lock(m_mutex);
    if (m_finishedCalls == m_finishedCallsAtFailure)
        return false;
    // A call that nobody waits for any more must not show the user a prompt.
    const auto isWanted = std::make_shared<std::atomic_bool>(true);
    const auto isDone = std::make_shared<std::atomic_bool>(false);
    m_calls.emplace_back([call, isWanted, isDone] {
        if (isWanted->load())
            call();
        isDone->store(true);
    });
    m_changed.notify_all();
    if (waitFor(lock, limit, [isDone] { return isDone->load(); }))
        return true;
    isWanted->store(false);
    return false;
}

void SecretWorker::close(Milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    m_isClosing = true;
    m_changed.notify_all();
    if (m_finishedCalls != m_finishedCallsAtFailure)
        waitFor(lock, limit, [this] { return m_isEnded; });
}

bool SecretWorker::waitFor(std::unique_lock<std::mutex> &lock, Milliseconds limit,
                           const std::function<bool()> &isDone)
{
    if (m_changed.wait_for(lock, limit, isDone))
        return true;
    m_finishedCallsAtFailure = m_finishedCalls;
    return false;
}

void SecretWorker::run()
{
    pthread_setname_np(pthread_self(), "secrets");
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_isClosing || !m_calls.empty(); });
        if (m_calls.empty())
            break;
        {
            const Call call = std::move(m_calls.front());
            m_calls.pop_front();
            lock.unlock();
            call();
        }
        lock.lock();
        ++m_finishedCalls;
        m_changed.notify_all();
    }
    m_isEnded = true;
    m_changed.notify_all();
}
