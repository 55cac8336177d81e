"""The two kinds of display on which the scenarios play, with one interface: keys, pointer, windows and
clipboard, always through other programs and never through the console. An X server is driven by
xdotool and xclip; the Wayland compositor sway by its own messages, wtype, wl-clipboard and
a pointer of our own."""

import json
import os
import subprocess

from virtualpointer import VirtualPointer


def output_of(*command, **options):
    """The output of a command, or None when it fails."""
    result = subprocess.run(command, capture_output=True, check=False, **options)
    return result.stdout if result.returncode == 0 else None


def give(text, *command):
    """Runs a command that keeps the text for others; it must not keep our pipes."""
    subprocess.run(command, input=text.encode(), stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, check=True)


class X11:
    """The X server of scripts/virtual-display.sh."""

    name = "x11"
    platform = "xcb"
    noise = ()
    # What Qt enlarges windows by, because an X server does not.
    scale = 1.0
    # As xdotool is to be told of them: with the key map of Debian's next it takes F1 for Alt+F1.
    function_keys = {f"F{number}": str(66 + number) for number in range(1, 11)} | {
        "F11": "95", "F12": "96"}

    @staticmethod
    def tool(*arguments):
        """The output of an xdotool command, or nothing when it fails."""
        return (output_of("xdotool", *arguments) or b"").decode().strip()

    @classmethod
    def press(cls, *keys):
        names = ["+".join(cls.function_keys.get(name, name) for name in key.split("+"))
                 for key in keys]
        subprocess.run(["xdotool", "key", "--delay", "20", *names], check=True)

    @staticmethod
    def type_text(text):
        subprocess.run(["xdotool", "type", "--delay", "20", "--", text], check=True)

    @staticmethod
    def use_arabic_keys():
        """Gives the keyboard Arabic letters beside the Latin ones, as a user of both has them."""
        subprocess.run(["setxkbmap", "us,ara"], check=True)

    @staticmethod
    def pointer(window, x, y, *more):
        """Moves to a place in the window, then presses ("down") or releases ("up") the button. The
        place is in the pixels of a window at scale 1."""
        place = [str(round(number * X11.scale)) for number in (x, y)]
        subprocess.run(["xdotool", "mousemove", "--window", window, *place], check=True)
        for action in more:
            subprocess.run(["xdotool", f"mouse{action}", "1"], check=True)

    @staticmethod
    def read_clipboard(target, selection):
        if target == "text":
            target = "UTF8_STRING"
        return output_of("xclip", "-selection", selection, "-out", "-target", target)

    @classmethod
    def clipboard_formats(cls, selection):
        return (cls.read_clipboard("TARGETS", selection) or b"").decode().split()

    @staticmethod
    def write_clipboard(text):
        give(text, "xclip", "-selection", "clipboard", "-in")

    @classmethod
    def windows(cls, pid):
        return cls.tool("search", "--all", "--onlyvisible", "--pid", str(pid), "--name", ".").split()

    @classmethod
    def active(cls):
        return cls.tool("getactivewindow")

    @classmethod
    def activate(cls, window):
        cls.tool("windowactivate", "--sync", window)

    @classmethod
    def focus(cls, window):
        """The same where there is no window manager."""
        cls.tool("windowfocus", "--sync", window)

    @classmethod
    def move(cls, window, x, y):
        place = [str(round(number * cls.scale)) for number in (x, y)]
        cls.tool("windowmove", window, *place)

    @classmethod
    def title(cls, window):
        return cls.tool("getwindowname", window)

    @classmethod
    def has_identity(cls, window, entry):
        """Whether docks would find this desktop entry by the window."""
        found = cls.tool("search", "--onlyvisible", "--class", f"^{entry['StartupWMClass']}$")
        return window in found.split()

    @staticmethod
    def take_picture(path):
        subprocess.run(["maim", str(path)], check=False)


class Sway:
    """The compositor of scripts/wayland-display.sh --keys."""

    name = "wayland"
    platform = "wayland"
    # The size that wayland-display.sh gives it.
    screen = (1280, 900)
    mouse = None
    # The keyboard of wtype is new each time, and what comes with it may cost the first keys.
    settle = ["-s", "300", "-d", "20"]
    # What Qt says of a keyboard that goes while the window has it, as that of wtype does.
    noise = ("qt.qpa.wayland: Ignoring unexpected wl_keyboard.leave event.",)

    @classmethod
    def press(cls, *keys):
        words = []
        for key in keys:
            *held, last = key.split("+")
            words += [word for name in held for word in ("-M", name)]
            words += ["-s", "20", "-k", last, "-s", "20"]
            words += [word for name in reversed(held) for word in ("-m", name)]
        subprocess.run(["wtype", *cls.settle, *words], check=True)

    @classmethod
    def type_text(cls, text):
        subprocess.run(["wtype", *cls.settle, "--", text], check=True)

    @staticmethod
    def use_arabic_keys():
        """Its keyboard has the letters that it is asked for."""

    @staticmethod
    def command(*words):
        return output_of("swaymsg", "--", " ".join(words))

    @classmethod
    def nodes(cls):
        """All windows, as sway describes them."""
        def under(node):
            for child in node["nodes"] + node["floating_nodes"]:
                yield child
                yield from under(child)

        tree = json.loads(output_of("swaymsg", "--raw", "--type", "get_tree") or b"null")
        return [node for node in under(tree) if node.get("pid")] if tree else []

    @classmethod
    def node(cls, window):
        return next((node for node in cls.nodes() if str(node["id"]) == window), None)

    @classmethod
    def pointer(cls, window, x, y, *more):
        node = cls.node(window)
        # The window's surface begins where its decoration ends.
        left = node["rect"]["x"] + node["window_rect"]["x"]
        top = node["rect"]["y"] + node["window_rect"]["y"]
        cls.mouse.move(left + x, top + y)
        for action in more:
            cls.mouse.press(action == "down")

    @staticmethod
    def read_clipboard(target, selection):
        primary = ["--primary"] if selection == "primary" else []
        kind = ["--type", "text/plain;charset=utf-8"] if target == "text" else ["--type", target]
        return output_of("wl-paste", "--no-newline", *primary, *kind)

    @staticmethod
    def clipboard_formats(selection):
        primary = ["--primary"] if selection == "primary" else []
        return (output_of("wl-paste", "--list-types", *primary) or b"").decode().split("\n")

    @staticmethod
    def write_clipboard(text):
        give(text, "wl-copy")

    @classmethod
    def windows(cls, pid):
        return [str(node["id"]) for node in cls.nodes() if node["pid"] == pid and node["visible"]]

    @classmethod
    def active(cls):
        return next((str(node["id"]) for node in cls.nodes() if node["focused"]), "")

    @classmethod
    def activate(cls, window):
        cls.command(f"[con_id={window}] focus")

    focus = activate

    @classmethod
    def move(cls, window, x, y):
        cls.command(f"[con_id={window}] move absolute position {x} {y}")

    @classmethod
    def title(cls, window):
        node = cls.node(window)
        return node["name"] if node else ""

    @classmethod
    def has_identity(cls, window, entry):
        """Whether docks would find this desktop entry by the window."""
        return cls.node(window)["app_id"] == entry["file"].removesuffix(".desktop")

    @staticmethod
    def take_picture(path):
        subprocess.run(["grim", str(path)], check=False)


def current():
    """The display that the environment names."""
    if "SWAYSOCK" not in os.environ:
        return X11
    # A client that is there before the pointer may miss what it does first.
    Sway.mouse = VirtualPointer(*Sway.screen)
    Sway.mouse.move(*Sway.screen)
    return Sway
