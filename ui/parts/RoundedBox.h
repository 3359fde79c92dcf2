#pragma once

#include <QColor>
#include <QWidget>

class QPainter;

/// Fills \p box and outlines it, one point wide and within it, where \p outline can be seen.
void paintBox(QPainter &painter, const QRectF &box, double radius, const QColor &fill,
              const QColor &outline = Qt::transparent);

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
