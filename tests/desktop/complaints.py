#!/usr/bin/env python3
"""What users of programs like this one complain of most, one scenario each: complaints.py [OPTIONS]
NAME plays it in the built console with real keys, and reads what is shown over the accessibility
bus. Needs a display and a message bus of its own.

To add one, write a function here whose parameters are the console and the reader, mark it with
@complaint and name it in CMakeLists.txt."""

import os
import signal
import sys

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

from desktop import Console, check, is_running, press, run_and_dispose, wait_for  # noqa: E402
from scenarios import parse_options  # noqa: E402
from screenreader import Reader  # noqa: E402

COMPLAINTS = {}


def complaint(function):
    COMPLAINTS[function.__name__] = function
    return function


def use_shell(console, script):
    """Opens the console with a shell script as the interpreter, whatever the source."""
    interpreter = console.script(f"#!/bin/sh\n{script}", "interpreter")
    interpreter.chmod(0o755)
    console.interpreter = interpreter
    return console.script("", "any.tarn")


def place_of(reader, text):
    """Where the first character of a text in the output is on the screen: left edge, top, right
    edge."""
    output = reader.named("text", "Program output")
    at = reader.output().index(text)
    box = Atspi.Text.get_character_extents(output, at, Atspi.CoordType.SCREEN)
    return box.x, box.y, box.x + box.width


def is_in_sight(reader, text):
    """Whether the output shows the beginning of a text."""
    output = reader.named("text", "Program output")
    box = Atspi.Component.get_extents(output, Atspi.CoordType.SCREEN)
    return box.y <= place_of(reader, text)[1] < box.y + box.height


@complaint
def froze_at_much_output(console, reader):
    """The window takes keys while a program writes without an end."""
    reader.open(console.script("forever\nprint-a-lot 200\nsleep 60\nend\n"))
    console.run()
    program = console.program()
    reader.wait_for(lambda: "200" in reader.output(), "output")
    for key, title in [("ctrl+shift+7", "طرفية TARN"), ("ctrl+shift+8", "TARN Console")]:
        press(key)
        wait_for(lambda wanted=title: console.title() == wanted, f"the title {title!r}")
    check(is_running(program), "the program ended before the keys were taken")
    press("ctrl+period")
    reader.named("label", "Program stopped by user")
    console.quit()


@complaint
def one_very_long_line(console, reader):
    """A line of 40,000 characters in two directions is there whole, and the window goes on."""
    line = "word كلمة " * 4000
    reader.open(use_shell(console, f"printf '%s' '{line}'\nread answer\necho $answer\n"))
    console.run()
    reader.wait_for(lambda: line in reader.output(), "the line")
    press("ctrl+1", "ctrl+Home", "Down", "End", "Next", "ctrl+End")
    console.answer("still here")
    reader.named("label", "Returned status 0")
    check(reader.output().startswith(line + "still here\n"), "the line is not as written")
    console.quit()


@complaint
def stop_hangs(console, reader):
    """A program that ignores every polite request is stopped, and the console says so."""
    reader.open(use_shell(console, "trap '' TERM INT HUP\necho deaf\n"
                                   "while :; do sleep 1000; done\n"))
    console.run()
    program = console.program()
    reader.wait_for(lambda: "deaf" in reader.output(), "output")
    press("ctrl+period")
    reader.named("label", "Program stopped by user")
    check(not is_running(program), "the program still runs")
    console.quit()


@complaint
def children_left(console, reader):
    """What the program started is gone with it, in a process group of its own too."""
    reader.open(use_shell(console, "sleep 1000 &\necho $!\ntimeout 1000 sleep 1000 &\necho $!\n"
                                   "wait\n"))
    console.run()
    reader.wait_for(lambda: reader.output().count("\n") == 2, "the numbers of the children")
    children = [int(number) for number in reader.output().split()]
    check(all(is_running(child) for child in children), f"{children} do not run")
    press("ctrl+period")
    reader.named("label", "Program stopped by user")
    wait_for(lambda: not any(is_running(child) for child in children), "the children to be gone")
    console.quit()


@complaint
def output_lost_at_the_end(console, reader):
    """All that a program writes before it ends is shown, with or without a last line end."""
    reader.open(use_shell(console, "seq 20000\nprintf 'the last words'\nexit 3\n"))
    console.run()
    reader.named("label", "Returned status 3")
    expected = "".join(f"{number}\n" for number in range(1, 20001)) + "the last words"
    check(reader.output() == expected, f"it ends with {reader.output()[-80:]!r}")
    console.quit()


