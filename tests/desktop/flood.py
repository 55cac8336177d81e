#!/usr/bin/env python3
"""Stands in for the interpreter: floods both streams at once. The source has two numbers: how many
bytes to write as fast as possible, and how many in a second from then on (0: none)."""

import os
import sys
import threading
import time

LINES = [
    "a line of the program that says nothing in particular, but says it again and again",
    "سطر من البرنامج لا يقول شيئا محددا ولكنه يقوله مرة بعد مرة",
    "both معا in one line في سطر واحد 12,5 % (really)",
    "\033[31mcolour\033[0m \u202ereversed\u202c <b>bold</b> &amp;",
    "a long line of many words " + "and then some " * 100,
]


def write_all(descriptor, text):
    block = text.encode()
    while block:
        block = block[os.write(descriptor, block):]
    return len(text.encode())


def lines(start, count):
    """Mostly short ones."""
    return "".join(f"{number} {LINES[number % 5 if number % 50 < 5 else 0]}\n"
                   for number in range(start, start + count))


def flood(descriptor, fast, rate):
    written = number = 0
    while written < fast:
        written += write_all(descriptor, lines(number, 500))
        number += 500
    while rate:
        pause = write_all(descriptor, lines(number, 10)) / rate
        number += 10
        time.sleep(pause)


def main():
    with open(sys.argv[2]) as source:
        fast, rate = (int(number) for number in source.read().split())
    threads = [threading.Thread(target=flood, args=(descriptor, fast // 2, rate // 2))
               for descriptor in (1, 2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()


if __name__ == "__main__":
    main()
