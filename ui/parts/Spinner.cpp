#include "ui/parts/Spinner.h"

#include "ui/parts/MS.h"
#include "ui/parts/Timeline.h"

#include <QPainter>

#include <cmath>

namespace
{
constexpr int side = 14;
constexpr double line = 2.0;
constexpr Timeline::Frames interval{3};
constexpr double groundOpacity = 0.25;
} // namespace

Spinner::Spinner(const QColor &color, QWidget *parent)
    : QWidget(parent)
    , m_color(color)
{
    setFixedSize(side, side);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    (new Timeline(*this))->setInterval(interval);
}

void Spinner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF circle = QRectF(rect()).adjusted(line / 2, line / 2, -line / 2, -line / 2);
    painter.setPen(QPen(MS::faded(m_color, groundOpacity), line));
    painter.drawEllipse(circle);
    painter.setPen(QPen(m_color, line, Qt::SolidLine, Qt::RoundCap));
    const double seconds = Timeline::seconds();
    const double turn = seconds - std::floor(seconds);
    painter.drawArc(circle, static_cast<int>((90 - 360 * turn) * 16), 90 * 16);
}
