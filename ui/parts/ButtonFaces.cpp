#include "ui/parts/ButtonFaces.h"

#include "ui/parts/MS.h"

namespace
{
constexpr double radius = 6.0;
} // namespace

ButtonFace amberFace(double points, const QMargins &padding)
{
    return {.font = MS::system(points, QFont::DemiBold),
            .textColor = MS::inkOnAmber,
            .fill = MS::amber,
            .radius = radius,
            .padding = padding,
            .symbolPoints = points,
            .symbolColor = MS::inkOnAmber};
}

ButtonFace raisedFace(double points, const QColor &textColor, const QMargins &padding)
{
    return {.font = MS::system(points),
            .textColor = textColor,
            .fill = MS::raised,
            .outline = MS::border,
            .radius = radius,
            .padding = padding,
            .symbolPoints = points,
            .symbolColor = textColor};
}
