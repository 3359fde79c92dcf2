#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>

/// Where on a screen the upper left corner of a popover goes, in points of the desktop.
///
/// Beside the tray icon \p icon: below it where it is in the upper half of \p screen, else above,
/// centred on it as far as \p available (the screen without its panels) allows, and never over it.
/// Without an icon: the corner of the screen beside the panel, where desktops have their trays. A
/// popover that is too large keeps its upper left corner on the screen.
QPoint popoverPosition(const QSize &popover, const QRect &screen, const QRect &available,
                       const std::optional<QRect> &icon);
