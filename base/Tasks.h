#pragma once

#include <QCoroFuture>
#include <QCoroTask>
#include <QFuture>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

#include <coroutine>
#include <cstddef>
#include <expected>
#include <memory>

/// Runs \p work on a thread of the process-wide pool; await the future that it returns.
///
/// The closure lives in this function's frame, not in the await expression of the caller: g++ 12
/// destroys a capturing lambda twice when it is created beside a co_await.
template<class Work>
auto inBackground(Work work)
{
    return QtConcurrent::run(std::move(work));
}

/// Lets a task run to its end with nobody waiting for it. The task handles every outcome itself.
inline void runDetached(QCoro::Task<> &&task)
{
    // Tasks start at once and their frames free themselves; dropping the handle is enough.
    [[maybe_unused]] const QCoro::Task<> dropped = std::move(task);
}

/// Needed to await a task whose value is an expected pointer: without it g++ 12 takes the awaiter's
/// "is there a coroutine?" for a comparison of that value, because null converts to it.
template<class T, class E>
bool operator==(
    std::coroutine_handle<QCoro::detail::TaskPromise<std::expected<std::unique_ptr<T>, E>>> handle,
    std::nullptr_t)
{
    return !handle;
}
