#include "ui/panel/PopoverPlacement.h"

#include <algorithm>

namespace
{

constexpr int gap = 4; // to the icon, and to the edges in a corner

QPoint clamped(const QPoint &position, const QSize &popover, const QRect &available)
{
    const int right = available.right() + 1 - popover.width();
    const int bottom = available.bottom() + 1 - popover.height();
    return {std::max(std::min(position.x(), right), available.left()),
            std::max(std::min(position.y(), bottom), available.top())};
}

QPoint inCorner(const QSize &popover, const QRect &screen, const QRect &available)
{
    const bool panelIsBelow = available.bottom() < screen.bottom();
    const bool panelIsAbove = available.top() > screen.top();
    const bool panelIsLeft = available.left() > screen.left();
    // A panel at a side has its tray at the lower end, one above or below at the right end.
    const bool isBelow = panelIsBelow || (!panelIsAbove && available.width() < screen.width());
    const QPoint corner(
        panelIsLeft ? available.left() + gap : available.right() + 1 - gap - popover.width(),
        isBelow ? available.bottom() + 1 - gap - popover.height() : available.top() + gap);
    return clamped(corner, popover, available);
}

} // namespace

QPoint popoverPosition(const QSize &popover, const QRect &screen, const QRect &available,
                       const std::optional<QRect> &icon)
{
    if (!icon)
        return inCorner(popover, screen, available);
    const QPoint centre = icon->center();
    const int below = icon->bottom() + 1 + gap;
    const int above = icon->top() - gap - popover.height();
    const QPoint position(icon->x() + ((icon->width() - popover.width()) / 2),
                          centre.y() < screen.center().y() ? below : above);
    const QPoint placed = clamped(position, popover, available);
    if (!QRect(placed, popover).intersects(*icon))
        return placed;
    // The icon of a panel at a side, too far from the top and the bottom: beside it, then.
    const int rightOf = icon->right() + 1 + gap;
    const int leftOf = icon->left() - gap - popover.width();
    const QPoint beside(centre.x() < screen.center().x() ? rightOf : leftOf, placed.y());
    return clamped(beside, popover, available);
}
