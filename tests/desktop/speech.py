#!/usr/bin/env python3
"""What a user of a screen reader hears of the console: speech.py [OPTIONS] NAME plays one scenario
with the real Orca, which needs no sound: what it would speak is in its debug output. Needs a
display and a message bus of its own. A scenario is played in English, or in Arabic under its name
followed by "_ar"; it says when it heard what.

To add one, write a function here whose parameter is a listener, mark it with @scenario and name it
in CMakeLists.txt."""

import codecs
import os
import pathlib
import re
import subprocess
import sys
import threading
import time
import tty
import xml.etree.ElementTree

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, Gio, GLib  # noqa: E402

from desktop import Clipboard, Console, check, press, run_and_dispose, type_line  # noqa: E402
from desktop import wait_for  # noqa: E402
from scenarios import parse_options  # noqa: E402
from screenreader import Reader  # noqa: E402

SCENARIOS = {}
# A program is a shell script that gets its output through as it stands, without a line end where
# it has none.
INTERPRETER = """#!/bin/sh
. "$2"
"""


def scenario(function):
    SCENARIOS[function.__name__] = SCENARIOS[function.__name__ + "_ar"] = function
    return function


def catalogue():
    """The Arabic of every text of the console."""
    path = pathlib.Path(__file__).parents[2] / "translations/tarn_console_ar.ts"
    return {message.find("source").text: message.find("translation").text
            for message in xml.etree.ElementTree.parse(path).iter("message")}


class Ears:
    """What Orca speaks."""

    def __init__(self, directory):
        self._directory = directory
        self._orca = None
        # Orca writes line by line only where it believes to be read: on a terminal.
        self._reader, self._writer = os.openpty()
        tty.setraw(self._writer)
        self._text = ""
        self._lines = []
        self._thread = threading.Thread(target=self._read, daemon=True)

    def open(self):
        """Starts Orca and waits until it listens."""
        bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        for name in ["IsEnabled", "ScreenReaderEnabled"]:
            bus.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
                          GLib.Variant("(ssv)", ("org.a11y.Status", name,
                                                 GLib.Variant("b", True))),
                          None, Gio.DBusCallFlags.NONE, -1)
        # Orca looks for others of its kind, and ends them or itself: it must find none.
        others = self._directory / "others/pgrep"
        others.parent.mkdir()
        others.write_text("#!/bin/sh\nexit 1\n")
        others.chmod(0o755)
        # A home of its own, and no server of speech that would outlive the test.
        environment = os.environ | {
            "PATH": f"{others.parent}:{os.environ['PATH']}",
            "HOME": str(self._directory), "XDG_CONFIG_HOME": str(self._directory / "config"),
            "XDG_DATA_HOME": str(self._directory / "data"), "GSETTINGS_BACKEND": "memory",
            "SPEECHD_CMD": "/bin/false",
        }
        with (self._directory / "orca.out").open("wb") as out:
            self._orca = subprocess.Popen(
                ["orca", f"--debug-file={os.ttyname(self._writer)}", "--disable", "braille",
                 "--user-prefs", str(self._directory / "orca")],
                env=environment, stdin=subprocess.DEVNULL, stdout=out, stderr=out)
        self._thread.start()
        wait_for(lambda: any("Starting ATSPI registry" in line for line in self.lines()),
                 "Orca to listen")

    def _read(self):
        decoder = codecs.getincrementaldecoder("utf-8")("replace")
        while True:
            data = os.read(self._reader, 65536)
            *lines, self._text = (self._text + decoder.decode(data)).split("\n")
            self._lines.extend((time.monotonic(), line) for line in lines)

    def lines(self):
        return [line for _, line in self._lines]

    def announced(self):
        """What was spoken so far wherever the focus was, with its time."""
        return [(at, match[1]) for at, line in list(self._lines)
                if (match := re.search(r"SPEECH OUTPUT: 'notification (.*?)'(?: ?\{.*)?$", line))]

    def spoken(self):
        """Everything that was spoken so far, announced or not."""
        return [match[1] for line in self.lines()
                if (match := re.search(r"SPEECH OUTPUT: '(.*?)'(?: ?\{.*)?$", line))]

    def close(self):
        if self._orca and self._orca.poll() is None:
            self._orca.kill()
            self._orca.wait()


