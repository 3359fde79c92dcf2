#include "ui/parts/BarRow.h"

#include <algorithm>
#include <cmath>

BarSpan barSpan(int i, int bars, double gap, double width, double pixelRatio)
{
    const double each = std::max((width - gap * (bars - 1)) / bars, 0.0);
    const double left = i * (each + gap);
    const auto onPixel = [pixelRatio](double x) { return std::round(x * pixelRatio) / pixelRatio; };
    return {onPixel(left), onPixel(left + each) - onPixel(left)};
}
