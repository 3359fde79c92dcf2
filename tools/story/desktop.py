"""The user's desktop around the program: what is installed, the service it talks to, processes."""

import contextlib
import json
import os
import pathlib
import re
import subprocess

from gi.repository import Gio, GLib

from story.waiting import Failure, run, wait_for

NAME = "com.parlovance.Parlovance"
PREFIX = pathlib.Path.home() / ".local"
PROGRAM = PREFIX / "bin/parlovance"
APPLICATIONS = PREFIX / "share/applications"
BROWSER = """[Desktop Entry]
Type=Application
Name=Browser
Exec=story-browser %u
MimeType=x-scheme-handler/http;x-scheme-handler/https;
"""


class Service:
    """The web service, on this machine."""

    def __init__(self, program, folder):
        self.command = [str(program), "--folder", str(folder)]
        self.process = self.origin = None

    def start(self, release):
        """With this version as the latest; again on the same port."""
        self.stop()
        port = self.origin.rpartition(":")[2] if self.origin else "0"
        self.process = subprocess.Popen([*self.command, "--release", release, "--port", port],
                                        stdout=subprocess.PIPE, text=True)
        self.origin = self.process.stdout.readline().strip()
        if not self.origin:
            raise Failure("the local service does not start")

    def stop(self):
        if self.process:
            self.process.terminate()
            self.process.wait()
            self.process = None


def start_services():
    """The bus of the screen readers, by which controls are found, and an unlocked keyring."""
    service = "dbus-1/services/org.a11y.Bus.service"
    (PREFIX / "share" / service).symlink_to(pathlib.Path("/usr/share", service))
    subprocess.run(["gnome-keyring-daemon", "--daemonize", "--unlock", "--components=secrets"],
                   input=b"password", stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
    wait_for("the keyring", lambda: process_of("org.freedesktop.secrets"))


def install(build, origin):
    """The program as one user installs it, and a browser. What was installed: files, bytes."""
    manifest = run("cmake", "--install", str(build), "--prefix", str(PREFIX)).decode()
    information = PREFIX / "share/parlovance/bundle-information.json"
    facts = json.loads(information.read_text())
    information.write_text(json.dumps(facts | {"serviceOrigin": origin}))
    (PREFIX / "bin/story-browser").symlink_to(pathlib.Path(__file__).with_name("browser.py"))
    (APPLICATIONS / "browser.desktop").write_text(BROWSER)
    run("update-desktop-database", str(APPLICATIONS))
    sizes = [os.path.getsize(path) for path in re.findall(r"-- (?:Installing|Up-to-date): (.+)", manifest)]
    return len(sizes), sum(sizes)


def launch():
    """As the desktop's menu does: by the bus."""
    Gio.DesktopAppInfo.new(f"{NAME}.desktop").launch([], None)


def open_address(address, desktop=""):
    """As from another program; which way it goes depends on the desktop."""
    subprocess.run(["xdg-open", address], env=os.environ | {"XDG_CURRENT_DESKTOP": desktop}, check=True)


def process_of(name=NAME):
    """Of the owner of a name on the session bus, or none."""
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    try:
        return bus.call_sync(
            "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetConnectionUnixProcessID",
            GLib.Variant("(s)", (name,)), None, Gio.DBusCallFlags.NONE, -1)[0]
    except GLib.Error:
        return None


def status(process, name):
    """A line of what the kernel tells of a process; none when it has ended."""
    with contextlib.suppress(OSError):
        lines = pathlib.Path("/proc", str(process), "status").read_text()
        if found := re.search(rf"^{name}:\s+(\S+)", lines, re.MULTILINE):
            return found[1]
    return None


def wait_for_end(process):
    wait_for("the program to leave", lambda: status(process, "State") in (None, "Z"))


def memory(process):
    """Resident, in MB."""
    return int(status(process, "VmRSS")) / 1000