class Listener:
    """Somebody who works with the console by ear."""

    def __init__(self, console, ears, language):
        self.console = console
        self.reader = Reader(console)
        self._ears = ears
        self._texts = catalogue() if language == "ar" else {}
        console.language = language
        self._known = 0  # what was announced before the last act
        self._acted = 0.0
        self._focus = None

    def text(self, english, *arguments):
        """A text of the console in the language of the interface."""
        text = self._texts.get(english, english)
        for number, argument in enumerate(arguments, 1):
            text = text.replace(f"%{number}", str(argument))
        return text

    def program(self, commands):
        path = self.console.script(commands)
        if self.console.process is None:
            self.reader.open(path)
        return path

    def focus_on(self, key, name):
        """Goes somewhere; from here on the focus must stay there."""
        self._focus = self.text(name)
        press(key)
        self.reader.wait_for(lambda: self.reader.focus() == self._focus,
                             f"the focus on {name!r}")

    def act(self, *keys):
        """Presses keys, or nothing: what is announced from now on is the answer."""
        self._known = len(self._ears.announced())
        self._acted = time.monotonic()
        if keys:
            press(*keys)

    def answer(self, line):
        self.act()
        type_line(line)

    def read(self):
        """What was spoken for another reason than an announcement."""
        return [text for text in self._ears.spoken() if not text.startswith("notification ")]

    def heard(self):
        return [text for _, text in self._ears.announced()[self._known:]]

    def hear(self, *texts):
        """Waits until all texts have been announced, each once, in this order."""
        def spoken():
            return all(text in "\n".join(self.heard()) for text in texts)

        wait_for(spoken, f"{texts} to be spoken; heard {self.heard()}", 20)
        at = self._ears.announced()[-1][0]
        everything = "\n".join(self.heard())
        print(f"{at - self._acted:5.2f} s: {self.heard()}")
        places = [everything.index(text) for text in texts]
        check(places == sorted(places), f"{texts} in another order: {everything!r}")
        for text in texts:
            check(everything.count(text) == 1, f"{text!r} more than once: {everything!r}")
        if self._focus:
            check(self.reader.focus() == self._focus, f"the focus went to {self.reader.focus()!r}")


@scenario
def conversation(listener):
    """A run from its start to its status: lines, a question, its answer, an error."""
    lines = ["Welcome", "أهلا وسهلا"]
    question = "ما اسمك؟" if listener.console.language == "ar" else "What is your name?"
    listener.program("read start\n" + "".join(f"echo '{line}'\n" for line in lines)
                     + f"printf '{question} '; read name; echo Thanks; echo oops >&2; read end\n"
                     + "exit 3\n")
    listener.focus_on("ctrl+f", "Find output")
    listener.act("ctrl+r")
    listener.hear(listener.text("Running"))
    listener.focus_on("ctrl+2", "Program input")
    listener.answer("go")
    listener.hear(*lines, question)
    listener.answer("Sam")
    listener.hear("Thanks", listener.text("Error output: %1", "oops"))
    check("Sam" not in str(listener.heard()), f"the echo was read back: {listener.heard()}")
    listener.focus_on("ctrl+f", "Find output")
    # The program reads the end of its input, and ends.
    listener.act("ctrl+d")
    listener.hear(listener.text("Input closed for this run."),
                  listener.text("Returned status %1", 3))
    listener.console.quit()


@scenario
def refusals(listener):
    """What the draft refuses, the end of the input, and a stop."""
    listener.program("read line; while :; do sleep 1; done\n")
    listener.focus_on("ctrl+f", "Find output")
    listener.act("ctrl+r")
    listener.hear(listener.text("Running"))
    listener.focus_on("ctrl+2", "Program input")
    Clipboard.write("one\ntwo\n")
    listener.act("ctrl+v")
    listener.hear(listener.text("Program input must be one line. The draft was unchanged."))
    Clipboard.write("x" * 65_537)
    press("ctrl+v")
    listener.act("Return")
    listener.hear(listener.text("Program input exceeds the 65,536-byte limit."))
    listener.focus_on("ctrl+f", "Find output")
    listener.act("ctrl+d")
    listener.hear(listener.text("Input closed. The draft was not sent."))
    listener.act("ctrl+period")
    listener.hear(listener.text("Program stopped by user"))
    listener.console.quit()


