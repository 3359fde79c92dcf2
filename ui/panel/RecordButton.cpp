#include "ui/panel/RecordButton.h"

#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/Timeline.h"

#include <QColor>
#include <QHoverEvent>
#include <QPainter>
#include <QPen>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

constexpr double circleRadius = 32;
constexpr double circleLine = 2;

// All in pixels. The toolkit shares out the strokes of a half transparent circle to threads: thirty
// times a second that is most of what an open panel costs.
void addRing(QImage &picture, double radius, double line, QRgb color)
{
    const int width = picture.width();
    const double centre = width / 2.0;
    const double outer = radius + line / 2 + 0.5; // of the pixels that are touched at all
    const double inner = radius - line / 2 - 0.5;
    for (int y = 0; y < picture.height(); ++y) {
        const double dy = y + 0.5 - centre;
        if (std::abs(dy) >= outer)
            continue;
        const double hole = std::abs(dy) < inner ? std::sqrt(inner * inner - dy * dy) : 0;
        const int first = static_cast<int>(centre - std::sqrt(outer * outer - dy * dy));
        const int last = std::min(static_cast<int>(centre - hole), (width - 1) / 2);
        auto *const row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = std::max(first, 0); x <= last; ++x) {
            const double dx = x + 0.5 - centre;
            const double distance = std::sqrt(dx * dx + dy * dy);
            const double covered = line / 2 + 0.5 - std::abs(distance - radius);
            const int alpha = qRound(qAlpha(color) * std::clamp(covered, 0.0, 1.0));
            row[x] = row[width - 1 - x] =
                qPremultiply(qRgba(qRed(color), qGreen(color), qBlue(color), alpha));
        }
    }
}

} // namespace

RecordButtonRipple::Ring RecordButtonRipple::ring(int k, double seconds)
{
    const double turns = seconds * 0.5 + 0.5 * k;
    const double p = turns - std::floor(turns);
    const double eased = 1 - (1 - p) * (1 - p);
    return {.scale = 1 + 0.55 * eased, .opacity = 0.55 * (1 - eased)};
}

QImage RecordButtonRipple::picture(int side, double pixelRatio, const QColor &color, double seconds)
{
    const int pixels = static_cast<int>(std::lround(side * pixelRatio));
    QImage picture(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    for (const int k : std::array{0, 1}) {
        const auto [scale, opacity] = ring(k, seconds);
        QColor faded = color;
        faded.setAlphaF(static_cast<float>(opacity));
        const double enlarged = scale * pixelRatio;
        addRing(picture, circleRadius * enlarged, circleLine * enlarged, faded.rgba());
    }
    picture.setDevicePixelRatio(pixelRatio);
    return picture;
}

namespace
{

using Look = RecordButton::Look;

constexpr int side = 100;
constexpr double ringDiameter = 64;
constexpr double ringLine = 4;
constexpr double discDiameter = 56;
constexpr double focusDiameter = 75;

QRectF around(QPointF centre, double diameter)
{
    return {centre.x() - diameter / 2, centre.y() - diameter / 2, diameter, diameter};
}

QString nameOf(Look look)
{
    switch (look) {
    case Look::disabled:
    case Look::idle:
        return u"开始录音"_s;
    case Look::live:
        return u"停止录音"_s;
    case Look::stopping:
        return u"停止中…"_s;
    }
    Q_UNREACHABLE();
}

/// The colour of the ring, the disc and the ripple at full strength; invalid while it rests.
QColor accentOf(Look look)
{
    switch (look) {
    case Look::idle:
        return MS::amber;
    case Look::live:
        return MS::ember;
    case Look::disabled:
    case Look::stopping:
        return {};
    }
    Q_UNREACHABLE();
}

void paintRing(QPainter &painter, QPointF centre, const QColor &color)
{
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(color, ringLine));
    painter.drawEllipse(around(centre, ringDiameter));
}

void paintDisc(QPainter &painter, const QRectF &where, const QColor &color)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(where);
}

