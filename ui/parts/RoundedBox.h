#pragma once

#include <QColor>
#include <QWidget>

/// A rounded ground with an outline, one point wide, for other controls. Main thread.
class RoundedBox : public QWidget
{
    Q_OBJECT

public:
    RoundedBox(const QColor &fill, const QColor &outline, double radius, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QColor m_fill;
    const QColor m_outline;
    const double m_radius;
};
