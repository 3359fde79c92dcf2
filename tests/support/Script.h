#pragma once

#include <QCoroTask>
#include <QMutexLocker>
#include <QSet>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <coroutine>
#include <map>
#include <utility>
#include <vector>

/// What the doubles of one test do at each named step, and what was called, in order.
///
/// A step passes at once and succeeds unless the test says otherwise. Main thread.
class Script
{
public:
    QStringList calls;

    void failAt(const QString &step) { m_failing.insert(step); }
    void succeedAt(const QString &step) { m_failing.remove(step); }

    /// Everyone who comes to \p step waits there.
    void holdAt(const QString &step) { m_gates[step].isOpen = false; }

    /// Lets those go on who wait at \p step, before this returns, and everyone who comes later.
    void releaseAt(const QString &step)
    {
        m_gates[step].isOpen = true;
        letThrough(step);
    }

    /// The same for every step.
    void releaseAll()
    {
        for (const auto &gate : std::map(m_gates))
            releaseAt(gate.first);
    }

    /// Lets those go on who wait at \p step now.
    void letThrough(const QString &step)
    {
        for (const auto waiting : std::exchange(m_gates[step].waiting, {}))
            waiting.resume();
    }

    bool isWaitingAt(const QString &step) { return !m_gates[step].waiting.empty(); }

    bool isWaitingAnywhere() const
    {
        return std::ranges::any_of(m_gates,
                                   [](const auto &gate) { return !gate.second.waiting.empty(); });
    }

    /// Notes the call. Whether the step succeeds. Any thread.
    bool note(const QString &step)
    {
        const QMutexLocker lock(&m_mutex);
        calls.append(step);
        return !m_failing.contains(step);
    }

    /// The same for an operation that takes time.
    QCoro::Task<bool> reach(QString step)
    {
        note(step);
        co_await Passage(m_gates[step]);
        co_return !m_failing.contains(step);
    }

private:
    struct Gate {
        bool isOpen = true;
        std::vector<std::coroutine_handle<>> waiting;
    };

    class Passage
    {
    public:
        explicit Passage(Gate &gate)
            : m_gate(gate)
        {
        }
        bool await_ready() const noexcept { return m_gate.isOpen; }
        void await_suspend(std::coroutine_handle<> handle) { m_gate.waiting.push_back(handle); }
        void await_resume() const noexcept {}

    private:
        Gate &m_gate;
    };

    QMutex m_mutex; ///< between the main thread and one in the background
    QSet<QString> m_failing;
    std::map<QString, Gate> m_gates;
};
