#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QSignalSpy>
#include <QTimer>

#include <chrono>

/// Counts the timers of the process that fire while it lives.
class TimerCount : public QObject
{
public:
    TimerCount() { QCoreApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Timer && watched != &m_end)
            ++count;
        return false;
    }

    /// While the loop turns for long enough to see the slowest timeline.
    int during(std::chrono::milliseconds time)
    {
        count = 0;
        m_end.setSingleShot(true);
        m_end.start(time);
        QSignalSpy(&m_end, &QTimer::timeout).wait();
        return count;
    }

    int count = 0;

private:
    QTimer m_end;
};
