#pragma once

#include <QColor>

#include <optional>

/// Whether an X11 display has a tray of the older kind now, which holds the selection that the
/// System Tray Protocol names. False without X11. Asks the display server: microseconds. Main
/// thread.
bool classicTrayIsPresent();

/// The colour of the text on that tray's panel, where the panel tells it: the property
/// _NET_SYSTEM_TRAY_COLORS of the same protocol. Main thread.
std::optional<QColor> classicTrayColor();
