#include "tests/support/Picture.h"

#include "ui/parts/MS.h"

#include <QWidget>

#include <cmath>
#include <cstdlib>

QImage pictureOf(QWidget &part)
{
    QImage picture(part.size(), QImage::Format_RGB32);
    picture.fill(MS::bg2);
    part.render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
    return picture;
}

QColor onGround(const QColor &color, double opacity)
{
    const double share = color.alphaF() * opacity;
    const auto mixed = [share](int over, int under) {
        return static_cast<int>(std::lround(over * share + under * (1 - share)));
    };
    return QColor(mixed(color.red(), MS::bg2.red()), mixed(color.green(), MS::bg2.green()),
                  mixed(color.blue(), MS::bg2.blue()));
}

bool isAlike(const QColor &one, const QColor &other)
{
    return std::abs(one.red() - other.red()) <= 3 && std::abs(one.green() - other.green()) <= 3 &&
           std::abs(one.blue() - other.blue()) <= 3;
}
