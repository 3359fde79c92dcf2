#pragma once

#include "base/Tasks.h"

#include <QEventLoop>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>

/// The outcome of a task, in a box, while the main loop turns. Needs no default value of it, unlike
/// QCoro::waitFor().
template<class T>
class Awaited
{
public:
    explicit Awaited(QCoro::Task<T> &&task) { runDetached(collect(std::move(task), m_box)); }

    /// False when the task has not ended within \p limit.
    bool wait(std::chrono::milliseconds limit = std::chrono::seconds(30)) const
    {
        if (isDone())
            return true;
        QEventLoop loop;
        QTimer timer; // one that QTimer::singleShot() makes would stay until its time has come
        QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
        timer.start(limit);
        m_box->waiting = &loop;
        loop.exec();
        return isDone();
    }

    bool isDone() const { return m_box->value.has_value(); }

    /// After wait().
    const T &value() const { return *m_box->value; }

private:
    struct Box {
        std::optional<T> value;
        QPointer<QEventLoop> waiting;
    };

    static QCoro::Task<> collect(QCoro::Task<T> task, std::shared_ptr<Box> box)
    {
        T value = co_await task;
        box->value = std::move(value);
        if (box->waiting)
            box->waiting->quit();
    }

    std::shared_ptr<Box> m_box = std::make_shared<Box>();
};
