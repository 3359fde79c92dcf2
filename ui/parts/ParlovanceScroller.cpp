#include "ui/parts/ParlovanceScroller.h"

#include <QPainter>
#include <QProxyStyle>
#include <QStyleOptionSlider>

#include <algorithm>

namespace
{
/// The measures of a vertical scroll bar without arrows that lies upon what it scrolls; where its
/// parts are for the eye and for the pointer alike. Drawing is left to the bar.
class ScrollerStyle : public QProxyStyle
{
public:
    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override;
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *returnData) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                         const QWidget *widget) const override;
};
} // namespace

namespace
{

constexpr int extent = 11; // the knob, inset by 2 on either side, is as wide as it is round
constexpr int shortestKnob = 28;

QRect knobOf(const QStyleOptionSlider &bar)
{
    const int length = bar.rect.height();
    const qint64 range = qint64{bar.maximum} - bar.minimum;
    const qint64 whole = std::max<qint64>(range + bar.pageStep, 1);
    const int proportional = static_cast<int>(qint64{length} * bar.pageStep / whole);
    const int knob = std::clamp(proportional, std::min(shortestKnob, length), length);
    const int top = QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition,
                                                    length - knob, bar.upsideDown);
    return QRect(0, top, bar.rect.width(), knob);
}

} // namespace

int ScrollerStyle::pixelMetric(PixelMetric metric, const QStyleOption *option,
                               const QWidget *widget) const
{
    switch (metric) {
    case PM_ScrollBarExtent:
    case PM_ScrollView_ScrollBarOverlap:
        return extent;
    case PM_ScrollBarSliderMin:
        return shortestKnob;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int ScrollerStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                             QStyleHintReturn *returnData) const
{
    // A bar of the passing kind would be faded by the toolkit, which draws it itself.
    if (hint == SH_ScrollBar_Transient)
        return 0;
    return QProxyStyle::styleHint(hint, option, widget, returnData);
}

QRect ScrollerStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option,
                                    SubControl part, const QWidget *widget) const
{
    const auto *const bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control != CC_ScrollBar || !bar)
        return QProxyStyle::subControlRect(control, option, part, widget);
    const QRect knob = knobOf(*bar);
    const QRect slot(QPoint(0, 0), bar->rect.size());
    switch (part) {
    case SC_ScrollBarGroove:
        return slot;
    case SC_ScrollBarSlider:
        return knob;
    case SC_ScrollBarSubPage:
        return QRect(slot.topLeft(), QSize(slot.width(), knob.top()));
    case SC_ScrollBarAddPage:
        return QRect(knob.bottomLeft() + QPoint(0, 1), slot.bottomRight());
    default:
        return QRect();
    }
}

namespace
{

const QColor knobColor = QColor::fromRgbF(0.91F, 0.627F, 0.29F, 0.55F);
const QColor brightKnobColor = QColor::fromRgbF(0.91F, 0.627F, 0.29F, 0.9F);
const QColor slotColor = QColor::fromRgbF(1.0F, 1.0F, 1.0F, 0.05F);

// A part of one pixel is not there.
bool isThere(const QRect &part)
{
    return part.width() > 1 && part.height() > 1;
}

void fill(QPainter &painter, const QRectF &where, double radius, const QColor &color)
{
    if (where.isEmpty())
        return;
    painter.setBrush(color);
    painter.drawRoundedRect(where, radius, radius);
}

} // namespace

ParlovanceScroller::ParlovanceScroller(QWidget *parent)
    : QScrollBar(Qt::Vertical, parent)
{
    auto *const measures = new ScrollerStyle;
    measures->setParent(this);
    setStyle(measures);
    setContextMenuPolicy(Qt::NoContextMenu);
}

void ParlovanceScroller::enterEvent(QEnterEvent *event)
{
    QScrollBar::enterEvent(event);
    m_pointerInside = true;
    update();
}

void ParlovanceScroller::leaveEvent(QEvent *event)
{
    QScrollBar::leaveEvent(event);
    m_pointerInside = false;
    update();
}

void ParlovanceScroller::paintEvent(QPaintEvent *)
{
    QStyleOptionSlider bar;
    initStyleOption(&bar);
    const auto partOf = [&](QStyle::SubControl part) {
        return style()->subControlRect(QStyle::CC_ScrollBar, &bar, part, this);
    };
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (const QRect slot = partOf(QStyle::SC_ScrollBarGroove); isThere(slot))
        fill(painter, QRectF(slot).adjusted(3, 5, -3, -5), 4, slotColor);
    if (const QRect knob = partOf(QStyle::SC_ScrollBarSlider); isThere(knob))
        fill(painter, QRectF(knob).adjusted(2, 2, -2, -2), 3.5,
             m_pointerInside ? brightKnobColor : knobColor);
}
