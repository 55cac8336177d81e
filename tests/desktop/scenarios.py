#!/usr/bin/env python3
"""The desktop scenarios: scenarios.py [OPTIONS] NAME runs one of them on the current display, which
is an X server or a Wayland compositor; nothing may be written on the terminal meanwhile.

To add one, write a function here whose only parameter is the console, mark it with @scenario and
name it in CMakeLists.txt. scenarios.py --list prints their names."""

import argparse
import contextlib
import fnmatch
import json
import os
import pathlib
import subprocess
import sys

import displays
from desktop import (DISPLAY, Clipboard, Console, Failure, check, is_running, press,
                     run_and_dispose, type_line, wait_for)

SCENARIOS = {}
DESKTOP_ENTRY = (pathlib.Path(__file__).parent.parent.parent / "packaging"
                 / "org.tarn.console.desktop")


def scenario(function):
    SCENARIOS[function.__name__] = function
    return function


use_arabic_keys = DISPLAY.use_arabic_keys


@scenario
def window_title(console):
    console.open()
    check(console.title() == "TARN Console", f"the title is {console.title()!r}")
    console.quit()


@scenario
def closes_every_time(console):
    """No process stays behind without a window, whatever arrives from the display while it closes."""
    for _ in range(12):
        console.open()
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


def run_the_choice(console):
    """The window has the keyboard again a moment before the console has taken the choice."""
    def started():
        console.run()
        with contextlib.suppress(Failure):
            return wait_for(console.journal, "a start", patience=3)
        return []

    wait_for(started, "the program to start")


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

    run_the_choice(console)
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
    DISPLAY.pointer(console.window, 30, 170, "down")
    for place in [(700, 60), (720, 60)]:
        DISPLAY.pointer(console.window, *place)
    DISPLAY.pointer(console.window, 720, 60, "up")
    check(console.transcript() == "one\ntwo\nthree\n", "the keys are lost")
    console.quit()


@contextlib.contextmanager
def helper(console, *command, **environment):
    """Another program beside the console, and the file with what it says."""
    said = console.directory / "helper.log"
    with said.open("wb") as log:
        process = subprocess.Popen(
            [str(word) for word in command], stdout=log, stderr=log, stdin=subprocess.DEVNULL,
            env=os.environ | console.environment | environment)
    try:
        yield process, said
    finally:
        process.kill()
        process.wait()


@scenario
def drop_file(console):
    """A file is dragged out of another program and dropped on the window."""
    file = console.script("print dropped\n", "ملف.ترن")
    console.open()
    DISPLAY.move(console.window, 0, 0)
    source = console.executable.parent.parent / "tests" / "dragsource"
    with helper(console, source, file, QT_QPA_PLATFORM=DISPLAY.platform) as (process, said):
        window = wait_for(lambda: DISPLAY.windows(process.pid), "the other window")[0]
        DISPLAY.move(window, 1000, 300)

        def taken():
            # The window may not be at its new place yet.
            DISPLAY.pointer(window, 80, 60, "up", "down")
            DISPLAY.pointer(window, 100, 60)
            with contextlib.suppress(Failure):
                return wait_for(lambda: "started" in said.read_text(), "a drag", patience=3)
            return False

        def carried():
            for x in (400, 401):
                DISPLAY.pointer(console.window, x, 250)
            return "accepted" in said.read_text()

        wait_for(taken, "the drag to start")
        wait_for(carried, "the console to accept the file")
        DISPLAY.pointer(console.window, 400, 250, "up")
        wait_for(lambda: "dropped" in said.read_text(), "the drop")
        # Who gave the file has to stay until it was taken.
        console.activate()
        run_the_choice(console)
    console.wait_for_text("dropped\n")
    console.wait_until_idle()
    console.quit()


@scenario
def portal_chooser(console):
    """Where the desktop has a portal, its chooser is asked, and what it says is opened."""
    file = console.script("print chosen\n", "مختار.ترن")
    asked = console.directory / "asked"
    address = f"unix:path={console.directory}/bus"
    with helper(console, "dbus-daemon", "--session", "--nofork", f"--address={address}"):
        wait_for((console.directory / "bus").exists, "the message bus")
        portal = ["/usr/bin/python3", "-B", pathlib.Path(__file__).parent / "portal.py", file, asked]
        with helper(console, *portal, DBUS_SESSION_BUS_ADDRESS=address) as (_, said):
            wait_for(lambda: "ready" in said.read_text(), "the portal")
            console.environment |= {"DBUS_SESSION_BUS_ADDRESS": address,
                                    "QT_QPA_PLATFORMTHEME": "xdgdesktopportal"}
            console.open()
            press("ctrl+o")
            wait_for(lambda: asked.exists() and asked.read_text(), "the portal to be asked")
            name, patterns = json.loads(asked.read_text())["filters"][0]
            check(name.strip() == "TARN source", f"the portal was asked for {name!r}")
            for shown in ["a.tarn", file.name]:
                check(any(fnmatch.fnmatch(shown, pattern) for _, pattern in patterns),
                      f"{patterns} leave out {shown}")
            console.wait_until_active()
            run_the_choice(console)
            console.wait_for_text("chosen\n")
            console.wait_until_idle()
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
    other.environment = console.environment
    try:
        other.open(other.script(forever))
        other.run()
        second = other.program()
        press("ctrl+shift+7")
        wait_for(lambda: other.title() == "طرفية TARN", "the other window in Arabic")
        wait_for(lambda: "interfaceLanguage=ar" in console.settings().read_text(),
                 "the choice to be kept")
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
    """Docks and switchers find the window's desktop entry, by its class under X and by its
    application id on Wayland."""
    console.open()
    entry = dict(line.split("=", 1) for line in DESKTOP_ENTRY.read_text().splitlines()
                 if "=" in line) | {"file": DESKTOP_ENTRY.name}
    check(DISPLAY.has_identity(console.window, entry), "the window is not that of the entry")
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
    parser.add_argument("--scale", type=float, default=1.0,
                        help="how much larger Qt shall draw, on an X server (default: 1)")
    return parser


def parse_options(description, scenarios):
    parser = option_parser(description)
    parser.add_argument("name", choices=scenarios)
    return parser.parse_args()


def main():
    if sys.argv[1:] == ["--list"]:
        print("\n".join(sorted(SCENARIOS)))
        return 0
    options = parse_options(__doc__, SCENARIOS)
    console = Console(options.console, options.interpreter, options.pictures)
    console.demo_programs = options.demo_programs
    console.silent = True
    if options.scale != 1:
        console.environment["QT_SCALE_FACTOR"] = str(options.scale)
        displays.X11.scale = options.scale
    return run_and_dispose(console, options.name, lambda: SCENARIOS[options.name](console))


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    sys.exit(main())
