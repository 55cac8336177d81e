#!/usr/bin/env python3
"""Plays a run of the built console again and again; each time a call of the C library fails, and
what the console makes of it is judged. The first two plays fail nothing: they tell which calls there
are. See docs/testing.md; scripts/torture.sh builds what this needs."""

import argparse
import collections
import contextlib
import ctypes
import dataclasses
import multiprocessing
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

# A play takes 1.5 s, and 20 when the player has waited in vain for everything.
PATIENCE = 60.0
# Until what the console has left to die is dead.
LAST_BREATH = 5.0
# From Stop to the outcome, in milliseconds: the longest that the session ever waits with the kill,
# and until a program is called one that cannot be killed.
KILL_DEADLINE = 7500

STUCK = 1000
PR_SET_CHILD_SUBREAPER = 36

OLD_PLACE = "/old/place"
OLD = {"interfaceLanguage": "ar", "fontFamily": "Noto Sans", "fontPointSize": "12",
       "lastSourceDirectory": OLD_PLACE, "tarnExecutable": "/old/tarn",
       "windowGeometry": "@ByteArray()"}
FOREIGN = "\n[Foreign]\nkey=kept\n"
# How the two runs end when nothing fails.
USUAL = ["Returned status 3", "Program stopped by user"]
# Said in place of a run.
REFUSALS = ("Selected source is missing or unreadable: ", "TARN executable is unavailable. ")
# Kinds without which nobody can hear of the end of a program, or end it, when all their calls fail:
# then there is no outcome, and the window can be closed all the same.
DEAF = ("poll", "wait", "kill")
# Their plays are mostly waiting in vain.
SLOW = ("poll", "wait", "kill", "read")
# Of each part of the play: which allocation fails.
ALLOCATIONS = (1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000)


@dataclasses.dataclass(frozen=True)
class Plan:
    """Which call fails, and how."""
    kind: str
    scope: str = "console"
    site: str = "0"
    number: int = 1
    mode: str = "once"
    way: str = ""

    def text(self):
        return f"{self.kind} {self.scope} {self.site} {self.number} {self.mode}"


@dataclasses.dataclass
class Play:
    """What a play has left and shown."""
    status: int = 0
    fired: bool = False
    seconds: float = 0.0
    report: list = dataclasses.field(default_factory=list)
    log: list = dataclasses.field(default_factory=list)
    messages: str = ""
    left: list = dataclasses.field(default_factory=list)
    files: list = dataclasses.field(default_factory=list)
    settings: str = ""
    directory: str = ""

    def said(self, name):
        return [value for key, value in self.report if key == name]


def children():
    """The processes that have come to us, or that we have started: number and name."""
    found = {}
    for task in pathlib.Path("/proc/self/task").iterdir():
        for word in (task / "children").read_text().split():
            with contextlib.suppress(OSError):
                found[int(word)] = pathlib.Path(f"/proc/{word}/comm").read_text().strip()
    return found


def reap():
    with contextlib.suppress(ChildProcessError):
        while os.waitpid(-1, os.WNOHANG)[0]:
            pass


def bury():
    """Waits for the end of what the console has left, and says what does not end."""
    end = time.monotonic() + LAST_BREATH
    while True:
        reap()
        left = children()
        if not left or time.monotonic() > end:
            break
        time.sleep(0.005)
    for number in left:
        with contextlib.suppress(ProcessLookupError):
            os.kill(number, signal.SIGKILL)
    while children():
        reap()
        time.sleep(0.005)
    return sorted(left.values())


class Stage:
    """Where the console is built, and a home for one play."""

    def __init__(self, build, directory, plan):
        self.build = build
        self.directory = pathlib.Path(directory)
        self.plan = plan
        self.source = self.directory / "play.tarn"
        self.report = self.directory / "report"
        self.log = self.directory / "log"
        self.settings = self.directory / "config/TARN/TARN Console.conf"

    def prepare(self):
        self.source.write_text("")
        self.settings.parent.mkdir(parents=True)
        for name in ("cache", "data", "runtime", "tmp"):
            (self.directory / name).mkdir(mode=0o700)
        lines = [f"{key}={value}" for key, value in OLD.items()]
        self.settings.write_text("[General]\n" + "\n".join(lines) + "\n" + FOREIGN)

    def environment(self):
        tests = self.build / "tests"
        preloaded = [tests / "libtorture-calls.so", tests / "libtorture-player.so"]
        result = {
            "PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "QT_QPA_PLATFORM": "offscreen",
            "HOME": str(self.directory), "TMPDIR": str(self.directory / "tmp"),
            "XDG_CONFIG_HOME": str(self.directory / "config"),
            "XDG_CACHE_HOME": str(self.directory / "cache"),
            "XDG_DATA_HOME": str(self.directory / "data"),
            "XDG_RUNTIME_DIR": str(self.directory / "runtime"),
            "LD_PRELOAD": ":".join(map(str, preloaded)),
            "TARN_TORTURE_LOG": str(self.log),
            "TARN_TORTURE_REPORT": str(self.report), "TARN_TORTURE_SOURCE": str(self.source)}
        if self.plan:
            result["TARN_TORTURE_PLAN"] = self.plan.text()
        return result

    def run(self):
        """The status of the console, and its messages."""
        command = [self.build / "bin/tarn-console", "--tarn", self.build / "tests/scripted-child",
                   self.source]
        messages = self.directory / "messages"
        with messages.open("wb") as stream, subprocess.Popen(
                command, env=self.environment(), cwd=self.directory, stdin=subprocess.DEVNULL,
                stdout=stream, stderr=stream, start_new_session=True) as console:
            try:
                status = console.wait(PATIENCE)
            except subprocess.TimeoutExpired:
                console.kill()
                status = STUCK
        return status, messages.read_text(errors="replace")


