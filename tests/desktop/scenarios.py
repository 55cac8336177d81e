#!/usr/bin/env python3
"""The desktop scenarios: scenarios.py [OPTIONS] NAME runs one of them on the current display.

To add one, write a function here whose only parameter is the console, mark it with @scenario and
name it in CMakeLists.txt."""

import argparse
import contextlib
import os
import pathlib
import subprocess
import sys

from desktop import (Clipboard, Console, Failure, check, is_running, press,
                     run_and_dispose, type_line, wait_for, xdotool)

SCENARIOS = {}
DESKTOP_ENTRY = (pathlib.Path(__file__).parent.parent.parent / "packaging"
                 / "org.tarn.console.desktop")


def scenario(function):
    SCENARIOS[function.__name__] = function
    return function


def use_arabic_keys():
    """Gives the keyboard Arabic letters beside the Latin ones, as a user of both has them."""
    subprocess.run(["setxkbmap", "us,ara"], check=True)


@scenario
def window_title(console):
    console.open()
    check(console.title() == "TARN Console", f"the title is {console.title()!r}")
    console.quit()


@scenario
def run_and_answer(console):
    """Several answers in a row by the keyboard alone; the focus stays where the user types."""
    console.open(console.demo_programs / "greeting.tarn")
    console.run()
    console.wait_for_text("What is your name?")
    press("ctrl+2")
    type_line("Sam")
    wait_for(lambda: console.journal().count("asked") == 2, "the second question")
    type_line("3")
    shown = console.wait_for_text("Goodbye, Sam. See you soon.")
    for text in ["Nice to meet you, Sam!", "★ 3 of 3: hello, Sam!"]:
        check(text in shown, shown)
    check("Sam" in shown.split("\n") and "3" in shown.split("\n"), f"no echoes in:\n{shown}")
    console.wait_until_idle()
    console.quit()


@scenario
def first_answer(console):
    """Whoever starts a program types the first answer at once, however it was started."""
    console.open(console.demo_programs / "greeting.tarn")
    starts = [
        lambda: press("ctrl+r"),
        lambda: press("ctrl+1", "ctrl+r"),
        # The menu bar gives the focus back when it is left.
        lambda: press("Alt_L", "Down", "Down", "Down", "Return"),
    ]
    for start in starts:
        asked = console.journal().count("asked")
        start()
        wait_for(lambda: console.journal().count("asked") == asked + 1, "the first question")
        type_line("Sam")
        wait_for(lambda: console.journal().count("asked") == asked + 2, "the second question")
        type_line("1")
        console.wait_until_idle()
        console.wait_for_text("Goodbye, Sam. See you soon.")
        press("ctrl+l")
    console.quit()


@scenario
def arabic_answer(console):
    """An Arabic program, answered on an Arabic keyboard in the Arabic interface."""
    use_arabic_keys()
    console.language = "ar"
    console.open(console.demo_programs / "تحية.ترن")
    console.run()
    console.wait_for_text("ما اسمك؟")
    console.answer("سلمى")
    console.wait_for_text("تشرفنا يا سلمى!")
    console.answer("2")
    shown = console.wait_for_text("مع السلامة يا سلمى، إلى اللقاء.")
    check("التحية 2 من 2: السلام عليكم يا سلمى ★" in shown, shown)
    console.wait_until_idle()
    console.quit()


@scenario
def copy_output(console):
    """Another program gets exactly the shown text, and only as text."""
    lines = ["no\u00a0break space", "العربية\u00a0نص", "a\tb", "", "<b>bold</b> &amp;"]
    console.open(console.script("".join(f"print {line}\n" for line in lines)
                                + "sleep 300\nerror \x1b[31mتحذير\n"))
    console.run()
    expected = "".join(f"{line}\n" for line in lines) + "\\u{001B}[31mتحذير\n"
    console.wait_for_transcript(lambda shown: shown == expected, repr(expected))
    check("text/html" not in Clipboard.formats(), f"the formats are {Clipboard.formats()}")
    console.wait_until_idle()

    # What is selected can be pasted with the middle button.
    press("ctrl+1", "ctrl+Home", "ctrl+shift+End")
    wait_for(lambda: Clipboard.read(selection="primary") == expected, "the selection")
    formats = Clipboard.formats("primary")
    others = [name for name in formats if "/" in name and not name.startswith("text/plain")]
    check(formats and not others, f"the formats of the selection are {formats}")
    console.quit()


@scenario
def close_input(console):
    console.open(console.script("lines -> line\nprint got {line}\nend\nprint {count} lines\n"))
    console.run()
    console.answer("one")
    console.wait_for_text("got one")
    press("ctrl+d")
    console.wait_for_text("1 lines")
    console.wait_until_idle()
    console.quit()


@scenario
def stop_runaway(console):
    """Stop ends a program that would run for ever, and the next run works."""
    console.open(console.script("forever\nprint still here {count}\nsleep 10\nend\n"))
    console.run()
    program = console.program()
    console.wait_for_text("still here 5")
    press("ctrl+period")
    wait_for(lambda: not is_running(program), "the program to be gone")
    console.wait_until_idle()
    console.run()
    second = console.program()
    check(second != program, "the second run is the first")
    console.wait_for_transcript(lambda shown: shown.count("still here 1\n") == 2, "a second run")
    press("ctrl+period")
    wait_for(lambda: not is_running(second), "the second program to be gone")
    console.quit()


