#include "ui/parts/RoundedBox.h"

#include <QPainter>

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
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(m_outline, 1.0));
    painter.setBrush(m_fill);
    const QRectF line = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.drawRoundedRect(line, m_radius - 0.5, m_radius - 0.5);
}
