#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <ratio>

class QWidget;

/// Repaints a part of a panel at an interval, for as long as that part is visible. Owned by the
/// part. Main thread.
///
/// The ticks of all parts fall on multiples of their intervals, which are counted in the same
/// frames: those which are due at the same time are painted and sent to the screen together.
class Timeline : public QObject
{
    Q_OBJECT

public:
    using Frames = std::chrono::duration<qint64, std::ratio<1, 60>>;

    /// \p tick is called instead of a repaint where one is given.
    explicit Timeline(QWidget &part, std::function<void()> tick = {});

    /// Zero: the part stands still.
    void setInterval(Frames interval);

    /// Now, in seconds since 1970: what every moving part draws.
    static double seconds();

    /// Lets \p clock tell the time instead, for a picture of a known moment; null: the system's.
    static void setClock(double (*clock)());

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void run();
    void waitForTick();

    QWidget &m_part;
    const std::function<void()> m_tick;
    QTimer m_timer;
    Frames m_interval{0};
};