@scenario
def searches(listener):
    """A search that finds nothing, and one that starts again at the beginning."""
    listener.program("echo needle\n")
    listener.focus_on("ctrl+f", "Find output")
    listener.act("ctrl+r")
    listener.hear(listener.text("Running"), "needle", listener.text("Returned status %1", 0))
    listener.act()
    type_line("nothing")
    listener.hear(listener.text("No match"))
    listener.act("Return")
    listener.hear(listener.text("No match"))
    press("ctrl+a")
    type_line("needle")
    listener.act("Return")
    listener.hear(listener.text("Wrapped"))
    listener.console.quit()


@scenario
def bad_endings(listener):
    """A crash, an interpreter that cannot be started, a source that has gone."""
    source = listener.program("kill -SEGV $$\n")
    listener.focus_on("ctrl+f", "Find output")
    listener.act("ctrl+r")
    listener.hear(listener.text("Running"), listener.text("Program terminated by signal"))
    listener.console.interpreter.write_text("#!/nowhere\n")
    listener.act("ctrl+r")
    listener.hear(listener.text("Could not start TARN: %1", ""))
    source.unlink()
    listener.act("ctrl+r")
    listener.hear(listener.text("Selected source is missing or unreadable: %1", source))
    listener.console.quit()


@scenario
def flood(listener):
    """More output than the console keeps is told of in three utterances at most."""
    listener.program("yes 'a line of a flood that nobody can listen to'\n")
    listener.focus_on("ctrl+f", "Find output")
    listener.act("ctrl+r")
    listener.hear(listener.text("Output capture limit reached"),
                  listener.text("Program stopped by user"))
    check(len(listener.heard()) <= 3, f"{len(listener.heard())} utterances")
    check(listener.text("Program stopped by user") in listener.heard()[-1], "the end is not last")
    listener.console.quit()


@scenario
def reading(listener):
    """The focus enters the output: the reader starts at its end, which is in sight."""
    listener.program("i=0; while [ $i -lt 100 ]; do echo \"line $i end\"; i=$((i+1)); done\n")
    listener.focus_on("ctrl+f", "Find output")
    listener.act("ctrl+r")
    listener.hear(listener.text("Returned status %1", 0))
    listener.focus_on("ctrl+1", "Program output")
    wait_for(lambda: any("line 99 end" in text for text in listener.read()),
             f"the last line to be read; read {listener.read()}", 5)
    check(not any("line 0 end" in text for text in listener.read()), "the first line was read")
    listener.console.quit()


@scenario
def progress(listener):
    """Dots and spinners are told when their line ends."""
    listener.program("for i in 1 2 3 4 5 6 7 8; do printf .; sleep 0.2; done; echo ' counted'\n"
                     "for i in 1 2 3 4; do printf '\\r|'; sleep 0.1; printf '\\r/'; sleep 0.1; done\n"
                     "printf '\\rfinished\\n'\n")
    listener.focus_on("ctrl+f", "Find output")
    listener.act("ctrl+r")
    listener.hear(listener.text("Running"), "........ counted", "finished",
                  listener.text("Returned status %1", 0))
    check(len(listener.heard()) <= 4, f"{len(listener.heard())} utterances")
    listener.console.quit()


def main():
    options = parse_options(__doc__, SCENARIOS)
    Atspi.set_timeout(30_000, 60_000)
    console = Console(options.console, options.interpreter, options.pictures)
    console.interpreter = console.script(INTERPRETER, "interpreter")
    console.interpreter.chmod(0o755)
    ears = Ears(console.directory)
    try:
        ears.open()
        listener = Listener(console, ears, "ar" if options.name.endswith("_ar") else "en")
        return run_and_dispose(console, options.name, lambda: SCENARIOS[options.name](listener),
                               lambda: f"\nSpoken: {ears.announced()}\n{console.log()}")
    finally:
        ears.close()


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    sys.exit(main())