// The arc is as dark as the panel, so it runs on a track that it stands out from.
void paintSpinner(QPainter &painter, QPointF centre, double seconds)
{
    const QRectF where = around(centre, 16);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(MS::faded(MS::amber, 0.8), 3));
    painter.drawEllipse(where);
    painter.setPen(QPen(MS::inkOnAmber, 3, Qt::SolidLine, Qt::FlatCap));
    const double turn = seconds - std::floor(seconds);
    painter.drawArc(where, static_cast<int>((90 - 360 * turn) * 16), 90 * 16);
}

void paintGlyph(QPainter &painter, QPointF centre, Look look)
{
    switch (look) {
    case Look::disabled:
        paintDisc(painter, around(centre, 20), MS::faint);
        return;
    case Look::idle:
        paintDisc(painter, around(centre, 20), MS::inkOnAmber);
        return;
    case Look::live:
        painter.setPen(Qt::NoPen);
        painter.setBrush(MS::inkOnAmber);
        painter.drawRoundedRect(around(centre, 18), 3, 3);
        return;
    case Look::stopping:
        return; // a spinner, which moves
    }
}

} // namespace

RecordButton::RecordButton(QWidget *parent)
    : DrawnButton(parent)
    , m_timeline(new Timeline(*this))
{
    setFixedSize(side, side);
    setEnabled(false);
    setAccessibleName(nameOf(m_look));
}

void RecordButton::setLook(Look look)
{
    if (m_look == look)
        return;
    m_look = look;
    setAvailable(look == Look::idle || look == Look::live);
    setAccessibleName(nameOf(look));
    m_timeline->setInterval(Timeline::Frames(look == Look::disabled ? 0 : 2));
    update();
}

QSize RecordButton::sizeHint() const
{
    return {side, side};
}

// The rings that spread take no clicks.
bool RecordButton::hitButton(const QPoint &position) const
{
    const QPointF fromCentre = QPointF(position) - QRectF(rect()).center();
    return std::hypot(fromCentre.x(), fromCentre.y()) <= (ringDiameter + ringLine) / 2;
}

bool RecordButton::event(QEvent *event)
{
    const bool isMove = event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverMove;
    if (isMove || event->type() == QEvent::HoverLeave) {
        const bool isHovered =
            isMove && hitButton(static_cast<QHoverEvent *>(event)->position().toPoint());
        if (isHovered != std::exchange(m_isHovered, isHovered))
            update();
    }
    return DrawnButton::event(event);
}

QPixmap RecordButton::draw(const Face &face)
{
    const auto [look, isDown, isHovered, hasFocus, pixelRatio] = face;
    QPixmap pixmap((QSizeF(side, side) * pixelRatio).toSize());
    pixmap.setDevicePixelRatio(pixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF centre(side / 2.0, side / 2.0);
    if (const QColor accent = accentOf(look); accent.isValid()) {
        paintRing(painter, centre, MS::faded(accent, look == Look::live ? 0.18 : 0.15));
        paintDisc(painter, around(centre, discDiameter),
                  MS::faded(accent, isDown ? 0.75 : (isHovered ? 0.62 : 0.5)));
    } else {
        paintRing(painter, centre, MS::border);
    }
    paintGlyph(painter, centre, look);
    if (hasFocus)
        paintFocusRing(painter, around(centre, focusDiameter), focusDiameter / 2);
    painter.end();
    return pixmap;
}

// Ask for hover events after polishing, because the style takes the attribute away then.
void RecordButton::showEvent(QShowEvent *)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void RecordButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), MS::bg2);
    painter.setRenderHint(QPainter::Antialiasing);
    const double pixelRatio = devicePixelRatioF();
    if (const QColor accent = accentOf(m_look); accent.isValid())
        painter.drawImage(
            QPointF(), RecordButtonRipple::picture(side, pixelRatio, accent, Timeline::seconds()));
    const Face face{m_look, isDown(), m_isHovered, hasFocus(), pixelRatio};
    if (m_face != face) {
        m_picture = draw(face);
        m_face = face;
    }
    painter.drawPixmap(QPointF(), m_picture);
    if (m_look == Look::stopping)
        paintSpinner(painter, QRectF(rect()).center(), Timeline::seconds());
}
