#include "ui/SymbolTile.h"

#include "ui/MS.h"
#include "ui/Symbol.h"

#include <QPainter>

namespace
{
constexpr int side = 32;
constexpr double symbolPoints = 16.0;
constexpr double radius = 10.0;
} // namespace

SymbolTile::SymbolTile(const QString &symbol, QWidget *parent)
    : QWidget(parent)
    , m_symbol(symbol)
{
    setFixedSize(side, side);
}

void SymbolTile::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(MS::border, 1.0));
    painter.setBrush(MS::bg);
    const QRectF tile = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.drawRoundedRect(tile, radius - 0.5, radius - 0.5);
    const double length = symbolSide(symbolPoints);
    QRectF where(0, 0, length, length);
    where.moveCenter(QRectF(rect()).center());
    paintSymbol(painter, where, m_symbol, MS::muted);
}