def lines_of(path):
    return path.read_text(errors="replace").splitlines() if path.exists() else []


def play(build, plan=None):
    with tempfile.TemporaryDirectory(prefix="tarn-torture-") as directory:
        stage = Stage(build, directory, plan)
        stage.prepare()
        result = Play(directory=directory)
        begin = time.monotonic()
        result.status, result.messages = stage.run()
        result.seconds = time.monotonic() - begin
        result.left = bury()
        result.report = [tuple(line.split(": ", 1)) for line in lines_of(stage.report)
                         if ": " in line]
        result.log = lines_of(stage.log) if not plan else []
        result.fired = bool(plan) and "fired" in lines_of(stage.log)
        result.files = sorted(str(path.relative_to(directory))
                              for folder in ("config", "tmp")
                              for path in (stage.directory / folder).rglob("*")
                              if path.is_file() and path != stage.settings)
        with contextlib.suppress(OSError):
            result.settings = stage.settings.read_text(errors="replace")
        return result


def is_whole(settings, directory):
    """Whether the file has all preferences, old ones or new ones, and what is not ours."""
    general, _, rest = settings.partition("\n[Foreign]\n")
    lines = general.splitlines()
    if lines[:1] != ["[General]"] or rest != "key=kept\n":
        return False
    values = dict(line.split("=", 1) for line in lines[1:])
    new = {"interfaceLanguage": ["ar", "en"], "lastSourceDirectory": [OLD_PLACE, directory],
           "windowGeometry": [values.get("windowGeometry", "")]}
    return (values.keys() == OLD.keys()
            and values["windowGeometry"].startswith("@ByteArray(")
            and all(values[key] in new.get(key, [OLD[key]]) for key in OLD))


def judge(plan, result):
    """What is wrong with a play, one line each."""
    wrong = []
    if result.status == STUCK:
        wrong.append("does not end")
    elif result.status not in allowed_ends(plan, result):
        wrong.append(f"ends with {result.status}")
    if result.left:
        wrong.append("leaves " + ", ".join(result.left))
    if not is_whole(result.settings, result.directory):
        wrong.append("settings: " + repr(result.settings))
    if result.status == 0:
        wrong += judge_shown(plan, result)
    return wrong


def allowed_ends(plan, result):
    # Without memory the end comes where it is noticed, and what was started must not notice.
    if plan.kind == "memory":
        return [0, -signal.SIGABRT, -signal.SIGSEGV]
    # Qt ends a program that gets no window at all, and says why.
    if not result.said("title") and "platform plugin" in result.messages:
        return [-signal.SIGABRT]
    return [0]


def judge_shown(plan, result):
    """What the user would complain of when the console has come to its end."""
    wrong = []
    # Nobody else removes them.
    if result.files and plan.kind != "unlink":
        wrong.append("files: " + ", ".join(result.files))
    statuses = result.said("status")
    if len(statuses) != 2 or "" in statuses:
        wrong.append(f"what is said: {statuses}")
    expected = []
    for status in statuses:
        count = int(expected[-1][0]) if expected else 0
        count += not status.startswith(REFUSALS)
        expected.append(f"{count} {count}")
    expected += expected[-1:]
    counts = result.said("outcomes") + result.said("late-outcomes")
    if plan.mode != "always" or plan.kind not in DEAF:
        if counts != expected:
            wrong.append(f"outcomes: {counts}")
        if any(int(time) > KILL_DEADLINE for time in result.said("stop-milliseconds")):
            wrong.append(f"stopped after {result.said('stop-milliseconds')} ms")
    elif any(count > plain for count, plain in zip(counts, expected)):
        wrong.append(f"outcomes: {counts}")
    return wrong


# What may be interrupted by a signal, and what may do less than it was asked to.
INTERRUPTED = ("read", "write", "poll", "wait", "open", "send", "close")
PARTIAL = ("read", "write")
# Of the calls that come from the same place by the same way, so many fail, one in each play.
MOST_OF_A_SITE = 2


