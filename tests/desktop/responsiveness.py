"""How long a window leaves its events alone, seen from outside: the ping that window managers send
to find out whether a program still answers. Qt answers it from the event loop of the window."""

import ctypes
import ctypes.util
import pathlib
import select
import threading
import time

CLIENT_MESSAGE = 33
STRUCTURE_NOTIFY = 1 << 17
# How long the window is left in peace between two pings.
PAUSE = 0.005
PATIENCE = 120.0


class ClientMessage(ctypes.Structure):
    _fields_ = [
        ("type", ctypes.c_int),
        ("serial", ctypes.c_ulong),
        ("send_event", ctypes.c_int),
        ("display", ctypes.c_void_p),
        ("window", ctypes.c_ulong),
        ("message_type", ctypes.c_ulong),
        ("format", ctypes.c_int),
        ("data", ctypes.c_long * 5),
    ]


class Event(ctypes.Union):
    _fields_ = [("type", ctypes.c_int), ("client", ClientMessage), ("pad", ctypes.c_long * 24)]


def open_xlib():
    library = ctypes.CDLL("libX11.so.6")
    library.XOpenDisplay.restype = ctypes.c_void_p
    library.XInternAtom.restype = ctypes.c_ulong
    library.XDefaultRootWindow.restype = ctypes.c_ulong
    for name, types in {
            "XInternAtom": [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int],
            "XDefaultRootWindow": [ctypes.c_void_p],
            "XSelectInput": [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_long],
            "XSendEvent": [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_long,
                           ctypes.c_void_p],
            "XNextEvent": [ctypes.c_void_p, ctypes.c_void_p],
            "XCloseDisplay": [ctypes.c_void_p]}.items():
        getattr(library, name).argtypes = types
    for name in ["XPending", "XFlush", "XConnectionNumber"]:
        getattr(library, name).argtypes = [ctypes.c_void_p]
    return library


class Answer:
    """When a ping was sent, how long the answer took, and how much of that the thread computed."""

    def __init__(self, sent, wall, busy):
        self.sent = sent
        self.wall = wall
        self.busy = busy


class Responsiveness(threading.Thread):
    """Pings a window again and again until it is stopped; `answers` has what came back."""

    def __init__(self, window, pid):
        super().__init__(daemon=True)
        self.answers = []
        self.silent = False
        self._window = int(window)
        self._schedule = pathlib.Path(f"/proc/{pid}/task/{pid}/schedstat")
        self._stopping = threading.Event()
        self._xlib = open_xlib()
        self._display = self._xlib.XOpenDisplay(None)
        self._root = self._xlib.XDefaultRootWindow(self._display)
        self._protocols = self._xlib.XInternAtom(self._display, b"WM_PROTOCOLS", 0)
        self._ping = self._xlib.XInternAtom(self._display, b"_NET_WM_PING", 0)
        # Answers are sent to the root window.
        self._xlib.XSelectInput(self._display, self._root, STRUCTURE_NOTIFY)

    def run(self):
        number = 0
        while not self._stopping.wait(PAUSE):
            number += 1
            busy, sent = self._computed(), time.monotonic()
            self._send(number)
            if not self._receive(number, sent + PATIENCE):
                self.silent = True
                break
            self.answers.append(
                Answer(sent, time.monotonic() - sent, self._computed() - busy))
        self._xlib.XCloseDisplay(self._display)

    def stop(self):
        self._stopping.set()
        self.join()

    def _computed(self):
        """The processor time of the thread so far, in seconds."""
        return int(self._schedule.read_text().split()[0]) / 1e9

    def _send(self, number):
        event = Event()
        event.client = ClientMessage(
            type=CLIENT_MESSAGE, window=self._window, message_type=self._protocols, format=32,
            data=(ctypes.c_long * 5)(self._ping, number, self._window, 0, 0))
        self._xlib.XSendEvent(self._display, self._window, 0, 0, ctypes.byref(event))
        self._xlib.XFlush(self._display)

    def _receive(self, number, end):
        event = Event()
        while time.monotonic() < end:
            while self._xlib.XPending(self._display):
                self._xlib.XNextEvent(self._display, ctypes.byref(event))
                if (event.type == CLIENT_MESSAGE and event.client.message_type == self._protocols
                        and list(event.client.data[:3]) == [self._ping, number, self._window]):
                    return True
            select.select([self._xlib.XConnectionNumber(self._display)], [], [], 1)
        return False
