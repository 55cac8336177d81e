#!/usr/bin/env python3
"""Takes the pictures of docs/screenshots: screenshots.py [OPTIONS] [NAME...]. To add one, write a
function here whose only parameter is the console and mark it with @picture."""

import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "tests" / "desktop"))
from desktop import Console, press, wait_for, xdotool  # noqa: E402

PICTURES = {}


def picture(function):
    PICTURES[function.__name__.replace("_", "-")] = function
    return function


def resize(console, width, height):
    subprocess.run(["xdotool", "windowsize", "--sync", console.window, str(width), str(height)],
                   check=True)


def answer_all(console, *answers):
    """Answers one question after the other; the demo interpreter's journal says when it asks."""
    for number, answer in enumerate(answers, start=1):
        wait_for(lambda n=number: console.journal().count("asked") >= n, "a question")
        console.answer(answer)


def end(console):
    """Stops what runs and closes the window."""
    if console.programs():
        press("ctrl+period")
        console.wait_until_idle()
    # Through the window manager: not every desktop theme has a key for Quit.
    press("alt+F4")
    wait_for(lambda: console.process.poll() is not None, "the console to end")


def market(console, language):
    console.language = language
    console.open(console.demo_programs / "market.tarn")
    resize(console, 900, 840)
    console.run()
    answer_all(console, "ليلى" if language == "ar" else "Layla", "تمر", "coffee")
    wait_for(lambda: console.journal().count("asked") == 4, "the next question")
    press("ctrl+d")
    console.wait_until_idle()


@picture
def run(console):
    market(console, "en")


@picture
def run_arabic(console):
    market(console, "ar")


@picture
def question(console):
    console.language = "ar"
    console.open(console.demo_programs / "تحية.ترن")
    console.run()
    wait_for(lambda: "asked" in console.journal(), "the question")
    press("ctrl+2")
    subprocess.run(["xdotool", "type", "--delay", "20", "سلمى"], check=True)


@picture
def small_window(console):
    console.open(console.demo_programs / "greeting.tarn")
    resize(console, 800, 500)
    console.run()
    answer_all(console, "Sam", "3")
    console.wait_until_idle()


@picture
def small_window_arabic(console):
    console.language = "ar"
    console.open(console.demo_programs / "تحية.ترن")
    resize(console, 800, 500)
    console.run()
    answer_all(console, "سلمى", "2")
    console.wait_until_idle()


@picture
def limit(console):
    """A program at a limit that only notes the first, polite request to end."""
    interpreter = console.script(
        "#!/bin/sh\ntrap ': >told' TERM\nwhile :; do echo for ever; done\n", "stubborn")
    interpreter.chmod(0o755)
    console.interpreter = interpreter
    console.open(console.script("", "endless.tarn"))
    console.run()
    wait_for((console.directory / "told").exists, "the request to end")


@picture
def long_path_problem(console):
    console.language = "ar"
    console.open(console.directory / ("long directory name " * 4).strip() / "لا يوجد.tarn")
    console.run()


@picture
def zoom_200(console):
    console.language = "ar"
    console.open(console.demo_programs / "تحية.ترن")
    for _ in range(10):
        press("ctrl+plus")
    console.run()
    answer_all(console, "سلمى", "2")
    console.wait_until_idle()


@picture
def dark(console):
    """The palette of a dark desktop theme."""
    settings = console.directory / "config" / "qt6ct" / "qt6ct.conf"
    settings.parent.mkdir(parents=True)
    settings.write_text("[Appearance]\nstyle=Fusion\ncustom_palette=true\n"
                        "color_scheme_path=/usr/share/qt6ct/colors/darker.conf\n")
    os.environ["QT_QPA_PLATFORMTHEME"] = "qt6ct"
    market(console, "en")


def open_dialog(console, keys):
    before = set(console.windows())
    press(keys)
    return wait_for(lambda: next(iter(set(console.windows()) - before), None), "the dialog")


@picture
def settings(console):
    console.open(console.demo_programs / "greeting.tarn")
    open_dialog(console, "ctrl+shift+comma")


@picture
def settings_arabic(console):
    console.language = "ar"
    console.open(console.demo_programs / "تحية.ترن")
    open_dialog(console, "ctrl+shift+comma")


@picture
def help_arabic(console):
    console.language = "ar"
    console.open(console.demo_programs / "تحية.ترن")
    open_dialog(console, "F1")


@picture
def open_arabic(console):
    console.language = "ar"
    console.open(console.demo_programs / "تحية.ترن")
    open_dialog(console, "ctrl+o")


@picture
def close_question_arabic(console):
    console.language = "ar"
    console.open(console.demo_programs / "تحية.ترن")
    console.run()
    wait_for(lambda: "asked" in console.journal(), "the question")
    open_dialog(console, "ctrl+q")


def at_rest(path):
    """Takes pictures until two in a row are the same: the window has come to rest."""
    subprocess.run(["maim", "--hidecursor", str(path)], check=True)
    last = path.read_bytes()
    while True:
        subprocess.run(["maim", "--hidecursor", str(path)], check=True)
        if path.read_bytes() == last:
            return
        last = path.read_bytes()


def take(name, options):
    console = Console(options.console, options.interpreter, options.pictures)
    console.demo_programs = options.demo_programs
    environment = dict(os.environ)
    try:
        PICTURES[name](console)
        xdotool("mousemove", "0", "0")
        target = options.pictures / f"{name}.png"
        at_rest(target)
        if len(console.windows()) == 1:
            subprocess.run(["maim", "--hidecursor", "--window", console.window, str(target)],
                           check=True)
            end(console)
    finally:
        console.dispose()
        os.environ.clear()
        os.environ.update(environment)


def path(text):
    return pathlib.Path(text).absolute()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for option in ["--console", "--interpreter", "--demo-programs", "--pictures"]:
        parser.add_argument(option, required=True, type=path)
    parser.add_argument("names", nargs="*", metavar="NAME", help=", ".join(PICTURES))
    options = parser.parse_args()
    options.pictures.mkdir(parents=True, exist_ok=True)
    subprocess.run(["setxkbmap", "us,ara"], check=True)
    with tempfile.TemporaryDirectory(prefix="demo-") as copies:
        # The pictures show paths, and nobody should see where this copy of the project lies.
        options.demo_programs = path(
            shutil.copytree(options.demo_programs, copies, dirs_exist_ok=True))
        for name in options.names or PICTURES:
            print(name, flush=True)
            take(name, options)


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    main()
