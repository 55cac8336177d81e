"""A user who does everything that the window offers, with real keys and a real mouse."""

import subprocess
import time

from desktop import press, xdotool


def type_text(text):
    subprocess.run(["xdotool", "type", "--delay", "5", text], check=True)


class BusyUser:
    """Waits after each step until the window answers, so that what a step takes is not taken for
    what the next one does."""

    def __init__(self, console, chance, wait_for_answer):
        self.console = console
        self.chance = chance
        self.wait_for_answer = wait_for_answer
        # What was begun, and when.
        self.actions = []

    def note(self, name):
        self.actions.append((time.monotonic(), name))

    def do_everything(self):
        """Each action once, in any order."""
        names = [name for name in dir(self) if name.startswith("act_")]
        self.chance.shuffle(names)
        for name in names:
            self.note(name.removeprefix("act_"))
            getattr(self, name)()
            self.wait_for_answer()

    def press(self, *keys):
        for key in keys:
            press(key)
            self.wait_for_answer()

    def _mouse(self, *steps):
        subprocess.run(["xdotool", *[str(word) for step in steps for word in step]], check=True)
        self.wait_for_answer()

    def _place(self, lowest=190):
        """Moves the mouse somewhere over the transcript, which is low in a small window."""
        x, y = self.chance.randint(100, 600), self.chance.randint(155, lowest)
        return ["mousemove", "--window", self.console.window, x, y]

    def act_resize(self):
        for _ in range(5):
            xdotool("windowsize", self.console.window, str(self.chance.randint(800, 1200)),
                    str(self.chance.randint(500, 800)))

    def act_zoom_by_keys(self):
        self.press("ctrl+plus", "ctrl+plus", "ctrl+minus", "ctrl+minus", "ctrl+minus", "ctrl+0")

    def act_zoom_by_wheel(self):
        self._mouse(self._place(), ["keydown", "ctrl"], ["click", 4], ["click", 5],
                    ["keyup", "ctrl"])

    def act_language(self):
        self.press("ctrl+shift+7", "ctrl+shift+8")

    def act_direction(self):
        self.press("ctrl+shift+3", "ctrl+shift+2", "ctrl+shift+1")

    def act_find(self):
        self.press("ctrl+f")
        type_text(self.chance.choice(["4711", "is not there"]))
        self.press("Return", "Return", "Return")

    def act_select_by_keys(self):
        self.press("ctrl+1", "ctrl+End", "shift+Prior", "shift+Prior", "shift+Right")

    def act_select_by_mouse(self):
        self._mouse(self._place(), ["mousedown", 1], self._place(400), self._place(400),
                    ["mouseup", 1])

    def act_select_a_line(self):
        self._mouse(self._place(), ["click", "--repeat", 3, "--delay", 30, 1])

    def act_copy_all(self):
        self.press("ctrl+1", "ctrl+a", "ctrl+c")

    def act_scroll(self):
        self.press("ctrl+1", "ctrl+Home", "Next", "Next", "ctrl+End", "Prior")
        self._mouse(self._place(), ["click", "--repeat", 5, "--delay", 5, 4],
                    ["click", "--repeat", 9, "--delay", 5, 5])

    def act_answer(self):
        self.press("ctrl+2")
        type_text("draft")
        self.press("Return")

    def act_settings(self):
        self.press("ctrl+shift+comma")
        self.console.wait_for_dialog()
        self.press("Escape")
        self.console.wait_until_active()
