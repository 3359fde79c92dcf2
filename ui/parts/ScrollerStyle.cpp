#include "ui/parts/ScrollerStyle.h"

#include <QStyleOptionSlider>

#include <algorithm>

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
