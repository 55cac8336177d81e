"""Drives the built console on a real display as a user does: real keys, and what other programs see of
it (its window, its processes, the clipboard)."""

import contextlib
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

import displays

DISPLAY = displays.current()
# How long anything may take before the test gives up. Nothing ever waits this long when it works.
PATIENCE = 60.0


class Failure(Exception):
    """Something that a user would call wrong."""


def check(condition, message):
    if not condition:
        raise Failure(message)


def wait_for(condition, what, patience=PATIENCE):
    """Calls `condition` until it returns something true, and returns that."""
    end = time.monotonic() + patience
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise Failure(f"waited in vain for {what}")
        time.sleep(0.02)


xdotool = displays.X11.tool
press = DISPLAY.press


def type_line(text):
    DISPLAY.type_text(str(text))
    press("Return")


class Clipboard:
    """The clipboard, or the selection "primary", as another program sees it."""

    @staticmethod
    def read(target="text", selection="clipboard"):
        content = DISPLAY.read_clipboard(target, selection)
        return None if content is None else content.decode()

    @staticmethod
    def write(text):
        DISPLAY.write_clipboard(text)

    @staticmethod
    def formats(selection="clipboard"):
        return DISPLAY.clipboard_formats(selection)


def is_running(pid):
    """Whether the process exists and is more than an entry that waits to be collected."""
    try:
        status = pathlib.Path(f"/proc/{pid}/stat").read_text()
    except (FileNotFoundError, ProcessLookupError):
        return False
    return status.rpartition(")")[2].split()[0] not in "ZX"


def children_of(pid):
    """The living processes that `pid` has started itself."""
    children = []
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            fields = (entry / "stat").read_text().rpartition(")")[2].split()
            if int(fields[1]) == pid and fields[0] not in "ZX":
                children.append(int(entry.name))
    return children


