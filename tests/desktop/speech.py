#!/usr/bin/env python3
"""What a user of a screen reader hears of the console: speech.py [OPTIONS] NAME... plays scenarios
one after the other with one real Orca. Needs a display and a message bus of its own. A scenario is
played in English, or in Arabic under its name followed by "_ar"; "situations" are all that a person
must hear, "bounds" all that they must not. It says when it heard what, and how often.

To add one, write a function here whose parameter is a listener and mark it with @situation or
@bound."""

import os
import pathlib
import sys
import time
import xml.etree.ElementTree

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

from desktop import Clipboard, Console, Failure, check, press, run_and_dispose  # noqa: E402
from desktop import type_line, wait_for, xdotool  # noqa: E402
from orca import Ears  # noqa: E402
from scenarios import option_parser  # noqa: E402
from screenreader import Reader, has  # noqa: E402

SCENARIOS = {}
GROUPS = {"situations": [], "bounds": []}
# A program is a shell script that gets its output through as it stands, without a line end where
# it has none.
INTERPRETER = """#!/bin/sh
. "$2"
"""
# Orca asks for events that Qt does not know, and at-spi 2.62 for an address that Qt does not give; Qt
# 6.4 loses count of keys while Orca is busy.
NOT_OURS = ["Subscription string not handled", "QSpiApplication::",
            "does not implement \"GetApplicationBusAddress\""]
# How long nothing may be spoken before all has been: longer than anything is held back.
QUIET = 1.5
# How long the title of a window that opens may take to be spoken.
GREETING = 15


def add_scenario(function, group):
    SCENARIOS[function.__name__] = SCENARIOS[function.__name__ + "_ar"] = function
    for ending, suffix in [("", ""), ("_ar", "_ar")]:
        name = group + ending
        GROUPS.setdefault(name, []).append(function.__name__ + suffix)
    return function


def situation(function):
    return add_scenario(function, "situations")


def bound(function):
    return add_scenario(function, "bounds")


def catalogue():
    """The Arabic of every text of the console."""
    path = pathlib.Path(__file__).parents[2] / "translations/tarn_console_ar.ts"
    return {message.find("source").text: message.find("translation").text
            for message in xml.etree.ElementTree.parse(path).iter("message")}


