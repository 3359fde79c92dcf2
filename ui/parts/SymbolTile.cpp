#include "ui/parts/SymbolTile.h"

#include "ui/parts/MS.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/Symbol.h"

#include <QPainter>

SymbolTile::SymbolTile(const QString &symbol, QWidget *parent)
    : SymbolTile(symbol, {.symbolColor = MS::muted, .fill = MS::bg, .outline = MS::border}, parent)
{
}

SymbolTile::SymbolTile(const QString &symbol, const TileLook &look, QWidget *parent)
    : QWidget(parent)
    , m_symbol(symbol)
{
    setLook(look);
}

void SymbolTile::setLook(const TileLook &look)
{
    m_look = look;
    setFixedSize(look.side, look.side);
    update();
}

TileLook SymbolTile::amberLook(int side, double symbolPoints, double radius)
{
    return {.side = side,
            .symbolPoints = symbolPoints,
            .radius = radius,
            .symbolColor = MS::amber,
            .fill = MS::amberDim,
            .outline = MS::borderAmber};
}

void SymbolTile::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintBox(painter, rect(), m_look.radius, m_look.fill, m_look.outline);
    const double length = symbolSide(m_look.symbolPoints);
    QRectF where(0, 0, length, length);
    where.moveCenter(QRectF(rect()).center());
    paintSymbol(painter, where, m_symbol, m_look.symbolColor);
}
