#include "ui/panel/Waveform.h"

#include "ui/parts/BarRow.h"
#include "ui/parts/MS.h"
#include "ui/parts/Timeline.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace
{

constexpr double gap = 2;
constexpr Timeline::Frames liveInterval{3};
constexpr Timeline::Frames idleInterval{10};

// A level that is not a number counts as silence.
double share(double value)
{
    return std::isnan(value) ? 0 : std::clamp(value, 0.0, 1.0);
}

} // namespace

Waveform::Waveform(int bars, double seed, QWidget *parent)
    : QWidget(parent)
    , m_bars(bars)
    , m_seed(seed)
    , m_timeline(new Timeline(*this))
    , m_barColor(MS::ghost)
    , m_playedColor(MS::amber)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_timeline->setInterval(idleInterval);
}

void Waveform::setLive(bool isLive)
{
    if (m_isLive == isLive)
        return;
    m_isLive = isLive;
    m_timeline->setInterval(isLive ? liveInterval : idleInterval);
    update();
}

void Waveform::setColors(const QColor &bar, const QColor &played)
{
    if (m_barColor == bar && m_playedColor == played)
        return;
    m_barColor = bar;
    m_playedColor = played;
    update();
}

void Waveform::setPlayed(double played)
{
    if (m_played == share(played))
        return;
    m_played = share(played);
    update();
}

void Waveform::setLevel(double level)
{
    m_level = share(level);
}

double Waveform::amplitude(int i, double phase) const
{
    const double a = std::abs(std::sin(phase * 0.7 + i * 0.41 + m_seed));
    const double b = std::abs(std::cos(i * 0.19 + m_seed * 0.5 + phase));
    const double c = std::abs(std::sin(i * 0.73 + phase * 1.3));
    const double base = std::clamp(a * 0.5 + b * 0.35 + c * 0.25, 0.1, 1.0);
    return m_isLive ? base * std::clamp(std::pow(m_level, 0.7), 0.06, 1.0) : base;
}

QSize Waveform::sizeHint() const
{
    return {m_bars * 4, 28};
}

QColor Waveform::colorOf(int i) const
{
    const bool isPlayed = i < static_cast<int>(m_played * m_bars);
    return isPlayed ? MS::faded(m_playedColor, 0.6 + 0.4 * i / m_bars)
                    : MS::faded(m_barColor, 0.85);
}

void Waveform::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), MS::bg2);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double phase = Timeline::seconds() * (m_isLive ? 3.2 : 0.6);
    for (int i = 0; i < m_bars; ++i) {
        const auto [left, barWidth] = barSpan(i, m_bars, gap, width(), devicePixelRatioF());
        const double barHeight = std::max(amplitude(i, phase) * height(), 2.0);
        painter.setBrush(colorOf(i));
        painter.drawRoundedRect(QRectF(left, (height() - barHeight) / 2, barWidth, barHeight), 1,
                                1);
    }
}
