#include "ui/parts/MSSwitch.h"

#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"

#include <QEasingCurve>
#include <QPainter>
#include <QRadialGradient>

namespace
{

constexpr QSize capsuleSize{30, 17};
constexpr double inset = 1.5;
constexpr double knobRadius = 7;

QEasingCurve easeInOut()
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment({0.42, 0}, {0.58, 1}, {1, 1});
    return curve;
}

QColor between(const QColor &from, const QColor &to, double position)
{
    const auto mixed = [position](int a, int b) { return qRound(a + (b - a) * position); };
    return QColor(mixed(from.red(), to.red()), mixed(from.green(), to.green()),
                  mixed(from.blue(), to.blue()));
}

// The shadow is black at 30 %, blurred by 1 (the deviation of the bell curve) around the knob's
// edge, and ends where the capsule does.
void paintKnob(QPainter &painter, QPointF centre)
{
    constexpr double reach = knobRadius + inset;
    QRadialGradient shadow(centre, reach);
    shadow.setColorAt(knobRadius / reach, QColor::fromRgbF(0, 0, 0, 0.15F));
    shadow.setColorAt((knobRadius + 1) / reach, QColor::fromRgbF(0, 0, 0, 0.048F));
    shadow.setColorAt(1, Qt::transparent);
    painter.setBrush(shadow);
    painter.drawEllipse(centre, reach, reach);
    painter.setBrush(Qt::white);
    painter.drawEllipse(centre, knobRadius, knobRadius);
}

} // namespace

MSSwitch::MSSwitch(QWidget *parent)
    : DrawnButton(parent)
{
    setCheckable(true);
    setFixedSize(capsuleSize);
    m_slide.setDuration(150);
    m_slide.setEasingCurve(easeInOut());
    connect(&m_slide, &QVariantAnimation::valueChanged, this, [this](const QVariant &position) {
        m_position = position.toDouble();
        update();
    });
}

QSize MSSwitch::sizeHint() const
{
    return capsuleSize;
}

// Checked by the program, with or without signals; the other one is the user.
void MSSwitch::checkStateSet()
{
    slide();
}

void MSSwitch::nextCheckState()
{
    DrawnButton::nextCheckState();
    slide();
}

void MSSwitch::hideEvent(QHideEvent *event)
{
    arrive();
    DrawnButton::hideEvent(event);
}

void MSSwitch::slide()
{
    m_slide.stop();
    if (!isVisible()) {
        arrive();
        return;
    }
    m_slide.setStartValue(m_position);
    m_slide.setEndValue(isChecked() ? 1.0 : 0.0);
    m_slide.start();
}

void MSSwitch::arrive()
{
    m_slide.stop();
    m_position = isChecked() ? 1 : 0;
    update();
}

void MSSwitch::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setOpacity(isEnabled() ? 1 : 0.5);
    const QRectF capsule(rect());
    painter.setBrush(between(MS::hover, MS::amber, m_position));
    const double radius = capsule.height() / 2;
    painter.drawRoundedRect(capsule, radius, radius);
    painter.setBrush(shade());
    painter.drawRoundedRect(capsule, radius, radius);
    const double start = inset + knobRadius;
    const double way = capsule.width() - 2 * start;
    paintKnob(painter, {start + way * m_position, capsule.center().y()});
    if (hasFocus())
        paintFocusRing(painter, capsule, radius);
}
