#!/usr/bin/env python3
"""The console at its limits while somebody uses everything at once: both streams flood, the
transcript gets full, and real keys and a real mouse resize, zoom, switch the language and the
direction, find, select, copy, scroll and type.

Each round does everything under the flood and again on the full transcript. Fails when the console
crashes, says anything, stops answering, shows the wrong text, leaves a program behind, or takes
more memory than it may. How long it was busy at a time is reported, and with --stalls a failure."""

import argparse
import pathlib
import random
import sys
import time

from busyuser import BusyUser
from desktop import Console, check, run_and_dispose, wait_for
from responsiveness import Responsiveness

# Nearly all that the transcript takes at once, and the rest in some seconds.
FLOOD = "7600000 150000"
PLAIN_FILL = "8000000 0"
# How much longer than the longest turn of a plain fill nothing may keep the window from answering.
STALL_FACTOR = 3
# A switch of the direction formats every paragraph anew, a zoom step finds all heights anew. They may
# take half of what a plain text widget takes to show such a text, which is seven of those turns, and
# a refresh comes with them.
EVERYTHING_FACTOR = 4.5
EVERYTHING = ("direction", "zoom")


class Soak:
    def __init__(self, console, seed):
        self.console = console
        self.ping = Responsiveness(console.window, console.process.pid)
        self.user = BusyUser(console, random.Random(seed), self.wait_for_answer)
        self.status = pathlib.Path(f"/proc/{console.process.pid}/status")
        # The most memory of each round, in MiB, and the longest turn of each plain fill, in ms.
        self.peaks = []
        self.plain_turns = []

    def begin_peak(self):
        pathlib.Path(f"/proc/{self.console.process.pid}/clear_refs").write_text("5")

    def memory(self, field):
        values = dict(line.split(":", 1) for line in self.status.read_text().splitlines())
        return int(values[field].split()[0]) / 1024

    def run(self, flood, name):
        self.console.source.write_text(flood)
        self.user.note(name)
        self.console.run()

    def clear(self):
        self.user.note("clear")
        self.user.press("ctrl+l")

    def fill_plainly(self):
        """The transcript fills and nobody does anything: what all else is compared with."""
        self.clear()
        begin = len(self.ping.answers)
        self.run(PLAIN_FILL, "plain fill")
        self.console.program()
        self.console.wait_until_idle()
        self.wait_for_answer()
        self.plain_turns.append(max(answer.busy for answer in self.ping.answers[begin:]) * 1000)

    def round(self):
        self.begin_peak()
        self.clear()
        self.run(FLOOD, "run")
        self.console.program()
        self.user.do_everything()
        self.user.note("limit")
        self.console.wait_until_idle()
        self.user.do_everything()
        # One more program has nowhere to write, and is stopped at once.
        self.run(FLOOD, "run when full")
        self.console.wait_until_idle()
        self.check_transcript()
        self.peaks.append(self.memory("VmHWM"))

    def wait_for_answer(self):
        """Until two pings in a row are answered: the first answer can overtake the keys that were
        pressed just before."""
        now = time.monotonic()

        def answered():
            check(self.console.process.poll() is None, f"the console ended:\n{self.console.log()}")
            check(not self.ping.silent, "the window does not answer any more")
            return len(self.ping.answers) > 1 and self.ping.answers[-2].sent > now

        wait_for(answered, "an answer")

    def check_transcript(self):
        self.user.note("copy for another program")
        shown = self.console.wait_for_transcript(
            lambda text: len(text) > 5_000_000, "a full transcript")
        for text in ["\n3 \\u{001B}[31mcolour", "\n1 سطر", "\\u{202E}reversed", "<b>bold</b> &amp;"]:
            check(text in shown, f"there is no {text!r}")
        check(self.console.title() == "TARN Console", "the interface has changed its language")

    def check_memory(self, allowed):
        check(max(self.peaks) <= allowed, f"{max(self.peaks):.0f} MiB, and not {allowed:.0f}")

    def stalls(self):
        """The longest busy and waiting times by action, in milliseconds."""
        actions, longest, index = self.user.actions, {}, 0
        for answer in self.ping.answers:
            end = answer.sent + answer.wall
            while index + 1 < len(actions) and actions[index + 1][0] < end:
                index += 1
            name = actions[index][1]
            busy, wall = longest.get(name, (0, 0))
            longest[name] = (max(busy, answer.busy * 1000), max(wall, answer.wall * 1000))
        return longest

    def report(self):
        print(f"{len(self.ping.answers)} pings answered, {len(self.user.actions)} actions")
        print(f"memory of each round at most, in MiB: {' '.join(f'{p:.0f}' for p in self.peaks)}")
        print("the longest turn of each plain fill, in ms: "
              + " ".join(f"{turn:.0f}" for turn in self.plain_turns))
        print("busy ms, ms until the answer, by what was done last:")
        stalls = sorted(self.stalls().items(), key=lambda item: -item[1][0])
        for name, (busy, wall) in stalls:
            print(f"{busy:8.0f} {wall:8.0f}  {name}")


def parse_options():
    def path(text):
        return pathlib.Path(text).absolute()

    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--console", required=True, type=path, help="the tarn-console to use")
    parser.add_argument("--pictures", required=True, type=path,
                        help="where to put pictures of failures")
    parser.add_argument("--minutes", type=float, default=0,
                        help="rounds are begun for so long (default: one round)")
    parser.add_argument("--memory", type=float, required=True, help="the most MiB it may take")
    parser.add_argument("--stalls", action="store_true", help="fail when something took too long")
    parser.add_argument("--seed", type=int, default=1)
    return parser.parse_args()


def soak(console, options):
    console.open(console.script("0 0"))
    run = Soak(console, options.seed)
    run.ping.start()
    end = time.monotonic() + options.minutes * 60
    try:
        if options.minutes:
            for _ in range(3):
                run.fill_plainly()
        run.round()
        while time.monotonic() < end:
            run.round()
            print(f"{run.memory('VmRSS'):.0f} MiB after round {len(run.peaks)}", flush=True)
    finally:
        run.ping.stop()
        run.report()
    run.check_memory(options.memory)
    # The console says nothing, and ends in order.
    console.quit()
    check(not console.log(), console.log())
    if options.stalls:
        for name, (busy, _) in run.stalls().items():
            factor = EVERYTHING_FACTOR if name.startswith(EVERYTHING) else STALL_FACTOR
            allowed = factor * max(run.plain_turns)
            check(busy <= allowed, f"busy for {busy:.0f} ms after {name!r}, and not {allowed:.0f}")


def main():
    options = parse_options()
    interpreter = pathlib.Path(__file__).with_name("flood.py").absolute()
    console = Console(options.console, interpreter, options.pictures)
    return run_and_dispose(console, "soak", lambda: soak(console, options))


if __name__ == "__main__":
    sys.exit(main())
