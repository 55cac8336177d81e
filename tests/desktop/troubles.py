#!/usr/bin/env python3
"""Surroundings in which something is missing or broken: troubles.py [OPTIONS] NAME. Each time the
console starts, runs a program and closes; what it cannot do must cost nothing else.

To add one, write a function here whose only parameter is the console, mark it with @trouble and
name it in CMakeLists.txt."""

import contextlib
import os
import pathlib
import resource
import shutil
import signal
import subprocess
import sys

from desktop import (Clipboard, Console, check, is_running, press, run_and_dispose,
                     type_line, wait_for)
from responsiveness import Responsiveness
from scenarios import parse_options

TROUBLES = {}
ASK = "ask name: -> name\nprint hello {name}\n"


def trouble(function):
    TROUBLES[function.__name__] = function
    return function


def use(console):
    """Runs a program, answers it, reads what it says, and closes the console."""
    console.run()
    console.wait_for_text("name:")
    console.answer("you")
    console.wait_for_text("hello you")
    console.wait_until_idle()
    console.quit()


def without_superuser_rights():
    """The command by which the superuser is refused what the permissions of a file refuse."""
    if os.geteuid() != 0:
        return []
    rights = "-dac_override,-dac_read_search"
    return ["setpriv", "--bounding-set", rights, "--inh-caps", rights]


def font_configuration(console, *directories):
    """Fonts from these directories only."""
    configuration = console.directory / "fonts.conf"
    listed = "".join(f"<dir>{directory}</dir>" for directory in directories)
    configuration.write_text(
        '<?xml version="1.0"?><!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">'
        f"<fontconfig>{listed}<cachedir>{console.directory}/fonts</cachedir></fontconfig>")
    console.environment["FONTCONFIG_FILE"] = str(configuration)


@trouble
def full_disk(console):
    """No file can grow while the preferences are saved; what was saved before stays."""
    def no_space():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0))

    # Nor could the journal of the demo interpreter.
    console.environment["TARN_DEMO_JOURNAL"] = os.devnull
    console.before_start = no_space
    console.open(console.script(ASK))
    before = console.settings().read_text()
    press("ctrl+shift+7")
    wait_for(lambda: console.title() == "طرفية TARN", "the Arabic interface")
    press("ctrl+shift+8")
    wait_for(lambda: console.title() == "TARN Console", "the English interface")
    use(console)
    check(console.settings().read_text() == before, "the preferences are damaged")


@trouble
def read_only_home(console):
    console.wrapper = without_superuser_rights()
    source = console.script(ASK)

    def protect():
        for directory in [console.settings().parent, console.settings().parent.parent]:
            directory.chmod(0o500)
        console.settings().chmod(0o400)

    console.prepare = protect
    console.open(source)
    before = console.settings().read_text()
    press("ctrl+shift+7")
    wait_for(lambda: console.title() == "طرفية TARN", "the Arabic interface")
    press("ctrl+shift+8")
    use(console)
    check(console.settings().read_text() == before, "the preferences have changed")
    check(os.listdir(console.settings().parent) == [console.settings().name], "files are left")


@trouble
def names_that_are_not_utf8(console):
    """A program whose name and folder are bytes of another encoding: opened by a relative path,
    and started with these bytes."""
    note = console.directory / "note"
    console.interpreter = console.script(
        f"#!/bin/sh\nprintf '%s\\n' \"$PWD\" \"$@\" >'{note}'\necho ready\nread answer\n", "interpreter")
    console.interpreter.chmod(0o755)
    folder = console.directory / os.fsdecode(b"fold\xe9r")
    folder.mkdir()
    name = os.fsdecode(b"caf\xe9\xff.tarn")
    (folder / name).write_text("")
    console.open(pathlib.Path(folder.name) / name)
    console.run()
    console.wait_for_text("ready")
    lines = note.read_bytes().splitlines()
    path = os.fsencode(folder / name)
    check(lines[:3] == [os.path.dirname(path), b"run", path], f"started with {lines}")
    console.answer("")
    console.wait_until_idle()
    console.quit()


@trouble
def no_fonts(console):
    empty = console.directory / "no fonts"
    empty.mkdir()
    font_configuration(console, empty)
    console.open(console.script(ASK))
    use(console)


@trouble
def unreadable_fonts(console):
    """One font that may not be read, and one that is none."""
    fonts = console.directory / "bad fonts"
    fonts.mkdir()
    (fonts / "forbidden.ttf").write_bytes(b"\0\1\0\0")
    (fonts / "forbidden.ttf").chmod(0)
    (fonts / "broken.ttf").write_bytes(b"\0\1\0\0" + b"\xff" * 10000)
    console.wrapper = without_superuser_rights()
    font_configuration(console, fonts, "/usr/share/fonts")
    console.open(console.script(ASK))
    use(console)


@trouble
def clipboard_owner_gone(console):
    """Who had the clipboard has ended; there is nothing to paste, and nobody waits for it."""
    console.open(console.script(ASK))
    console.run()
    console.wait_for_text("name:")
    with subprocess.Popen(["xclip", "-selection", "clipboard", "-in", "-quiet"],
                          stdin=subprocess.PIPE, stderr=subprocess.DEVNULL) as owner:
        owner.stdin.write(b"lost")
        owner.stdin.close()
        wait_for(lambda: Clipboard.read() == "lost", "the clipboard")
        owner.kill()
    wait_for(lambda: Clipboard.read() is None, "the clipboard to be empty")
    press("ctrl+2", "ctrl+v")
    type_line("you")
    # Reading the transcript writes on the clipboard: what was pasted has to be pasted by then.
    console.wait_until_idle()
    console.wait_for_text("hello you")
    console.quit()


