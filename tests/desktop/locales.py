#!/usr/bin/env python3
"""The console under the locales that people have, the bare one of a container among them, and
without a home: locales.py [OPTIONS] NAME. Each time it opens a file with an Arabic name, runs it,
takes an Arabic answer, shows its settings and closes.

To add a locale, add a row to LOCALES and name it in CMakeLists.txt."""

import os
import shutil
import subprocess
import sys

from desktop import (Clipboard, Console, check, press, run_and_dispose, type_line,
                     wait_for, xdotool)
from scenarios import parse_options, use_arabic_keys

# The value of LC_ALL, the source of the locale and its encoding, and the language of the window.
LOCALES = {
    "c": ("C", None, None, "ar"),
    "posix": ("POSIX", None, None, "en"),
    "unknown": ("xx_XX.UTF-8", None, None, "en"),
    "turkish": ("tr_TR.UTF-8", "tr_TR", "UTF-8", "en"),
    "egyptian": ("ar_EG.UTF-8", "ar_EG", "UTF-8", "ar"),
    "egyptian_8_bits": ("ar_EG", "ar_EG", "ISO-8859-6", "ar"),
    "persian": ("fa_IR.UTF-8", "fa_IR", "UTF-8", "ar"),
    "no_home": ("C", None, None, "ar"),
}
TITLES = {"ar": "طرفية TARN", "en": "TARN Console"}
# What others say and we cannot help. Qt says that the console's own locale is not UTF-8 and which one
# it takes instead, and the keyboard library that there is no such locale; what the console starts
# still has the user's. The font library misses a home for its cache.
NOT_OURS = ("Detected locale ", "Qt depends on a UTF-8 locale", "If this causes problems",
            "reconfigure your locale", "for more information.",
            "qt.xkb.compose: failed to create compose table",
            "Fontconfig error: No writable cache directories")
INTERPRETER = """#!/bin/sh
printf 'locale %s\\n' "$LC_ALL"
printf 'name: '
read -r name
printf 'hello %s 0123456789\\n' "$name"
exit 3
"""


def make_locale(console, name, source, encoding):
    """Compiles a locale where only this console looks for it."""
    directory = console.directory / "locales"
    directory.mkdir()
    subprocess.run(["localedef", "-i", source, "-f", encoding, str(directory / name)], check=True,
                   capture_output=True)
    console.environment["LOCPATH"] = str(directory)


def remove_home(console):
    """Neither HOME nor a folder of its own, nor the right to make one where there is none."""
    for variable in ["HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"]:
        console.environment[variable] = None
    # The window tells of its language in the preferences, which it has none of.
    console.language = "ar"
    if os.geteuid() != 0:
        return
    # The superuser could write anywhere; somebody else may not get where the build is.
    for directory in [console.directory, *console.directory.iterdir()]:
        directory.chmod(0o755)
    built = console.executable
    catalogue = console.directory / "share" / "tarn-console" / "translations"
    catalogue.mkdir(parents=True)
    shutil.copy(built.parent.parent / "translations" / "tarn_console_ar.qm", catalogue)
    (console.directory / "bin").mkdir()
    console.executable = shutil.copy(built, console.directory / "bin")
    runtime = console.directory / "runtime"
    runtime.mkdir(mode=0o700)
    os.chown(runtime, 65534, 65534)
    console.environment["XDG_RUNTIME_DIR"] = str(runtime)
    console.wrapper = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups"]


def wait_for_dialog(console):
    """Not by its title, of which xdotool reads the form for old encodings first, and gets nothing."""
    wait_for(lambda: xdotool("getactivewindow") not in ("", console.window), "a dialog to be active")


def check_settings(console):
    """The size of the font has the digits 0 to 9, whatever those of the desktop."""
    press("ctrl+shift+comma")
    wait_for_dialog(console)
    Clipboard.write("nothing copied yet")
    # From the language over the font to the size.
    press("Tab", "Tab", "ctrl+a", "ctrl+c")
    copied = wait_for(lambda: Clipboard.read() not in (None, "nothing copied yet")
                      and Clipboard.read(), "the size of the font")
    check(copied.isascii() and copied.isdigit(), f"the size of the font is {copied!r}")
    press("Escape")
    console.wait_until_active()


def choose(source, console):
    """Opens the file with the chooser, by typing its path."""
    press("ctrl+o")
    wait_for_dialog(console)
    type_line(source)
    console.wait_until_active()


def use_under(console, name):
    locale, source, encoding, console.language = LOCALES[name]
    console.environment["LC_ALL"] = locale
    console.environment["LANG"] = console.environment["LANGUAGE"] = None
    if source:
        make_locale(console, locale, source, encoding)
    console.interpreter = console.script(INTERPRETER, "interpreter")
    console.interpreter.chmod(0o755)
    programs = [console.script("", "برنامجي.ترن"), console.script("", "برنامج ثان.ترن")]
    if name == "no_home":
        remove_home(console)
    use_arabic_keys()
    console.open(programs[0])
    check(console.title() == TITLES[console.language], f"the title is {console.title()!r}")
    for program in programs:
        if program != programs[0]:
            choose(program, console)
        press("ctrl+l", "ctrl+r")
        console.wait_for_text(f"locale {locale}\n")
        console.answer("سلمى")
        console.wait_for_text("hello سلمى 0123456789\n")
        console.wait_until_idle()
    check_settings(console)
    console.quit()
    told = [line for line in console.log().splitlines()
            if line.strip() and not line.startswith(NOT_OURS)]
    check(not told, "\n".join(["the console wrote on the terminal:", *told]))


def main():
    options = parse_options(__doc__, LOCALES)
    console = Console(options.console, options.interpreter, options.pictures)
    return run_and_dispose(console, options.name, lambda: use_under(console, options.name))


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    sys.exit(main())
