"""The real Orca, which needs no sound: what it would speak is in its debug output."""

import codecs
import os
import pathlib
import re
import subprocess
import tempfile
import threading
import time
import tty

from gi.repository import Gio, GLib

from desktop import wait_for

SPOKEN = re.compile(r"SPEECH OUTPUT: '(?P<text>.*?)'(?: ?\{.*)?$")
# Up to Orca 44 what is announced is an object of its own that appears, and spoken with its role;
# afterwards, an event. What is spoken belongs to the event that was taken from the queue last and
# is not over.
NOTIFICATION = "notification "
TAKEN = re.compile(r"EVENT MANAGER: Dequeued (?P<event>\S+)")
ANNOUNCEMENT = "object:announcement"


class Speech:
    """One text that was spoken."""

    def __init__(self, text, event):
        self.at = time.monotonic()
        self.is_announced = text.startswith(NOTIFICATION) or event == ANNOUNCEMENT
        self.text = text.removeprefix(NOTIFICATION)

    def __repr__(self):
        return f"{'announced' if self.is_announced else 'read'} {self.text!r}"


def switch_accessibility_on():
    """As a desktop does that has a screen reader switched on."""
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)

    def call(method, kind, *arguments):
        return bus.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties",
                             method, GLib.Variant(kind, ("org.a11y.Status", *arguments)), None,
                             Gio.DBusCallFlags.NONE, -1).unpack()

    there, = call("GetAll", "(s)")
    # The second went with at-spi 2.62.
    for name in {"IsEnabled", "ScreenReaderEnabled"} & there.keys():
        call("Set", "(ssv)", name, GLib.Variant("b", True))


class Ears:
    """What Orca speaks."""

    def __init__(self):
        self._directory = tempfile.TemporaryDirectory(prefix="tarn-orca-")
        self._orca = None
        # Orca writes line by line only where it believes to be read: on a terminal.
        self._reader, self._writer = os.openpty()
        tty.setraw(self._writer)
        self._event = None
        self._is_listening = False
        self._spoken = []

    def open(self):
        """Starts Orca and waits until it listens."""
        switch_accessibility_on()
        home = pathlib.Path(self._directory.name)
        # Orca looks for others of its kind, and ends them or itself: it must find none.
        others = home / "others/pgrep"
        others.parent.mkdir()
        others.write_text("#!/bin/sh\nexit 1\n")
        others.chmod(0o755)
        # A home of its own, and no server of speech that would outlive the test.
        environment = os.environ | {
            "PATH": f"{others.parent}:{os.environ['PATH']}",
            "HOME": str(home), "XDG_CONFIG_HOME": str(home / "config"),
            "XDG_DATA_HOME": str(home / "data"), "GSETTINGS_BACKEND": "memory",
            "SPEECHD_CMD": "/bin/false",
        }
        with (home / "orca.out").open("wb") as out:
            self._orca = subprocess.Popen(
                ["orca", f"--debug-file={os.ttyname(self._writer)}", "--disable", "braille",
                 "--user-prefs", str(home / "orca")],
                env=environment, stdin=subprocess.DEVNULL, stdout=out, stderr=out)
        threading.Thread(target=self._read, daemon=True).start()
        wait_for(lambda: self._is_listening, "Orca to listen")

    def _read(self):
        decoder = codecs.getincrementaldecoder("utf-8")("replace")
        begun = ""
        while True:
            *lines, begun = (begun + decoder.decode(os.read(self._reader, 65536))).split("\n")
            for line in lines:
                self._take(line)

    def _take(self, line):
        if match := SPOKEN.search(line):
            self._spoken.append(Speech(match["text"], self._event))
        elif match := TAKEN.search(line):
            self._event = match["event"]
        elif "TOTAL PROCESSING TIME" in line:
            self._event = None
        elif re.search("ORCA: Starting at-?spi", line, re.IGNORECASE):
            self._is_listening = True

    def spoken(self, since=0):
        """Everything that was spoken, but for the first so many."""
        return self._spoken[since:]

    def count(self):
        return len(self._spoken)

    def close(self):
        if self._orca and self._orca.poll() is None:
            self._orca.kill()
            self._orca.wait()
        self._directory.cleanup()
