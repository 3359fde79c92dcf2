#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>

class QWidget;

/// Repaints a part of a panel at an interval, for as long as that part is visible. Owned by the
/// part. Main thread.
///
/// The ticks of all parts fall on multiples of their intervals, so that those which are due at the
/// same time are painted and sent to the screen together.
class Timeline : public QObject
{
    Q_OBJECT

public:
    explicit Timeline(QWidget &part);

    /// Zero: the part stands still.
    void setInterval(std::chrono::microseconds interval);

    /// The interval at which the part is repainted now: zero while it is hidden or stands still.
    std::chrono::microseconds interval() const;

    /// Now, in seconds since 1970: what every moving part draws.
    static double seconds();

    /// Lets \p clock tell the time instead, for a picture of a known moment; null: the system's.
    static void setClock(double (*clock)());

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void run();
    void waitForTick();

    QWidget &m_part;
    QTimer m_timer;
    std::chrono::microseconds m_interval{0};
};
