#include "ui/parts/RoundedBox.h"

#include <QPainter>

void paintBox(QPainter &painter, const QRectF &box, double radius, const QColor &fill,
              const QColor &outline)
{
    const double inset = outline.alpha() > 0 ? 0.5 : 0.0;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(inset > 0.0 ? QPen(outline, 1.0) : QPen(Qt::NoPen));
    painter.setBrush(fill);
    painter.drawRoundedRect(box.adjusted(inset, inset, -inset, -inset), radius - inset,
                            radius - inset);
}

RoundedBox::RoundedBox(const QColor &fill, const QColor &outline, double radius, QWidget *parent)
    : QWidget(parent)
    , m_fill(fill)
    , m_outline(outline)
    , m_radius(radius)
{
}

void RoundedBox::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintBox(painter, rect(), m_radius, m_fill, m_outline);
}