@trouble
def clipboard_owner_silent(console):
    """Who has the clipboard is alive and never answers, as a program can do on purpose: everything
    but a paste goes on as if nothing were. Qt would wait for 5 seconds, and for each question anew."""
    with silent_clipboard_owner():
        console.open(console.script(ASK))
        pings = Responsiveness(console.window, console.process.pid)
        pings.start()
        console.run()
        wait_for(lambda: console.journal()[-1:] == ["asked"], "the question")
        press("ctrl+2")
        type_line("you")
        wait_for(lambda: not console.programs(), "the program to end")
        console.run()
        wait_for(console.programs, "the program to start")
        press("ctrl+period")
        wait_for(lambda: not console.programs(), "the program to be stopped")
        # With a paste that nobody answers, and the menu that offers it.
        console.run()
        wait_for(console.programs, "the program to start")
        press("ctrl+2", "ctrl+v", "Menu")

        def stopped():
            # On a busy machine the menu may open only after the key that closes it.
            press("Escape", "ctrl+period")
            return not console.programs()

        wait_for(stopped, "the program to be stopped")
        pings.stop()
        slowest = max(answer.wall for answer in pings.answers)
        print(f"the window was busy for {1000 * slowest:.0f} ms at most")
        check(slowest < 4, f"the window was busy for {slowest:.1f} s")
        console.quit()


@contextlib.contextmanager
def silent_clipboard_owner():
    with subprocess.Popen(["xclip", "-selection", "clipboard", "-in", "-quiet"],
                          stdin=subprocess.PIPE, stderr=subprocess.DEVNULL) as owner:
        owner.stdin.write(b"never given")
        owner.stdin.close()
        wait_for(lambda: Clipboard.read() == "never given", "the clipboard")
        owner.send_signal(signal.SIGSTOP)
        try:
            yield
        finally:
            owner.kill()


@trouble
def megabytes_on_the_clipboard(console):
    """More than a line may have is not pasted, and the draft stays as it was."""
    console.open(console.script(ASK))
    console.run()
    console.wait_for_text("name:")
    Clipboard.write("x" * 5_000_000)
    press("ctrl+2", "y", "ctrl+v", "o", "u", "Return")
    # Reading the transcript writes on the clipboard: what was pasted has to be pasted by then.
    console.wait_until_idle()
    console.wait_for_text("hello you")
    console.quit()


@trouble
def installed_without_catalogue(console):
    """An installed console has English texts rather than the catalogue of the folder in which it
    was built, which may be somebody else's by now."""
    built, system = console.executable, pathlib.Path("/usr/share/tarn-console/translations")
    console.language = "ar"
    console.open(console.script(ASK))
    check(console.title() == "طرفية TARN", f"the title is {console.title()!r}")
    console.quit()
    installed = console.directory / "prefix" / "bin"
    installed.mkdir(parents=True)
    console.executable = shutil.copy(built, installed)
    console.open(console.script(ASK))
    if not system.exists():
        check(console.title() == "TARN Console", f"the title is {console.title()!r}")
    catalogue = installed.parent / "share" / "tarn-console" / "translations"
    catalogue.mkdir(parents=True)
    shutil.copy(built.parent.parent / "translations" / "tarn_console_ar.qm", catalogue)
    press("ctrl+shift+7")
    wait_for(lambda: console.title() == "طرفية TARN", "the Arabic interface")
    console.quit()


@contextlib.contextmanager
def bare_server(console):
    """An X server with nobody else on it, not even a window manager."""
    log = console.directory / "server.log"
    reading, writing = os.pipe()
    with log.open("wb") as output:
        server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writing), "-noreset", "-nolisten", "tcp"],
            pass_fds=[writing], stdout=output, stderr=output)
    os.close(writing)
    with os.fdopen(reading) as number:
        os.environ["DISPLAY"] = f":{number.readline().strip()}"
    console.managed = False
    try:
        yield server
    finally:
        server.kill()
        server.wait()


@trouble
def no_window_manager(console):
    with bare_server(console):
        console.open(console.script(ASK))
        use(console)


@trouble
def lost_server(console):
    """The X server dies while a program runs that ignores polite requests, and so does its child."""
    interpreter = console.script(
        "#!/bin/sh\n"
        "trap '' TERM HUP\n"
        "sleep 1000 &\n"
        f"echo $! >{console.directory}/child\n"
        "wait\n", "stubborn")
    interpreter.chmod(0o755)
    console.interpreter = interpreter
    with bare_server(console) as server:
        console.open(console.script("", "any.tarn"))
        console.run()
        program = console.program()
        note = console.directory / "child"
        child = int(wait_for(lambda: note.exists() and note.read_text().strip(), "the child"))
        server.kill()
        wait_for(lambda: console.process.poll() is not None, "the console to end")
        for pid in [program, child]:
            wait_for(lambda: not is_running(pid), f"process {pid} to end")
    check(console.process.returncode == 1, f"the console ended with {console.process.returncode}")


def main():
    options = parse_options(__doc__, TROUBLES)
    console = Console(options.console, options.interpreter, options.pictures)
    return run_and_dispose(console, options.name, lambda: TROUBLES[options.name](console))


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    sys.exit(main())
