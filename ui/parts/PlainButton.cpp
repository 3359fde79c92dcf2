#include "ui/parts/PlainButton.h"

#include "ui/parts/MS.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/Symbol.h"
#include "ui/parts/TextLabel.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace
{
constexpr double gap = 5.0; // between the parts
constexpr double dotSide = 5.0;
constexpr double smallestFocusRadius = 4.0;

bool isShown(const QColor &color)
{
    return color.alpha() > 0;
}

/// The side of the square that the symbol fills, in pixels at scale 1.
double side(const ButtonFace &face)
{
    return face.symbol.isEmpty() ? 0.0 : symbolSide(face.symbolPoints);
}
} // namespace

PlainButton::PlainButton(const ButtonFace &face, const QString &title, QWidget *parent)
    : DrawnButton(parent)
    , m_face(face)
{
    setFont(face.font);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setTitle(title);
}

void PlainButton::setFace(const ButtonFace &face)
{
    m_face = face;
    setFont(face.font);
    updateGeometry();
    update();
}

void PlainButton::setTitle(const QString &title)
{
    if (title == m_title)
        return;
    m_title = title;
    setAccessibleName(m_caption + title);
    updateGeometry();
    update();
}

void PlainButton::setCaption(const QString &caption, const QColor &color)
{
    m_caption = caption;
    m_captionColor = color;
    setAccessibleName(caption + m_title);
    updateGeometry();
    update();
}

double PlainButton::contentWidth(double titleWidth) const
{
    const QFontMetricsF metrics(font());
    double width = metrics.horizontalAdvance(m_caption) + titleWidth;
    if (isShown(m_face.dotColor))
        width += dotSide + gap;
    if (!m_face.symbol.isEmpty())
        width += side(m_face) + (width > 0.0 ? gap : 0.0);
    return width;
}

QSize PlainButton::sizeHint() const
{
    const QFontMetricsF metrics(font());
    const double width = contentWidth(metrics.horizontalAdvance(m_title));
    const bool hasText = !m_title.isEmpty() || !m_caption.isEmpty();
    const double height = std::max(side(m_face), hasText ? metrics.height() : 0.0);
    return QSizeF(std::ceil(width), std::round(height)).toSize().grownBy(m_face.padding);
}

QSize PlainButton::minimumSizeHint() const
{
    const bool isFlexible = sizePolicy().horizontalPolicy() != QSizePolicy::Fixed;
    return {isFlexible ? 0 : sizeHint().width(), sizeHint().height()};
}

QString PlainButton::shownTitle() const
{
    const double free = width() - m_face.padding.left() - m_face.padding.right();
    return QFontMetricsF(font()).elidedText(m_title, m_elideMode, free - contentWidth(0.0) + 0.5);
}

bool PlainButton::event(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        const bool isWhole = !m_title.isEmpty() && shownTitle() == m_title;
        const QString &text = m_title.isEmpty() ? accessibleName() : m_title;
        setToolTip(isWhole || text.isEmpty() ? QString() : plainToolTip(text));
    }
    return DrawnButton::event(event);
}

void PlainButton::keyPressEvent(QKeyEvent *event)
{
    // A list around the button uses these keys to move on.
    if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down)
        event->ignore();
    else
        DrawnButton::keyPressEvent(event);
}

void PlainButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintShape(painter);
    paintContent(painter);
    if (hasFocus())
        paintFocusRing(painter, rect(), std::max(m_face.radius, smallestFocusRadius));
}

void PlainButton::paintShape(QPainter &painter) const
{
    const QRectF shape = rect();
    const double radius = std::max(m_face.radius, smallestFocusRadius);
    paintBox(painter, shape, radius, m_face.fill);
    paintBox(painter, shape, radius, shade());
    if (isShown(m_face.outline))
        paintBox(painter, shape, radius, Qt::transparent, m_face.outline);
}

void PlainButton::paintContent(QPainter &painter) const
{
    const QFontMetricsF metrics(font());
    const QRectF free = QRectF(rect()).marginsRemoved(m_face.padding.toMarginsF());
    const QString title = shownTitle();
    const double width = contentWidth(metrics.horizontalAdvance(title));
    const double spare = m_face.symbolTrails ? 0.0 : std::max(0.0, free.width() - width);
    double x = free.left() + std::floor(spare / 2);
    const double y = baseLine(font(), free.top(), free.bottom());
    const auto put = [&](const QString &text, const QColor &color) {
        painter.setPen(color);
        painter.drawText(QPointF(x, y), text);
        x += metrics.horizontalAdvance(text);
    };
    const auto putSymbol = [&] {
        const double length = side(m_face);
        const QRectF where(x, free.center().y() - (length / 2), length, length);
        paintSymbol(painter, where, m_face.symbol, m_face.symbolColor);
        x += length + gap;
    };

    if (isShown(m_face.dotColor)) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_face.dotColor);
        painter.drawEllipse(QRectF(x, free.center().y() - (dotSide / 2), dotSide, dotSide));
        x += dotSide + gap;
    }
    if (!m_face.symbol.isEmpty() && !m_face.symbolTrails)
        putSymbol();
    put(m_caption, m_captionColor);
    put(title, m_face.textColor);
    if (!m_face.symbol.isEmpty() && m_face.symbolTrails) {
        x = std::max(x + gap, free.right() - side(m_face));
        putSymbol();
    }
}

void paintFocusRing(QPainter &painter, const QRectF &shape, double radius)
{
    constexpr double line = 1.5;
    double inset = line / 2;
    painter.setBrush(Qt::NoBrush);
    // The light line stands out from the panel, the dark one from what is amber.
    for (const QColor &color : {MS::text, MS::inkOnAmber}) {
        painter.setPen(QPen(color, line));
        const double corner = std::max(0.0, radius - inset);
        painter.drawRoundedRect(shape.adjusted(inset, inset, -inset, -inset), corner, corner);
        inset += line;
    }
}

namespace
{
constexpr double radius = 6.0;
} // namespace

ButtonFace amberFace(double points, const QMargins &padding)
{
    return {.font = MS::system(points, QFont::DemiBold),
            .textColor = MS::inkOnAmber,
            .fill = MS::amber,
            .radius = radius,
            .padding = padding,
            .symbolPoints = points,
            .symbolColor = MS::inkOnAmber};
}

ButtonFace raisedFace(double points, const QColor &textColor, const QMargins &padding)
{
    return {.font = MS::system(points),
            .textColor = textColor,
            .fill = MS::raised,
            .outline = MS::border,
            .radius = radius,
            .padding = padding,
            .symbolPoints = points,
            .symbolColor = textColor};
}
