#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>

class QWidget;

/// Repaints a part of a panel at an interval, for as long as that part is visible. Owned by the
/// part. Main thread.
class Timeline : public QObject
{
    Q_OBJECT

public:
    explicit Timeline(QWidget &part);

    /// Zero: the part stands still.
    void setInterval(std::chrono::milliseconds interval);

    /// Now, in seconds since 1970: what every moving part draws.
    static double seconds();

    /// Lets \p clock tell the time instead, for a picture of a known moment; null: the system's.
    static void setClock(double (*clock)());

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void run();

    QWidget &m_part;
    QTimer m_timer;
    std::chrono::milliseconds m_interval{0};
};
