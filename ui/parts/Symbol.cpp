#include "ui/parts/Symbol.h"

#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

// Outside any namespace: a static library keeps its resources only when they are asked for.
static void loadSymbols()
{
    Q_INIT_RESOURCE(symbols);
}

QIcon applicationIcon()
{
    loadSymbols();
    return QIcon(u":/symbols/application.svg"_s);
}

namespace
{

/// A file of the set, and how much of the square stays free on each side, in pixels.
struct Drawing {
    QString file;
    int margin = 0;
};

// Edges of the drawings lie on the pixels of a square of 22, which stands in the middle of one of
// 24. Where other sizes would blur too much, a drawing of its own lies in a folder named after
// them.
Drawing drawingFor(QStringView name, int side)
{
    const QString file = u":/symbols/%1.svg"_s.arg(name);
    if (side % 24 == 0)
        return {file, side / 24};
    const QString exact = u":/symbols/%1/%2.svg"_s.arg(side).arg(name);
    return {QFile::exists(exact) ? exact : file, 0};
}

// The drawings are black; a tray and a theme have colours of their own. Null for an unknown name.
QPixmap painted(QStringView name, int side, const QColor &color)
{
    const QString key =
        u"symbol %1 %2 %3"_s.arg(name).arg(side).arg(color.rgba64().operator quint64());
    QPixmap pixmap;
    if (side <= 0 || QPixmapCache::find(key, &pixmap))
        return pixmap;
    loadSymbols();
    const Drawing chosen = drawingFor(name, side);
    if (!QFile::exists(chosen.file))
        return pixmap;
    QSvgRenderer drawing(chosen.file);
    pixmap = QPixmap(side, side);
    pixmap.fill(Qt::transparent);
    const int drawn = side - 2 * chosen.margin;
    QPainter painter(&pixmap);
    drawing.render(&painter, QRectF(chosen.margin, chosen.margin, drawn, drawn));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), color);
    painter.end();
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

} // namespace

QIcon symbol(QStringView name, const QColor &color)
{
    QIcon icon;
    for (const int side : std::array{16, 22, 24, 32, 44, 48, 64}) {
        if (const QPixmap pixmap = painted(name, side, color); !pixmap.isNull())
            icon.addPixmap(pixmap);
    }
    return icon;
}

int symbolSide(double points)
{
    return static_cast<int>(std::lround(points * 1.25));
}

void paintSymbol(QPainter &painter, const QRectF &where, QStringView name, const QColor &color)
{
    const QTransform toDevice = painter.deviceTransform();
    const double scale = std::sqrt(std::abs(toDevice.determinant()));
    const int side = static_cast<int>(std::lround(std::min(where.width(), where.height()) * scale));
    QPixmap pixmap = painted(name, side, color);
    if (pixmap.isNull())
        return;
    pixmap.setDevicePixelRatio(scale);
    const QPointF corner = where.center() - QPointF(side, side) / (2 * scale);
    const QPoint pixel = toDevice.map(corner).toPoint();
    painter.drawPixmap(toDevice.inverted().map(QPointF(pixel)), pixmap);
}

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