def calls_of(log):
    """How often the play has come to each place: {(kind, scope, site): (count, way)}."""
    counts = collections.Counter()
    ways = {}
    for line in log:
        words = line.split()
        if words[:1] == ["call"]:
            key = (words[1], words[2], words[4])
            counts[key] += 1
            ways[key] = " ".join(words[5:])
    return {key: (counts[key], ways[key]) for key in counts}


def plans_for(calls):
    for (kind, scope, site), (count, way) in sorted(calls.items()):
        for number in range(1, min(count, MOST_OF_A_SITE) + 1):
            yield Plan(kind, scope, site, number, "once", way)
        if kind in INTERRUPTED:
            yield Plan(kind, scope, site, 1, "interrupted", way)
        if kind in PARTIAL:
            yield Plan(kind, scope, site, 1, "short", way)
    for kind, scope in sorted({key[:2] for key in calls}):
        yield Plan(kind, scope, mode="always")
        if kind in PARTIAL:
            yield Plan(kind, scope, mode="always-short")


def plans_for_memory(numbers):
    """From the start of the first run on: one allocation fails, or all from it on."""
    for phase in ("2", "3", "4", "5"):
        for number in numbers:
            yield Plan("memory", "console", phase, number, "once")
        yield Plan("memory", "console", phase, numbers[0], "always")


def initialize(build):
    """Of a process that plays: what the console leaves comes to us."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
    initialize.build = build


def play_plan(plan):
    return plan, play(initialize.build, plan)


def is_short(plan):
    """Whether the play belongs to the short form: all calls of a kind, where none is waited for."""
    return plan.mode.startswith("always") and plan.kind not in SLOW


class Table:
    """What was played, by kind."""

    def __init__(self, calls):
        self.places = collections.Counter((kind, scope) for kind, scope, _ in calls)
        self.calls = collections.Counter()
        for (kind, scope, _), (count, _) in calls.items():
            self.calls[kind, scope] += count
        self.plays = collections.Counter()
        self.failed = collections.Counter()
        self.wrong = collections.Counter()
        self.slowest = 0

    def add(self, plan, result, wrong):
        key = (plan.kind, plan.scope)
        self.plays[key] += 1
        self.failed[key] += result.fired
        self.wrong[key] += bool(wrong)
        if plan.mode != "always" or plan.kind not in DEAF:
            self.slowest = max([self.slowest, *map(int, result.said("stop-milliseconds"))])

    def print(self):
        row = "{:22}{:>8}{:>8}{:>8}{:>8}{:>8}".format
        print(row("kind", "calls", "places", "plays", "failed", "wrong"))
        for key in sorted(self.plays):
            name = key[0] + (" (child)" if key[1] == "child" else "")
            print(row(name, self.calls[key], self.places[key], self.plays[key], self.failed[key],
                      self.wrong[key]))
        print(row("all", *(sum(counter.values()) for counter in (
            self.calls, self.places, self.plays, self.failed, self.wrong))))
        print(f"The longest way from Stop to the outcome took {self.slowest} ms.")


def explain(plan, result, wrong):
    """For somebody who wants to mend it."""
    print(f"== {plan.text()}")
    for line in wrong:
        print("  ", line)
    for name, value in result.report:
        print("      ", name, value)
    print("  ", result.messages[-500:].replace("\n", "\n   "))
    print("   called from", *plan.way.split()[:14], sep="\n      ", flush=True)


def parse_options():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--jobs", type=int, default=2 * (os.cpu_count() or 1),
                        help="plays at a time; most of a play is waiting")
    parser.add_argument("--short", action="store_true", help="half a minute")
    parser.add_argument("--only", default="", help="the plays whose text contains this")
    parser.add_argument("--explain", action="store_true", help="say what every play has come to")
    return parser.parse_args()


def main():
    options = parse_options()
    status = 0
    with multiprocessing.Pool(options.jobs, initialize, [options.build.resolve()]) as pool:
        records = [result for _, result in pool.map(play_plan, [None, None])]
        for record in records:
            wrong = judge(Plan("nothing"), record)
            if wrong or record.said("status") != USUAL:
                explain(Plan("nothing"), record, wrong)
                return 1
        calls = calls_of(records[0].log) | calls_of(records[1].log)
        table = Table(calls)
        plans = [plan for plan in [*plans_for(calls), *plans_for_memory(ALLOCATIONS)]
                 if options.only in plan.text() and (is_short(plan) or not options.short)]
        print(f"{len(plans)} plays", flush=True)
        for plan, result in pool.imap_unordered(play_plan, plans):
            wrong = judge(plan, result)
            table.add(plan, result, wrong)
            if wrong or options.explain:
                explain(plan, result, wrong)
            status |= bool(wrong)
    table.print()
    return status


if __name__ == "__main__":
    sys.exit(main())
