#pragma once

/// Whether an X11 display has a tray of the older kind now, which holds the selection that the
/// System Tray Protocol names. False without X11. Asks the display server: microseconds. Main
/// thread.
bool classicTrayIsPresent();
