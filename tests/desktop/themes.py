#!/usr/bin/env python3
"""Takes pictures of the console under other styles than Qt's own: themes.py [OPTIONS] THEME LANGUAGE.
They are for people to look at; what fails here is a console that cannot be used by keys under a theme."""

import argparse
import os
import sys

from desktop import DISPLAY, Console, check, press, run_and_dispose, wait_for
from scenarios import path

THEMES = {
    "fusion": {},
    "adwaita": {"QT_STYLE_OVERRIDE": "adwaita"},
    "adwaita-dark": {"QT_STYLE_OVERRIDE": "adwaita-dark"},
    "gtk": {"QT_QPA_PLATFORMTHEME": "gtk3", "GTK_THEME": "Adwaita"},
    "gtk-dark": {"QT_QPA_PLATFORMTHEME": "gtk3", "GTK_THEME": "Adwaita:dark"},
}
PROGRAMS = {"en": ("greeting.tarn", "Sam"), "ar": ("تحية.ترن", "سلمى")}


def other_window(console):
    """A dialog, of the console or of the desktop, that has the keyboard."""
    wait_for(lambda: DISPLAY.active() not in ("", console.window), "a dialog to be active")


class Album:
    """Pictures of one console, in one folder."""

    def __init__(self, console, prefix):
        self._console = console
        self._prefix = prefix

    def take(self, name):
        """The picture, once two in a row are the same: what moves has come to rest."""
        wait_for(lambda: self._take(name) == self._take(name), "the picture to come to rest")
        return self._take(name)

    def _take(self, name):
        return self._console.take_picture(f"{self._prefix}-{name}").read_bytes()


def show(console, theme, language):
    album = Album(console, f"{theme}-{language}")
    DISPLAY.use_arabic_keys()
    source, answer = PROGRAMS[language]
    console.language = language
    console.environment |= THEMES[theme]
    console.open(console.demo_programs / source)
    press("ctrl+o")
    other_window(console)
    album.take("chooser")
    press("Escape")
    console.wait_until_active()
    press("ctrl+shift+comma")
    other_window(console)
    album.take("settings")
    press("Escape")
    console.wait_until_active()
    console.run()
    console.wait_for_text("?" if language == "en" else "؟")
    console.answer(answer)
    wait_for(lambda: console.journal().count("asked") == 2, "the second question")
    press("ctrl+f", "a", "Return")
    before = album.take("running")
    press("Alt_L", "Down")
    check(album.take("menu") != before, "the menus cannot be reached by keys")
    press("Escape", "Escape")
    # Asks first, because the program runs.
    press("alt+F4")
    other_window(console)
    album.take("question")
    press("Escape")
    console.wait_until_active()
    press("ctrl+period")
    console.wait_until_idle()
    press("alt+F4")
    wait_for(lambda: console.process.poll() is not None, "the console to end")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ["console", "interpreter", "demo-programs", "pictures"]:
        parser.add_argument(f"--{name}", required=True, type=path)
    parser.add_argument("theme", choices=THEMES)
    parser.add_argument("language", choices=PROGRAMS)
    options = parser.parse_args()
    console = Console(options.console, options.interpreter, options.pictures)
    console.demo_programs = options.demo_programs
    return run_and_dispose(console, f"{options.theme}-{options.language}-failed",
                           lambda: show(console, options.theme, options.language),
                           lambda: f"\n{console.log()}")


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    sys.exit(main())