@complaint
def not_told_that_output_was_cut(console, reader):
    """That output was cut can still be read after the end of the run."""
    reader.open(console.script("forever\nprint-a-lot 1000\nend\n"))
    console.run()
    status = reader.named("label", "Program stopped by user")

    def description():
        status.clear_cache()
        return status.get_description()

    reader.wait_for(lambda: description() == "Output capture limit reached", "the remark")
    press("ctrl+l")
    reader.wait_for(lambda: description() == "", "the end of the remark")
    console.quit()


@complaint
def view_jumps_while_reading(console, reader):
    """Whoever reads further up stays there, whatever the program writes."""
    reader.open(console.script("print the first line\nprint-a-lot 300\nask more? -> answer\n"
                               "print-a-lot 300\nprint the last line\n"))
    console.run()
    reader.wait_for(lambda: "more?" in reader.output(), "the question")
    check(not is_in_sight(reader, "the first line"), "there is nothing to scroll")
    press("ctrl+1", "ctrl+Home")
    reader.wait_for(lambda: is_in_sight(reader, "the first line"), "the first line in sight")
    before = place_of(reader, "the first line")
    console.answer("yes")
    reader.named("label", "Returned status 0")
    check(place_of(reader, "the first line") == before, "the view has moved")
    console.quit()


@complaint
def nothing_shown_until_exit(console, reader):
    """A question without a line end is shown while the program waits for the answer."""
    reader.open(use_shell(console, "printf 'Name? '\nread name\necho \"Hello $name\"\n"))
    console.run()
    program = console.program()
    reader.wait_for(lambda: reader.output() == "Name? ", "the question")
    check(is_running(program), "the program has ended")
    console.answer("Sam")
    reader.named("label", "Returned status 0")
    check("Hello Sam" in reader.output(), reader.output())
    console.quit()


@complaint
def no_end_of_file(console, reader):
    """The input can be closed, and a program that reads to its end then ends."""
    reader.open(use_shell(console, "wc -l\n"))
    console.run()
    program = console.program()
    reader.named("label", "Running")
    for line in ["one", "two"]:
        console.answer(line)
        reader.wait_for(lambda text=line: text in reader.output(), f"the echo of {line!r}")
    check(is_running(program), "the program has ended")
    press("ctrl+d")
    reader.named("label", "Returned status 0")
    check(reader.output().split() == ["one", "two", "2"], reader.output())
    console.quit()


@complaint
def wrong_side(console, reader):
    """Arabic lines begin at the right, others at the left, in both languages of the window."""
    reader.open(console.script("print Hello\nprint مرحبا\n"))
    console.run()
    reader.named("label", "Returned status 0")
    for key in ["ctrl+shift+8", "ctrl+shift+7"]:
        press(key)
        name = {"ctrl+shift+8": "Program output", "ctrl+shift+7": "مخرجات البرنامج"}[key]
        output = reader.named("text", name)

        def gaps():
            box = Atspi.Component.get_extents(output, Atspi.CoordType.SCREEN)
            english = Atspi.Text.get_character_extents(output, 0, Atspi.CoordType.SCREEN)
            arabic = Atspi.Text.get_character_extents(output, 6, Atspi.CoordType.SCREEN)
            return (english.x - box.x, box.x + box.width - arabic.x - arabic.width)

        near = range(12)
        reader.wait_for(lambda: all(gap in near for gap in gaps()), "both lines at their edges")
    console.quit()


@complaint
def run_refused_after_exit(console, reader):
    """A program that has ended can be run again, also when it leaves a child with its output."""
    reader.open(use_shell(console, "sleep 1000 &\necho left $!\n"))
    for times in [1, 2]:
        console.run()
        reader.wait_for(lambda wanted=times: reader.output().count("left") == wanted,
                        f"run {times}")
        reader.wait_for(lambda: not reader.texts_with("Running"), "the end of the run")
        reader.named("label", "Returned status 0")
    for word in reader.output().split():
        if word.isdigit():
            os.kill(int(word), signal.SIGKILL)
    console.quit()


def main():
    options = parse_options(__doc__, COMPLAINTS)
    Atspi.set_timeout(30_000, 60_000)
    console = Console(options.console, options.interpreter, options.pictures)
    console.demo_programs = options.demo_programs
    reader = Reader(console)
    return run_and_dispose(console, options.name, lambda: COMPLAINTS[options.name](console, reader))


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
    sys.exit(main())
