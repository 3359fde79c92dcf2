#include "ui/parts/Pill.h"

#include "ui/parts/MS.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/Symbol.h"

#include <QPainter>

namespace
{
constexpr double points = 10.5;
constexpr double symbolPoints = 9.0;
constexpr int padding = 8;
constexpr int gap = 4;
constexpr double groundOpacity = 0.16;
} // namespace

PillLook tintedLook(const QString &text, const QColor &color)
{
    return {.text = text, .color = color, .fill = MS::faded(color, groundOpacity)};
}

Pill::Pill(const PillLook &look, QWidget *parent)
    : TextLabel(look.text, MS::system(points), look.color, parent)
{
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    setLook(look);
}

void Pill::setLook(const PillLook &look)
{
    m_look = look;
    const int leading = look.symbol.isEmpty() ? 0 : symbolSide(symbolPoints) + gap;
    const int sides = look.fill.alpha() > 0 ? padding : 0;
    setContentsMargins(sides + leading, 2, sides, 2);
    setColor(look.color);
    setText(look.text);
    updateGeometry();
}

void Pill::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    paintBox(painter, rect(), height() / 2.0, m_look.fill);
    const double side = symbolSide(symbolPoints);
    const QRectF where(padding, (height() - side) / 2, side, side);
    paintSymbol(painter, where, m_look.symbol, m_look.color);
    painter.end();
    TextLabel::paintEvent(event);
}
