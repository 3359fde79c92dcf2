#pragma once

#include <QProxyStyle>

/// The measures of a vertical scroll bar without arrows that lies upon what it scrolls; where its
/// parts are for the eye and for the pointer alike. Drawing is left to the bar.
class ScrollerStyle : public QProxyStyle
{
    Q_OBJECT

public:
    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override;
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *returnData) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                         const QWidget *widget) const override;
};
