#include "ui/Symbol.h"

#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

// The drawings are black; a tray and a theme have colours of their own.
QPixmap painted(QSvgRenderer &drawing, int side, const QColor &color)
{
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    drawing.render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), color);
    return pixmap;
}

} // namespace

// Outside any namespace: a static library keeps its resources only when they are asked for.
static void loadSymbols()
{
    Q_INIT_RESOURCE(symbols);
}

QIcon symbol(QStringView name, const QColor &color)
{
    loadSymbols();
    QIcon icon;
    QSvgRenderer drawing(u":/symbols/%1.svg"_s.arg(name));
    if (!drawing.isValid())
        return icon;
    for (const int side : std::array{16, 22, 24, 32, 44, 48, 64})
        icon.addPixmap(painted(drawing, side, color));
    return icon;
}