class Listener:
    """Somebody who works with the console by ear."""

    def __init__(self, console, ears, language, name):
        self.console = console
        self.reader = Reader(console, listens=False)
        self.name = name
        self._ears = ears
        self._texts = catalogue() if language == "ar" else {}
        console.language = language
        self._known = 0  # what was spoken before the last act
        self._acted = 0.0
        self._expected = ()
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
            before = self._ears.count()
            self.reader.open(path)
            self._be_greeted(lambda: self._ears.count() > before)
        return path

    def _be_greeted(self, is_greeted):
        """Orca says the title of a window that opens. On a busy machine it may miss how one opens, and
        then hears nothing of it, whatever program it is of: a person goes away and comes back."""
        try:
            wait_for(is_greeted, "the title of the window to be spoken", GREETING)
        except Failure:
            xdotool("windowminimize", "--sync", self.console.window)
            self.console.activate()
            wait_for(is_greeted, "the title of the window to be spoken")

    def focus_on(self, key, name):
        """Goes somewhere; from here on the focus must stay there."""
        press(key)
        self.expect_focus(name)

    def expect_focus(self, name):
        """Waits until the console has moved the focus there."""
        self._focus = self.text(name)
        self.reader.wait_for(lambda: self.reader.focus() == self._focus,
                             f"the focus on {name!r}")

    def length_of_text(self):
        """How long the text is that has the focus."""
        focused = [o for o in self.reader.all() if has(o, Atspi.StateType.FOCUSED)]
        return Atspi.Text.get_character_count(focused[0]) if focused else None

    def leave(self):
        """Goes to another window."""
        self._focus = None

    def run(self, commands):
        """Runs a program, with the focus in the search field, where it stays."""
        self.program(commands)
        self.focus_on("ctrl+f", "Find output")
        self.act("ctrl+r")

    def talk_with(self, commands):
        """Runs a program that waits for its input, with the focus there."""
        self.run(commands)
        self.hear(self.text("Running"), quietly=True)
        self.focus_on("ctrl+2", "Program input")

    def act(self, *keys):
        """Presses keys, or nothing: what is spoken from now on is the answer."""
        self.check_once()
        self._expected = ()
        self._known = self._ears.count()
        self._acted = time.monotonic()
        if keys:
            press(*keys)

    def answer(self, line):
        self.act()
        type_line(line)

    def spoken(self):
        return self._ears.spoken(self._known)

    def read(self):
        """What was spoken for another reason than an announcement."""
        return [speech.text for speech in self.spoken() if not speech.is_announced]

    def heard(self):
        """What was announced."""
        return [speech.text for speech in self.spoken() if speech.is_announced]

    def wait_until_quiet(self):
        wait_for(lambda: time.monotonic() - max([self._acted]
                                                + [speech.at for speech in self.spoken()]) > QUIET,
                 "Orca to fall silent")

    def check_once(self):
        """What was heard was spoken once, then and since."""
        everything = "\n".join(speech.text for speech in self.spoken())
        for text in self._expected:
            check(everything.count(text) == 1, f"{text!r} more than once: {everything!r}")

    def hear(self, *texts, quietly=False):
        """Waits until all texts have been spoken, each once, in this order."""
        wait_for(lambda: all(text in "\n".join(self.heard()) for text in texts),
                 f"{texts} to be spoken; heard {self.spoken()}")
        at = [speech.at for speech in self.spoken() if speech.is_announced][-1]
        everything = "\n".join(speech.text for speech in self.spoken())
        if not quietly:
            print(f"  {self.name}: {at - self._acted:.2f} s, {self.heard()}", flush=True)
        places = [everything.index(text) for text in texts]
        check(places == sorted(places), f"{texts} in another order: {everything!r}")
        self._expected = texts
        self.check_once()
        if self._focus:
            check(self.reader.focus() == self._focus, f"the focus went to {self.reader.focus()!r}")

    def finish(self):
        """Ends the console, which must not have had Qt complain about what it told the reader."""
        # Which may lead the reader into the output, to read what has been heard.
        self.act("ctrl+period")
        self.console.wait_until_idle()
        self.console.quit()
        complaints = [line for line in self.console.log().splitlines()
                      if not any(known in line for known in NOT_OURS)]
        check(not complaints, f"the console complains: {complaints}")

    def hear_at_last(self, *texts, most):
        """The same, in so many utterances at most, and nothing after them."""
        self.hear(*texts, quietly=True)
        self.wait_until_quiet()
        print(f"  {self.name}: {len(self.heard())} utterances, {self.heard()}", flush=True)
        check(len(self.heard()) <= most, f"{len(self.heard())} utterances: {self.heard()}")
        check(texts[-1] in self.heard()[-1], f"the last is {self.heard()[-1]!r}")


@situation
def output_lines(listener):
    listener.run("echo Welcome; echo 'أهلا وسهلا'; read end\n")
    listener.hear(listener.text("Running"), "Welcome", "أهلا وسهلا")


@situation
def question(listener):
    """One that does not end its line, when the program pauses."""
    asked = "ما اسمك؟" if listener.console.language == "ar" else "What is your name?"
    listener.talk_with(f"read go; printf '{asked} '; read name\n")
    listener.answer("go")
    listener.hear(asked)


@situation
def error_output(listener):
    listener.talk_with("read go; echo fine; echo broken >&2; read end\n")
    listener.answer("go")
    listener.hear("fine", listener.text("Error output: %1", "broken"))


@situation
def running(listener):
    listener.run("read end\n")
    listener.hear(listener.text("Running"))


@situation
def outcomes(listener):
    """All five. No program can have the console fail to read its output: the console is one that
    does so at the press of a key."""
    listener.console.executable = listener.console.operated
    ways = [("exit 3", None, listener.text("Returned status %1", 3)),
            ("kill -SEGV $$", None, listener.text("Program terminated by signal")),
            ("read end", "ctrl+period", listener.text("Program stopped by user")),
            ("read end", "F12", listener.text("Console process failure: %1", ""))]
    for commands, key, outcome in ways:
        if not key:
            listener.run(f"{commands}\n")
        else:
            listener.talk_with(f"{commands}\n")
            listener.focus_on("ctrl+f", "Find output")
            listener.act(key)
        listener.hear(outcome)
    listener.console.interpreter.write_text("#!/nowhere\n")
    listener.act("ctrl+r")
    listener.hear(listener.text("Could not start TARN: %1", ""))


