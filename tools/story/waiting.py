"""Commands, and waiting for what they bring about."""

import contextlib
import subprocess
import time

from gi.repository import GLib

LIMIT_SECONDS = 60  # of a machine that is busy with other things


class Failure(Exception):
    """The story did not go on as it should."""


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout


def look(*command):
    """What it prints. It may fail, as windows come and go while it looks."""
    return subprocess.run(command, check=False, capture_output=True).stdout.decode(errors="replace")


def wait_for(what, condition, limit=LIMIT_SECONDS):
    end = time.monotonic() + limit
    while time.monotonic() < end:
        with contextlib.suppress(GLib.Error):  # what is looked at may go meanwhile
            if found := condition():
                return found
        time.sleep(0.05)
    raise Failure(f"gave up waiting for {what}")