class Console:
    """One console process with settings, scripts and a window of its own."""

    def __init__(self, executable, interpreter, pictures):
        self.executable = executable
        self.interpreter = interpreter
        self.language = "en"
        self.pictures = pictures
        # For what is not as usual: more environment (None takes a variable out), a command that
        # starts the console, what to do in its process and what to do here just before, and whether
        # there is a window manager.
        self.environment = {}
        self.wrapper = []
        self.before_start = None
        self.prepare = None
        self.managed = True
        # Whether nothing may be written on the terminal, by Qt neither.
        self.silent = False
        self.process = None
        self.source = None
        self.window = None
        self._directory = tempfile.TemporaryDirectory(prefix="tarn-desktop-")
        self.directory = pathlib.Path(self._directory.name)
        self.home = self.directory
        self._log = self.directory / "console.log"
        self._journal = self.directory / "journal"

    def script(self, source, name="script.tarn"):
        """Writes a script and returns its path."""
        path = self.directory / name
        path.write_text(source)
        return path

    def open(self, source=None):
        """Starts the console, with `source` selected, and waits for its window."""
        self.source = source
        settings = self.settings()
        settings.parent.mkdir(parents=True, exist_ok=True)
        settings.write_text(f"[General]\ninterfaceLanguage={self.language}\n")
        if self.prepare:
            self.prepare()
        command = [*self.wrapper, str(self.executable), "--tarn", str(self.interpreter)]
        command += [str(source)] if source else []
        environment = os.environ | {
            "QT_QPA_PLATFORM": DISPLAY.platform,
            "HOME": str(self.home),
            "XDG_CONFIG_HOME": str(self.home / "config"),
            "TARN_DEMO_JOURNAL": str(self._journal),
        } | self.environment
        environment = {key: value for key, value in environment.items() if value is not None}
        with self._log.open("wb") as log:
            self.process = subprocess.Popen(
                command, env=environment, cwd=self.directory, stdin=subprocess.DEVNULL,
                stdout=log, stderr=log, preexec_fn=self.before_start)
        self.window = wait_for(self._find_window, "the console's window")
        if self.managed:
            self.wait_until_active()
        else:
            DISPLAY.focus(self.window)

    def settings(self):
        return self.home / "config" / "TARN" / "TARN Console.conf"

    def activate(self):
        """Gives the window the keyboard."""
        DISPLAY.activate(self.window)

    def wait_until_active(self):
        """Until keys go to the main window, at the start or after a dialog."""
        wait_for(lambda: DISPLAY.active() == self.window, "the window to be active")

    def wait_for_dialog(self):
        """Until keys go to a dialog: it can be seen and read before."""
        wait_for(lambda: DISPLAY.active() in set(self.windows()) - {self.window},
                 "a dialog to be active")

    def windows(self):
        """The console's visible windows: the main one and its dialogs."""
        return DISPLAY.windows(self.process.pid)

    def _find_window(self):
        check(self.process.poll() is None, f"the console ended at its start:\n{self.log()}")
        windows = self.windows()
        return windows[0] if windows else None

    def title(self):
        return DISPLAY.title(self.window)

    def run(self):
        press("ctrl+r")

    def program(self):
        """The process number of a program that keeps running."""
        return wait_for(self.programs, "the program to start")[0]

    def programs(self):
        return children_of(self.process.pid)

    def wait_until_idle(self):
        wait_for(lambda: not self.programs(), "the program to end")

    def journal(self):
        """What the demo interpreter noted: when it started, asked, was answered and ended."""
        return self._journal.read_text().splitlines() if self._journal.exists() else []

    def answer(self, text):
        """Types into the program input, wherever the focus was, and sends the line."""
        press("ctrl+2")
        type_line(text)

    def transcript(self):
        """What the window shows, copied by keys and read from the clipboard by another program."""
        marker = f"nothing copied yet {time.monotonic_ns()}"
        Clipboard.write(marker)
        press("ctrl+1", "ctrl+a", "ctrl+c")
        with contextlib.suppress(Failure):
            wait_for(lambda: Clipboard.read() not in (None, marker), "a copy", patience=3)
        text = Clipboard.read()
        return "" if text == marker else text

    def wait_for_transcript(self, accepts, what):
        """Copies the transcript again and again until `accepts` likes it."""
        last = ""

        def accepted():
            nonlocal last
            last = self.transcript()
            return accepts(last)

        try:
            wait_for(accepted, what)
        except Failure as failure:
            raise Failure(f"{failure}; the transcript reads:\n{last}") from None
        return last

    def wait_for_text(self, text):
        return self.wait_for_transcript(lambda shown: text in shown, repr(text))

    def quit(self):
        """Closes the window by its keys; the console must end cleanly."""
        press("ctrl+q")
        wait_for(lambda: self.process.poll() is not None, "the console to end")
        check(self.process.returncode == 0,
              f"the console ended with {self.process.returncode}:\n{self.log()}")
        check("QProcess: Destroyed" not in self.log(), self.log())
        told = [line for line in self.log().splitlines()
                if line and not line.startswith(DISPLAY.noise)]
        check(not self.silent or not told, "\n".join(["on the terminal stands:", *told]))

    def log(self):
        return self._log.read_text(errors="replace")

    def take_picture(self, name):
        self.pictures.mkdir(parents=True, exist_ok=True)
        picture = self.pictures / f"{name}.png"
        DISPLAY.take_picture(picture)
        return picture

    def dispose(self):
        """Ends whatever a failed scenario left behind."""
        if self.process and self.process.poll() is None:
            left = self.programs()
            self.process.kill()
            self.process.wait()
            # Each program leads a group of its own.
            for pid in left:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(pid, signal.SIGKILL)
        self._directory.cleanup()


def run_and_dispose(console, name, action, explain=lambda: ""):
    """Calls action(), and says and shows what failed. Returns the exit status of the program."""
    try:
        action()
    except Failure as failure:
        print(f"FAILED: {failure}{explain()}", file=sys.stderr)
        print(f"A picture of the screen: {console.take_picture(name)}", file=sys.stderr)
        return 1
    finally:
        console.dispose()
    return 0
