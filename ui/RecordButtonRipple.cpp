#include "ui/RecordButtonRipple.h"

#include "ui/MS.h"

#include <QPainter>
#include <QPen>

#include <array>
#include <cmath>

RecordButtonRipple::Ring RecordButtonRipple::ring(int k, double seconds)
{
    const double turns = seconds * 0.5 + 0.5 * k;
    const double p = turns - std::floor(turns);
    const double eased = 1 - (1 - p) * (1 - p);
    return {.scale = 1 + 0.55 * eased, .opacity = 0.55 * (1 - eased)};
}

void RecordButtonRipple::paint(QPainter &painter, const QPointF &centre, const QColor &color,
                               double seconds)
{
    painter.setBrush(Qt::NoBrush);
    for (const int k : std::array{0, 1}) {
        const auto [scale, opacity] = ring(k, seconds);
        painter.setPen(QPen(MS::faded(color, opacity), 2 * scale));
        painter.drawEllipse(centre, 32 * scale, 32 * scale);
    }
}
