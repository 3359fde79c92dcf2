#include "ui/parts/SymbolLabel.h"

#include "ui/parts/Symbol.h"

#include <QPainter>

#include <utility>

SymbolLabel::SymbolLabel(QString name, double points, QColor color, QWidget *parent)
    : QWidget(parent)
    , m_name(std::move(name))
    , m_color(color)
{
    const int side = symbolSide(points);
    setFixedSize(side, side);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void SymbolLabel::setSymbol(const QString &name, const QColor &color)
{
    if (m_name == name && m_color == color)
        return;
    m_name = name;
    m_color = color;
    update();
}

void SymbolLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintSymbol(painter, rect(), m_name, m_color);
}
