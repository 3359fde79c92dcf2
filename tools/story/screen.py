"""What a user sees of the program, and does with the mouse."""

import contextlib
import re

import gi
import numpy as np

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402 (the version comes first)

from story.waiting import Failure, LIMIT_SECONDS, look, run, wait_for  # noqa: E402

MIDDLE = 640  # of the screen
METER, METER_GAP = (40, 14), 10  # pixels; it stands on the left of its switch
PRESSED = {
    Atspi.Role.PUSH_BUTTON, Atspi.Role.CHECK_BOX, Atspi.Role.RADIO_BUTTON, Atspi.Role.MENU_ITEM,
    Atspi.Role.CHECK_MENU_ITEM, Atspi.Role.MENU}


class Screen:
    """Finds controls by the names that a screen reader says, and clicks where they are."""

    def __init__(self, pictures):
        self.pictures = pictures
        self.taken = 0
        pictures.mkdir(parents=True, exist_ok=True)
        for old in pictures.glob("*.png"):
            old.unlink()
        self._menu = None
        self._listener = Atspi.EventListener.new(self._notice_menu)
        self._listener.register("object:state-changed:focused")

    def shoot(self, name):
        self.taken += 1
        run("import", "-window", "root", str(self.pictures / f"{self.taken:02}-{name}.png"))

    def find(self, name, roles=None, beside=None):
        """What is shown under that name (a text or a compiled expression), or none; of several the
        one on the height of another text."""
        with_that_name = list(self._shown(
            lambda n, role: _fits(name, n) and (not roles or role in roles)))
        if not with_that_name or not beside:
            return next(iter(with_that_name), None)
        height = next((_centre(other)[1] for other in self._shown(lambda n, _: n == beside)), None)
        return height and min(with_that_name, key=lambda item: abs(_centre(item)[1] - height))

    def count(self, name):
        return len(self._shown(lambda n, _: n == name))

    def see(self, name):
        wait_for(f'"{_text(name)}" on the screen', lambda: self.find(name))

    def press(self, name, beside=None):
        """Clicks a button, a switch, a choice or an item of a menu."""
        self._click(f'the control "{_text(name)}"', lambda: (
            control := self.find(name, PRESSED, beside)) and _is_enabled(control) and _centre(control))

    def is_on(self, name):
        control = self.find(name, PRESSED)
        return bool(control) and control.get_state_set().contains(Atspi.StateType.CHECKED)

    def meter(self, switch):
        """How high the highest bar of the level meter beside that switch is, 0 to 1."""
        place = self.find(switch, {Atspi.Role.CHECK_BOX}).get_extents(Atspi.CoordType.SCREEN)
        left, top = place.x - METER_GAP - METER[0], place.y + (place.height - METER[1]) // 2
        colors = np.frombuffer(run(
            "import", "-window", "root", "-crop", f"{METER[0]}x{METER[1]}+{left}+{top}", "-depth", "8",
            "rgb:-"), np.uint8).reshape(*reversed(METER), 3).astype(int)
        is_lit = colors[:, :, 0] - colors[:, :, 2] > 60  # amber on a dark ground
        return is_lit.any(axis=1).mean()

    def icon(self):
        """The middle of the icon in the tray."""
        geometry = re.compile(r'\("parlovance" .*\)\s+(\d+)x(\d+)\S+\s+\+(-?\d+)\+(-?\d+)')
        for width, height, x, y in geometry.findall(look("xwininfo", "-root", "-tree")):
            if 16 <= int(width) <= 32 and 16 <= int(height) <= 32 and 0 <= int(y) < 40 and int(x) > MIDDLE:
                return int(x) + int(width) // 2, int(y) + int(height) // 2
        return None

    def open_panel(self):
        """With a click on the icon, which would close an open one."""
        self._click("the tray icon", self.icon)
        self.see_panel()

    def see_panel(self):
        wait_for("the panel on the side of the icon", lambda: (
            gear := self.find("偏好设置", PRESSED)) and _centre(gear)[0] > MIDDLE)

    def open_menu(self):
        """Of the icon. The toolkit tells of a menu only when one of its items is chosen. Like a user,
        clicks again when nothing comes: what is modal takes clicks for as long as it closes."""
        self._menu = None

        def has_chosen_an_item():
            run("xdotool", "key", "Down")
            while GLib.MainContext.default().iteration(False):
                pass
            return self._menu
        for limit in (LIMIT_SECONDS / 4, LIMIT_SECONDS):
            self._click("the tray icon", self.icon, button=3)
            with contextlib.suppress(Failure):
                return wait_for("the icon's menu", has_chosen_an_item, limit)
        raise Failure("the icon's menu does not open")

    def _notice_menu(self, event):
        with contextlib.suppress(GLib.Error):  # it may have gone long ago
            if event.source.get_role() == Atspi.Role.MENU_ITEM:
                self._menu = event.source.get_parent()

    def _shown(self, is_wanted):
        """What the program shows and is wanted, by name and role."""
        def descend(item):
            if _is_shown(item):
                if is_wanted(item.get_name(), item.get_role()):
                    found.append(item)
                for child in _children(item):
                    descend(child)

        found = []
        for window in _windows():
            descend(window)
        if self._menu:
            with contextlib.suppress(GLib.Error):  # it was that of a program that has left
                descend(self._menu)
        return found

    def _click(self, what, place, button=1):
        """Clicks where it has come to rest, and where the display server has the program's window:
        the tray and the window manager still move what has just appeared."""
        last = None

        def is_under_the_pointer():
            nonlocal last
            before, last = last, place()
            if not last or last != before:
                return False
            run("xdotool", "mousemove", *map(str, last))
            window = re.search(r"WINDOW=(\d+)", look("xdotool", "getmouselocation", "--shell"))
            return window and '"parlovance"' in (  # itself, or framed by the window manager
                look("xprop", "-id", window[1], "WM_CLASS") + look("xwininfo", "-tree", "-id", window[1]))
        wait_for(what, is_under_the_pointer)
        run("xdotool", "click", str(button))


def _text(name):
    return getattr(name, "pattern", name)


def _fits(name, candidate):
    return name == candidate if isinstance(name, str) else name.fullmatch(candidate)


def _is_enabled(item):
    return item.get_state_set().contains(Atspi.StateType.ENABLED)


def _centre(item):
    place = item.get_extents(Atspi.CoordType.SCREEN)
    return place.x + place.width // 2, place.y + place.height // 2


def _is_shown(item):
    return item.get_state_set().contains(Atspi.StateType.SHOWING)


def _children(item):
    return filter(None, (item.get_child_at_index(index) for index in range(item.get_child_count())))


def _windows():
    desktop = Atspi.get_desktop(0)
    desktop.set_cache_mask(Atspi.Cache.NONE)
    for application in _children(desktop):
        if application.get_name() == "Parlovance":
            application.set_cache_mask(Atspi.Cache.NONE)
            yield from _children(application)
