#include "ui/panel/LevelMeter.h"

#include "ui/parts/BarRow.h"
#include "ui/parts/MS.h"
#include "ui/parts/Timeline.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace
{

constexpr double gap = 1;
constexpr Timeline::Frames activeInterval{2};
constexpr Timeline::Frames idleInterval{8}; // an eighth of a second would be seven and a half

} // namespace

LevelMeter::LevelMeter(int bars, QWidget *parent)
    : QWidget(parent)
    , m_bars(bars)
    , m_timeline(new Timeline(*this))
    , m_ground(MS::bg2)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFixedSize(40, 14);
    m_timeline->setInterval(idleInterval);
}

void LevelMeter::setLevel(double level)
{
    m_level = std::isnan(level) ? 0 : std::clamp(level, 0.0, 1.0);
}

void LevelMeter::setActive(bool isActive)
{
    if (m_isActive == isActive)
        return;
    m_isActive = isActive;
    m_timeline->setInterval(isActive ? activeInterval : idleInterval);
    update();
}

void LevelMeter::setGround(const QColor &ground)
{
    if (m_ground == ground)
        return;
    m_ground = ground;
    update();
}

double LevelMeter::fill(int i, double seconds) const
{
    const double t = seconds * (m_isActive ? 8.0 : 1.4);
    const double swing =
        (std::sin(i * 0.7 + t) * 0.5 + 0.5) * (std::sin(t * 1.7 + i * 1.3) * 0.3 + 0.7);
    return m_isActive ? swing * m_level : swing * 0.1 + 0.05;
}

void LevelMeter::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), m_ground);
    painter.setRenderHint(QPainter::Antialiasing);
    const double seconds = Timeline::seconds();
    for (int i = 0; i < m_bars; ++i) {
        const auto [left, barWidth] = barSpan(i, m_bars, gap, width(), devicePixelRatioF());
        const double filled = fill(i, seconds);
        const double barHeight = std::max(filled * height(), 2.0);
        painter.fillRect(QRectF(left, (height() - barHeight) / 2, barWidth, barHeight),
                         m_isActive ? MS::faded(MS::amber, filled * 0.45 + 0.55)
                                    : MS::faded(MS::ghost, 0.3));
    }
}
