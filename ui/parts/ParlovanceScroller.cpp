#include "ui/parts/ParlovanceScroller.h"

#include "ui/parts/ScrollerStyle.h"

#include <QPainter>
#include <QStyleOptionSlider>

namespace
{

const QColor knobColor = QColor::fromRgbF(0.91F, 0.627F, 0.29F, 0.55F);
const QColor brightKnobColor = QColor::fromRgbF(0.91F, 0.627F, 0.29F, 0.9F);
const QColor slotColor = QColor::fromRgbF(1.0F, 1.0F, 1.0F, 0.05F);

// A part of one pixel is not there.
bool isThere(const QRect &part)
{
    return part.width() > 1 && part.height() > 1;
}

void fill(QPainter &painter, const QRectF &where, double radius, const QColor &color)
{
    if (where.isEmpty())
        return;
    painter.setBrush(color);
    painter.drawRoundedRect(where, radius, radius);
}

} // namespace

ParlovanceScroller::ParlovanceScroller(QWidget *parent)
    : QScrollBar(Qt::Vertical, parent)
{
    auto *const measures = new ScrollerStyle;
    measures->setParent(this);
    setStyle(measures);
    setContextMenuPolicy(Qt::NoContextMenu);
}

void ParlovanceScroller::enterEvent(QEnterEvent *event)
{
    QScrollBar::enterEvent(event);
    m_pointerInside = true;
    update();
}

void ParlovanceScroller::leaveEvent(QEvent *event)
{
    QScrollBar::leaveEvent(event);
    m_pointerInside = false;
    update();
}

void ParlovanceScroller::paintEvent(QPaintEvent *)
{
    QStyleOptionSlider bar;
    initStyleOption(&bar);
    const auto partOf = [&](QStyle::SubControl part) {
        return style()->subControlRect(QStyle::CC_ScrollBar, &bar, part, this);
    };
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (const QRect slot = partOf(QStyle::SC_ScrollBarGroove); isThere(slot))
        fill(painter, QRectF(slot).adjusted(3, 5, -3, -5), 4, slotColor);
    if (const QRect knob = partOf(QStyle::SC_ScrollBarSlider); isThere(knob))
        fill(painter, QRectF(knob).adjusted(2, 2, -2, -2), 3.5,
             m_pointerInside ? brightKnobColor : knobColor);
}