@scenario
def stop_stubborn(console):
    """A program and its child that both ignore the polite request are ended by force."""
    interpreter = console.script(
        "#!/bin/sh\n"
        "trap '' TERM\n"
        "sleep 1000 &\n"
        "echo child $!\n"
        "wait\n", "stubborn")
    interpreter.chmod(0o755)
    console.interpreter = interpreter
    console.open(console.script("", "any.tarn"))
    console.run()
    program = console.program()
    shown = console.wait_for_transcript(lambda text: text.endswith("\n"), "the child's number")
    child = int(shown.split()[1])
    check(is_running(child), f"there is no process {child}")
    press("ctrl+period")
    wait_for(lambda: not is_running(program), "the program to be gone")
    wait_for(lambda: not is_running(child), "its child to be gone")
    console.quit()


@scenario
def flood(console):
    """A program that prints for ever is stopped at a limit, and the window lives on."""
    console.open(console.script("forever\nprint {count} السطر\nend\n"))
    console.run()
    program = console.program()
    wait_for(lambda: not is_running(program), "the program to be stopped")
    shown = console.wait_for_text("1 السطر\n2 السطر\n")
    check(shown.count("\n") > 10000, f"only {len(shown)} characters are left")
    press("ctrl+l")
    console.wait_for_transcript(lambda text: text == "", "an empty transcript")
    console.quit()


@scenario
def open_source(console):
    """A source is chosen in the file dialog by typing its path, and then run."""
    source = console.script("اطبع تم الفتح\n", "مفتوح.ترن")
    use_arabic_keys()
    console.open()
    press("ctrl+o")
    console.wait_for_dialog()
    type_line(source)
    console.wait_until_active()

    def started():
        # The window has the keyboard again a moment before the console has taken the choice.
        console.run()
        with contextlib.suppress(Failure):
            return wait_for(console.journal, "a start", patience=3)
        return []

    wait_for(started, "the program to start")
    console.wait_for_text("تم الفتح")
    console.wait_until_idle()
    console.quit()


@scenario
def clear_output(console):
    console.open(console.script("print before\nlines -> line\nprint {line}\nend\n"))
    console.run()
    console.wait_for_text("before")
    press("ctrl+l")
    console.answer("after")
    shown = console.wait_for_text("after")
    check("before" not in shown, shown)
    press("ctrl+d")
    console.wait_until_idle()
    console.quit()


@scenario
def drag_out(console):
    """A selection that is dragged to where it cannot be dropped; then the keys work as before."""
    console.open(console.script("print one\nprint two\nprint three\n"))
    console.run()
    console.wait_for_text("three\n")
    console.wait_until_idle()
    press("ctrl+1", "ctrl+a")
    # The first movement already leaves the transcript.
    for step in ["mousemove --window {0} 30 170", "mousedown 1", "mousemove --window {0} 700 60",
                 "mousemove --window {0} 720 60", "mouseup 1"]:
        subprocess.run(["xdotool", *step.format(console.window).split()], check=True)
    check(console.transcript() == "one\ntwo\nthree\n", "the keys are lost")
    console.quit()


def path(text):
    return pathlib.Path(text).absolute()


@scenario
def two_consoles(console):
    """Two consoles of one user: a stop, a language and a quit in one leave the other alone."""
    forever = "forever\nsleep 100\nend\n"
    console.open(console.script(forever))
    console.run()
    first = console.program()
    other = Console(console.executable, console.interpreter, console.pictures)
    other.home = console.home
    try:
        other.open(other.script(forever))
        other.run()
        second = other.program()
        press("ctrl+shift+7")
        wait_for(lambda: other.title() == "طرفية TARN", "the other window in Arabic")
        check("interfaceLanguage=ar" in console.settings().read_text(), "the choice is not kept")
        press("ctrl+period")
        wait_for(lambda: not is_running(second), "the second program to be gone")
        other.wait_until_idle()
        other.quit()
    finally:
        other.dispose()
    check(is_running(first), "the first program is gone")
    check(console.title() == "TARN Console", f"the first title is {console.title()!r}")
    console.activate()
    press("ctrl+period")
    wait_for(lambda: not is_running(first), "the first program to be gone")
    console.wait_until_idle()
    console.quit()
    written = console.settings().read_text()
    for key in ["interfaceLanguage=en", "lastSourceDirectory=", "windowGeometry="]:
        check(key in written, f"no {key} in {written}")


@scenario
def desktop_identity(console):
    """Docks and switchers find the window's desktop entry by its class, under X."""
    console.open()
    entry = dict(line.split("=", 1) for line in DESKTOP_ENTRY.read_text().splitlines()
                 if "=" in line)
    found = xdotool("search", "--onlyvisible", "--class", f"^{entry['StartupWMClass']}$")
    check(console.window in found.split(), f"{found!r} is not the window {console.window}")
    check(entry["Exec"] == f"{console.executable.name} %f", f"the entry starts {entry['Exec']!r}")
    console.quit()


def option_parser(description):
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--console", required=True, type=path, help="the tarn-console to test")
    parser.add_argument("--interpreter", required=True, type=path,
                        help="the tarn-demo to run programs with")
    parser.add_argument("--demo-programs", required=True, type=path)
    parser.add_argument("--pictures", required=True, type=path,
                        help="where to put pictures of failures")
    return parser


def parse_options(description, scenarios):
    parser = option_parser(description)
    parser.add_argument("name", choices=scenarios)
    return parser.parse_args()


def main():
    options = parse_options(__doc__, SCENARIOS)
    console = Console(options.console, options.interpreter, options.pictures)
    console.demo_programs = options.demo_programs
    return run_and_dispose(console, options.name, lambda: SCENARIOS[options.name](console))


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    sys.exit(main())
