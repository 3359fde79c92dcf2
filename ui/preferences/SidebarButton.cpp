#include "ui/preferences/SidebarButton.h"

#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/Symbol.h"
#include "ui/parts/TextLabel.h"

#include <QPainter>

namespace
{
constexpr double points = 12.5;
constexpr int padding = 10;
constexpr int verticalPadding = 6;
constexpr int gap = 8;
constexpr double radius = 6.0;
} // namespace

SidebarButton::SidebarButton(const QString &symbol, const QString &label, QWidget *parent)
    : ChoiceButton(parent)
    , m_symbol(symbol)
{
    setText(label);
    setFont(MS::system(points));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize SidebarButton::sizeHint() const
{
    const QFontMetrics metrics(font());
    return {2 * padding + symbolSide(points) + gap + metrics.horizontalAdvance(text()),
            2 * verticalPadding + metrics.height()};
}

void SidebarButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintBox(painter, rect(), radius, isChecked() ? MS::amberDim : QColor(Qt::transparent));
    paintBox(painter, rect(), radius, shade());

    const double side = symbolSide(points);
    const QRectF where(padding, (height() - side) / 2, side, side);
    paintSymbol(painter, where, m_symbol, isChecked() ? MS::amber : MS::muted);
    painter.setPen(isChecked() ? MS::text : MS::muted);
    painter.drawText(QPointF(padding + side + gap, baseLine(font(), 0, height())), text());
    if (hasFocus())
        paintFocusRing(painter, rect(), radius);
}
