"""A pointer for a Wayland compositor of the wlroots family, which has none of its own without a mouse.
It speaks the protocol itself, because Debian 12 has no program for it, and the pointer has to stay for
as long as a button is held."""

import os
import socket
import struct
import time

DISPLAY = 1
LEFT_BUTTON = 0x110
INTERFACE = "zwlr_virtual_pointer_manager_v1"


def words(*numbers):
    return struct.pack(f"={len(numbers)}I", *numbers)


def string(text):
    content = text.encode() + b"\0"
    return words(len(content)) + content.ljust(-len(content) % 4 + len(content), b"\0")


class VirtualPointer:
    """At places on a screen of this size."""

    def __init__(self, width, height):
        self._size = (width, height)
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(os.environ["WAYLAND_DISPLAY"])
        self._newest = DISPLAY
        self._global = None
        self._registry = self._new_object()
        self._send(DISPLAY, 1, words(self._registry))
        self._wait()
        if self._global is None:
            raise OSError(f"the compositor has no {INTERFACE}")
        manager = self._new_object()
        self._send(self._registry, 0, words(self._global) + string(INTERFACE) + words(1, manager))
        self._pointer = self._new_object()
        self._send(manager, 0, words(0, self._pointer))
        self._wait()

    def move(self, x, y):
        self._send(self._pointer, 1, words(self._now(), round(x), round(y), *self._size))
        self._end_of_frame()

    def press(self, down):
        self._send(self._pointer, 2, words(self._now(), LEFT_BUTTON, int(down)))
        self._end_of_frame()

    def _end_of_frame(self):
        self._send(self._pointer, 4, b"")
        self._wait()

    def _new_object(self):
        """Numbers are given in turn."""
        self._newest += 1
        return self._newest

    @staticmethod
    def _now():
        return int(time.monotonic() * 1000) & 0xFFFFFFFF

    def _send(self, receiver, request, arguments):
        self._socket.sendall(words(receiver, (8 + len(arguments)) << 16 | request) + arguments)

    def _wait(self):
        """Until the compositor has done all that it was asked."""
        callback = self._new_object()
        self._send(DISPLAY, 0, words(callback))
        while True:
            sender, event, arguments = self._read()
            if sender == callback:
                return
            if (sender, event) == (DISPLAY, 0):
                raise OSError(f"the compositor refuses: {arguments[12:]}")
            if (sender, event) == (self._registry, 0):
                name, length = struct.unpack_from("=2I", arguments)
                if arguments[8:8 + length - 1].decode() == INTERFACE:
                    self._global = name

    def _read(self):
        sender, size_and_event = struct.unpack("=2I", self._receive(8))
        return sender, size_and_event & 0xFFFF, self._receive((size_and_event >> 16) - 8)

    def _receive(self, count):
        content = b""
        while len(content) < count:
            more = self._socket.recv(count - len(content))
            if not more:
                raise OSError("the compositor has gone")
            content += more
        return content
