#!/usr/bin/env python3
"""Plays a run of the built console again and again; each time one call of the C library fails. The
first two plays fail nothing: they tell which calls there are. See --help and docs/testing.md."""

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
import tempfile
import time

# A play takes 1.5 s, and 20 when the player has waited in vain for everything.
PATIENCE = 60.0
# Until what the console has left to die is dead.
LAST_BREATH = 5.0
# From Stop to the outcome, in milliseconds: the longest that the session ever waits with the kill,
# and until a program is called one that cannot be killed.
KILL_DEADLINE = 12500

STUCK = 1000
PR_SET_CHILD_SUBREAPER = 36

OLD = {"interfaceLanguage": "ar", "fontFamily": "Noto Sans", "fontPointSize": "12",
       "lastSourceDirectory": "/old/place", "tarnExecutable": "/old/tarn",
       "windowGeometry": "@ByteArray()"}
FOREIGN = "\n[Foreign]\nkey=kept\n"


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
        result = Play()
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


def keys_of(settings):
    """The preferences of the file, or nothing when it is no whole file."""
    general, _, rest = settings.partition("\n[Foreign]\n")
    lines = general.splitlines()
    if lines[:1] != ["[General]"] or not rest.startswith("key=kept"):
        return {}
    return dict(line.split("=", 1) for line in lines[1:] if "=" in line)


def judge(plan, result, settings):
    """What is wrong with a play, one line each."""
    wrong = []
    memory = plan.kind == "memory"
    if result.status == STUCK:
        wrong.append("does not end")
    elif result.status != 0 and not (memory and result.status == -signal.SIGABRT):
        wrong.append(f"ends with {result.status}")
    if result.left:
        wrong.append("leaves " + ", ".join(result.left))
    if keys_of(result.settings) not in settings:
        wrong.append("settings: " + repr(result.settings))
    if result.status == 0:
        wrong += judge_shown(result)
    return wrong


def judge_shown(result):
    """What the user would complain of when the console has come to its end."""
    wrong = []
    if result.files:
        wrong.append("files: " + ", ".join(result.files))
    counts = result.said("outcomes") + result.said("late-outcomes")
    if counts != ["1 1", "2 2", "2 2"]:
        wrong.append(f"outcomes: {counts}")
    if "" in result.said("status"):
        wrong.append(f"nothing is said: {result.said('status')}")
    if any(int(time) > KILL_DEADLINE for time in result.said("stop-milliseconds")):
        wrong.append(f"stopped after {result.said('stop-milliseconds')} ms")
    return wrong


# What may be interrupted by a signal, and what may do less than it was asked to.
INTERRUPTED = ("read", "write", "poll", "wait", "open", "send", "close")
PARTIAL = ("read", "write")
# Of the calls that come from the same place by the same way, so many fail, one in each play.
MOST_OF_A_SITE = 4


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


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--only", default="", help="a part of the plan, as it is printed")
    parser.add_argument("--jobs", type=int, default=4)
    parser.add_argument("--verbose", action="store_true")
    options = parser.parse_args()
    build = options.build.resolve()

    with multiprocessing.Pool(options.jobs, initialize, [build]) as pool:
        record = pool.map(play_plan, [None, None])
        calls = calls_of(record[0][1].log) | calls_of(record[1][1].log)
        plans = [*plans_for(calls), *plans_for_memory([1, 2, 5, 10, 20, 50, 100, 200, 500, 1000])]
        plans = [plan for plan in plans if options.only in plan.text()]
        print(len(calls), "places,", len(plans), "plays", flush=True)
        for plan, result in pool.imap_unordered(play_plan, plans):
            wrong = judge(plan, result, KNOWN(result))
            said = result.said("status")
            usual = said == ["Returned status 3", "Program stopped by user"]
            if wrong or options.verbose or (not usual and result.fired):
                print(plan.text(), f"{result.seconds:.1f}s", "" if result.fired else "NOT FIRED", wrong, said, result.said("title"), result.said("stop-milliseconds"), result.messages[-300:], plan.way[:600], flush=True)


def KNOWN(result):
    keys = keys_of(result.settings)
    return [keys] if all(keys.get(k) for k in OLD) and keys["interfaceLanguage"] in "aren" else []


if __name__ == "__main__":
    main()