@situation
def limit(listener):
    """A line that is longer than the console keeps."""
    listener.run("head -c 70000 /dev/zero | tr '\\0' x; read end\n")
    listener.hear(listener.text("Output capture limit reached"),
                  listener.text("Program stopped by user"))


@situation
def refused_lines(listener):
    """Of several lines, too long, and where no input is open. No key reaches the last one: the
    console is one that has a key for it."""
    listener.console.executable = listener.console.operated
    listener.talk_with("read line\n")
    Clipboard.write("one\ntwo\n")
    listener.act("ctrl+v")
    listener.hear(listener.text("Program input must be one line. The draft was unchanged."))
    Clipboard.write("x" * 65_537)
    press("ctrl+v")
    listener.act("Return")
    listener.hear(listener.text("Program input exceeds the 65,536-byte limit."))
    press("ctrl+a", "Delete")
    listener.reader.wait_for(lambda: listener.length_of_text() == 0, "an empty draft")
    listener.focus_on("ctrl+f", "Find output")
    listener.act("ctrl+d")
    listener.hear(listener.text("Returned status %1", 1), quietly=True)
    listener.act("F11")
    listener.hear(listener.text("Input is closed for this run."))


@situation
def nothing_found(listener):
    listener.run("echo needle\n")
    listener.hear(listener.text("Returned status %1", 0), quietly=True)
    listener.act()
    type_line("nothing")
    listener.hear(listener.text("No match"))
    listener.act("Return")
    listener.hear(listener.text("No match"))


@situation
def wrapped(listener):
    listener.run("echo needle\n")
    listener.hear(listener.text("Returned status %1", 0), quietly=True)
    type_line("needle")
    listener.act("Return")
    listener.hear(listener.text("Wrapped"))


@situation
def input_closed(listener):
    """With nothing left to send, and with a draft."""
    for draft, notice in [("", "Input closed for this run."),
                          ("draft", "Input closed. The draft was not sent.")]:
        listener.talk_with("while :; do sleep 1; done\n")
        for letter in draft:
            press(letter)
        listener.reader.wait_for(lambda length=len(draft): listener.length_of_text() == length,
                                 f"the draft {draft!r}")
        listener.focus_on("ctrl+f", "Find output")
        listener.act("ctrl+d")
        listener.hear(listener.text(notice))
        listener.act("ctrl+period")
        listener.hear(listener.text("Program stopped by user"), quietly=True)


@situation
def start_problems(listener):
    """No interpreter, and a source that has gone."""
    source = listener.program("exit\n")
    listener.focus_on("ctrl+f", "Find output")
    source.unlink()
    listener.act("ctrl+r")
    listener.hear(listener.text("Selected source is missing or unreadable: %1", source))
    listener.program("exit\n")
    listener.console.interpreter.unlink()
    listener.act("ctrl+r")
    # The person is led to the button that helps.
    listener.expect_focus("Choose TARN")
    listener.hear(listener.text("TARN executable is unavailable. Choose TARN / اختر TARN. %1", ""))


@situation
def answers(listener):
    """A person hears what their answer does, and not the answer."""
    listener.talk_with("printf '? '; read name; echo Thanks; read end\n")
    listener.answer("Salma")
    listener.hear("Thanks")
    listener.focus_on("ctrl+f", "Find output")
    press("ctrl+d")
    listener.hear("Thanks", listener.text("Input closed for this run."), quietly=True)
    check("Salma" not in str(listener.heard()), f"the echo was read back: {listener.heard()}")


@bound
def flood(listener):
    """More output than the console keeps is told of in three utterances at most."""
    listener.run("yes 'a line of a flood that nobody can listen to'\n")
    listener.hear_at_last(listener.text("Output capture limit reached"),
                          listener.text("Program stopped by user"), most=3)


@bound
def dots(listener):
    """Are told when their line ends."""
    listener.run("for i in 1 2 3 4 5 6 7 8 9 10; do printf .; sleep 0.2; done; echo ' done'\n")
    # "Running", and the end.
    listener.hear_at_last("done", listener.text("Returned status %1", 0), most=2)


