#include "ui/parts/StatusDot.h"

#include <QPainter>
#include <QRadialGradient>

StatusDot::StatusDot(int side, QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(side + (2 * glowRadius), side + (2 * glowRadius));
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void StatusDot::setColors(const QColor &dot, const QColor &glow)
{
    m_color = dot;
    m_glow = glow;
    update();
}

void StatusDot::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF whole = rect();
    const QRectF dot = whole.adjusted(glowRadius, glowRadius, -glowRadius, -glowRadius);
    QColor none = m_glow;
    none.setAlpha(0);
    QRadialGradient glow(whole.center(), whole.width() / 2);
    glow.setColorAt(0.0, m_glow);
    glow.setColorAt(dot.width() / whole.width() * 0.6, m_glow);
    glow.setColorAt(1.0, none);
    painter.setBrush(glow);
    painter.drawEllipse(whole);
    painter.setBrush(m_color);
    painter.drawEllipse(dot);
}
