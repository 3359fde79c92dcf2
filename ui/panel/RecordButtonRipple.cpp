#include "ui/panel/RecordButtonRipple.h"

#include <QColor>

#include <algorithm>
#include <array>
#include <cmath>

namespace
{

constexpr double circleRadius = 32;
constexpr double circleLine = 2;

// All in pixels. The toolkit shares out the strokes of a half transparent circle to threads: thirty
// times a second that is most of what an open panel costs.
void addRing(QImage &picture, double radius, double line, QRgb color)
{
    const int width = picture.width();
    const double centre = width / 2.0;
    const double outer = radius + line / 2 + 0.5; // of the pixels that are touched at all
    const double inner = radius - line / 2 - 0.5;
    for (int y = 0; y < picture.height(); ++y) {
        const double dy = y + 0.5 - centre;
        if (std::abs(dy) >= outer)
            continue;
        const double hole = std::abs(dy) < inner ? std::sqrt(inner * inner - dy * dy) : 0;
        const int first = static_cast<int>(centre - std::sqrt(outer * outer - dy * dy));
        const int last = std::min(static_cast<int>(centre - hole), (width - 1) / 2);
        auto *const row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = std::max(first, 0); x <= last; ++x) {
            const double dx = x + 0.5 - centre;
            const double distance = std::sqrt(dx * dx + dy * dy);
            const double covered = line / 2 + 0.5 - std::abs(distance - radius);
            const int alpha = qRound(qAlpha(color) * std::clamp(covered, 0.0, 1.0));
            row[x] = row[width - 1 - x] =
                qPremultiply(qRgba(qRed(color), qGreen(color), qBlue(color), alpha));
        }
    }
}

} // namespace

RecordButtonRipple::Ring RecordButtonRipple::ring(int k, double seconds)
{
    const double turns = seconds * 0.5 + 0.5 * k;
    const double p = turns - std::floor(turns);
    const double eased = 1 - (1 - p) * (1 - p);
    return {.scale = 1 + 0.55 * eased, .opacity = 0.55 * (1 - eased)};
}

QImage RecordButtonRipple::picture(int side, double pixelRatio, const QColor &color, double seconds)
{
    const int pixels = static_cast<int>(std::lround(side * pixelRatio));
    QImage picture(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    for (const int k : std::array{0, 1}) {
        const auto [scale, opacity] = ring(k, seconds);
        QColor faded = color;
        faded.setAlphaF(static_cast<float>(opacity));
        const double enlarged = scale * pixelRatio;
        addRing(picture, circleRadius * enlarged, circleLine * enlarged, faded.rgba());
    }
    picture.setDevicePixelRatio(pixelRatio);
    return picture;
}