@bound
def spinner(listener):
    listener.run("for i in 1 2 3 4 5; do printf '\\r|'; sleep 0.1; printf '\\r/'; sleep 0.1; "
                 "printf '\\r-'; sleep 0.1; printf '\\r\\\\'; sleep 0.1; done\n"
                 "printf '\\rfinished\\n'\n")
    listener.hear_at_last("finished", listener.text("Returned status %1", 0), most=2)


@bound
def chatter(listener):
    """Ten lines a second are told at the speed of speech, the last ones at the end."""
    listener.run("i=0; while [ $i -lt 100 ]; do echo \"line number $i of many\"; i=$((i+1)); "
                 "sleep 0.1; done\n")
    listener.hear_at_last(listener.text("Returned status %1", 0), most=5)
    listener.hear("line number 99 of many", quietly=True)


@bound
def reading(listener):
    """The focus enters the output: the reader starts where the person is."""
    listener.run("i=0; while [ $i -lt 100 ]; do echo \"line $i end\"; i=$((i+1)); done\n")
    listener.hear(listener.text("Returned status %1", 0), quietly=True)
    # At the end, which is in sight.
    listener.act()
    listener.focus_on("ctrl+1", "Program output")
    wait_for(lambda: any("line 99 end" in text for text in listener.read()),
             f"the last line to be read; read {listener.read()}")
    listener.wait_until_quiet()
    print(f"  {listener.name}: {listener.read()}", flush=True)
    check(not any("line 0 end" in text for text in listener.read()), "the first line was read")


@bound
def two_consoles(listener):
    """Each speaks of itself only, while it has the keyboard, and then tells what was missed."""
    go = listener.console.directory / "go"
    listener.run(f"until [ -e {go} ]; do sleep 0.1; done; echo 'from the first'\n")
    listener.hear(listener.text("Running"), quietly=True)
    other = Console(listener.console.executable, listener.console.interpreter,
                    listener.console.pictures)
    other.language = listener.console.language
    listener.leave()
    try:
        other.open(other.script("echo 'from the second'\n"))
        press("ctrl+f")
        listener.act()
        go.touch()
        listener.console.wait_until_idle()
        listener.wait_until_quiet()
        check(not listener.heard(), f"heard {listener.heard()} of another window")
        listener.act("ctrl+r")
        listener.hear_at_last("from the second", listener.text("Returned status %1", 0), most=2)
        check("first" not in str(listener.spoken()), f"{listener.spoken()} of another window")
        listener.act("ctrl+q")
        wait_for(lambda: other.process.poll() is not None, "the other console to end")
    finally:
        other.dispose()
    listener.console.activate()
    listener.expect_focus("Find output")
    listener.hear_at_last("from the first", listener.text("Returned status %1", 0), most=1)


def play(options, ears, name):
    """One scenario, in a console of its own. Returns the exit status."""
    console = Console(options.console, options.interpreter, options.pictures)
    console.operated = options.operated_console
    console.interpreter = console.script(INTERPRETER, "interpreter")
    console.interpreter.chmod(0o755)
    before = ears.count()

    def act():
        listener = Listener(console, ears, "ar" if name.endswith("_ar") else "en", name)
        SCENARIOS[name](listener)
        listener.finish()

    return run_and_dispose(console, name, act,
                           lambda: f"\nSpoken: {ears.spoken(before)}\n{console.log()}")


def main():
    parser = option_parser(__doc__)
    parser.add_argument("--operated-console", required=True, type=pathlib.Path,
                        help="the console that can do what no user can")
    parser.add_argument("names", nargs="+", choices=[*SCENARIOS, *GROUPS], metavar="NAME")
    options = parser.parse_args()
    names = [name for given in options.names for name in GROUPS.get(given, [given])]
    Atspi.set_timeout(30_000, 60_000)
    ears = Ears()
    try:
        ears.open()
        failed = [name for name in names if play(options, ears, name)]
        print(f"{len(names) - len(failed)} of {len(names)} heard", *failed)
        return 1 if failed else 0
    finally:
        ears.close()


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    sys.exit(main())
