#include "ui/panel/RecordButton.h"

#include "ui/panel/RecordButtonRipple.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/Timeline.h"

#include <QHoverEvent>
#include <QPainter>
#include <QPen>

#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

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

// Only now: when the style polishes a button, it takes this away.
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
