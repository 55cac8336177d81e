"""Plants one fault at a time into the sources and asks the tests whether they notice.

All faults are in one build, chosen by an environment variable (plant.py, mutants.h). One run of
each test tells which test functions come by which fault. Then a sample of the faults is played:
each against the functions that come by it, the fastest first, until one fails, crashes or exceeds
its time. What survives has to be in the list of survivors, with its reason.

Faults are planted where processes are killed, too: everything runs in process namespaces of its
own, in which nobody else can be reached."""

import argparse
import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import pickle
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

import plant
import survivors

ROOMS = {"session": 95, "transcript": 95, "widgets": 92, "textlayout": 92, "window": 92}
HERE = pathlib.Path(__file__).resolve().parent
# In a space of processes of its own, which ends with what it runs. The shell is its first process, to
# which fall those whose parents have ended.
APART = ["unshare", "--pid", "--fork", "--kill-child", "--mount-proc", "--",
         "/bin/sh", "-c", '"$@"; exit $?', "sh"]
# A failure that waits for what never comes need not take a minute here.
PATIENCE = 14000


class Work:
    """The folders of a build with faults."""

    def __init__(self, root, folder):
        self.root = root
        self.folder = folder
        self.tree = folder / "tree"
        self.build = folder / "build"
        self.plan = folder / "plan.json"
        self.reached = folder / "reached"
        self.tests = folder / "tests.json"
        self.results = folder / "results.jsonl"


def say(text):
    print(text, flush=True)


# Building.

def copy_tree(work):
    """The files of the tree, as they are now."""
    names = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                           cwd=work.root, stdout=subprocess.PIPE, check=True).stdout
    for name in filter(None, names.decode().split("\0")):
        source, target = work.root / name, work.tree / name
        # The sources with faults come later; what is as it was is not built again.
        if not source.is_file() or (name.startswith("src/") and target.exists()):
            continue
        content = source.read_bytes()
        if name == "tests/support/patience.h":
            content = re.sub(rb"patience = [\d']+", b"patience = %d" % PATIENCE, content)
        write_changed(target, content)


def write_changed(path, content):
    if not path.exists() or path.read_bytes() != content:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def write_sources(work, mutants):
    own = collections.defaultdict(list)
    for mutant in mutants:
        own[mutant.file].append(mutant)
    for path in (work.root / "src").rglob("*"):
        name = str(path.relative_to(work.root))
        if path.is_file():
            source = path.read_bytes()
            write_changed(work.tree / name,
                          plant.planted(source, own[name], HERE / "mutants.h") if own[name]
                          else source)


def compile_all(work, folders, jobs):
    """Builds the test programs; returns the places that do not compile."""
    command = ["cmake", "-S", str(work.tree), "-B", str(work.build), "-G", "Ninja",
               "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DCMAKE_CXX_FLAGS=-w"]
    subprocess.run(command, stdout=subprocess.DEVNULL, check=True)
    done = subprocess.run(["nice", "ninja", "-C", str(work.build), "-k", "0", "-j", str(jobs)]
                          + [f"tests/{folder}/all" for folder in sorted(folders)],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if done.returncode == 0:
        return None
    places = set()
    for match in re.finditer(r"(src/\w+/\w+\.(?:cpp|h)):(\d+):\d+:\s+(?:fatal )?error|"
                             r"(src/\w+/\w+\.(?:cpp|h)):(\d+):\d+:\s+(?:required|  in)",
                             done.stdout):
        places.add((match.group(1) or match.group(3), int(match.group(2) or match.group(4))))
    if not places:
        sys.exit(done.stdout[-5000:])
    return places


def not_compiling(mutants, places):
    """The mutants at these places; of those on one line, what is returned is suspected first."""
    wrong = []
    for place in places:
        here = [each for each in mutants if (each.file, each.line) == place]
        wrong += [each for each in here if each.kind == "return {}"] or here
    return wrong


def find(work, rooms):
    """The mutants of the sources; finding them takes minutes, so they are kept."""
    digest = hashlib.sha256((HERE / "plant.py").read_bytes() + repr(sorted(rooms)).encode())
    for path in sorted((work.root / "src").rglob("*.*")):
        digest.update(str(path).encode() + b"\0" + path.read_bytes())
    kept = work.folder / "found.pickle"
    if kept.exists():
        state, mutants = pickle.loads(kept.read_bytes())
        if state == digest.hexdigest():
            return mutants
    mutants = plant.find_mutants(work.root, work.root / "build/dev", rooms)
    kept.write_bytes(pickle.dumps((digest.hexdigest(), mutants)))
    return mutants


def build(work, rooms, folders, reasons, jobs):
    copy_tree(work)
    mutants = find(work, rooms)
    refuse_lost_reasons(reasons, rooms, [each.key for each in mutants])
    found, dropped = len(mutants), []
    # Once: what compiles need not be built again when others are left out.
    plant.number(mutants)
    for _ in range(12):
        write_sources(work, mutants)
        places = compile_all(work, folders, jobs)
        if places is None:
            break
        # What does not compile is no fault that somebody could make.
        wrong = not_compiling(mutants, places)
        if not wrong:
            sys.exit(f"no mutant stands at {sorted(places)}")
        dropped += wrong
        mutants = [each for each in mutants if each not in wrong]
        say(f"{len(wrong)} mutants on lines that do not compile: left out")
    else:
        sys.exit("the sources with faults do not compile")
    work.plan.write_text(json.dumps([
        {"number": each.number, "key": each.key, "file": each.file, "line": each.line,
         "room": each.room} for each in mutants]))
    say(f"{found} mutants found, {len(dropped)} do not compile")


# What the tests reach.

def read_tests(work, folders, matching):
    """The test classes of the folders; with "desktop" also those that it runs on X11."""
    shown = subprocess.run(["ctest", "--test-dir", str(work.build), "--show-only=json-v1"],
                           stdout=subprocess.PIPE, check=True).stdout
    tests = []
    for test in json.loads(shown)["tests"]:
        properties = {each["name"]: each["value"] for each in test["properties"]}
        if not set(properties.get("LABELS", [])) & folders \
                or not test["name"].startswith(("tst_", "desktop_tst_")) \
                or not re.search(matching, test["name"]):
            continue
        tests.append({"name": test["name"], "command": test["command"],
                      "folder": properties["WORKING_DIRECTORY"],
                      "environment": properties.get("ENVIRONMENT", [])})
    return tests


class Home:
    """A home of its own for each run, so that two runs never meet."""

    def __enter__(self):
        self.folder = tempfile.mkdtemp(prefix="mutant-")
        (pathlib.Path(self.folder) / "config").mkdir()
        return {"HOME": self.folder, "XDG_CONFIG_HOME": self.folder + "/config",
                "XDG_RUNTIME_DIR": self.folder}

    def __exit__(self, *unused):
        shutil.rmtree(self.folder, ignore_errors=True)


def play(test, functions, variables, limit):
    """Runs functions of a test until one fails; returns what happened and when they ended."""
    environment = dict(os.environ, QTEST_DISABLE_STACK_DUMP="1", QT_LOGGING_RULES="",
                       QTEST_FUNCTION_TIMEOUT=str(int(limit * 1000) + 60000))
    environment.update(each.split("=", 1) for each in test["environment"])
    environment.pop("DISPLAY", None)
    environment.pop("WAYLAND_DISPLAY", None)
    with Home() as home:
        environment.update(home, **variables)
        run = subprocess.Popen(APART + test["command"] + functions, cwd=test["folder"],
                               env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                               stdin=subprocess.DEVNULL, start_new_session=True)
        late = threading.Event()

        def end():
            late.set()
            stop(run)

        timer = threading.Timer(limit, end)
        timer.start()
        ended, failed, whole, begin = [], None, False, time.monotonic()
        for raw in run.stdout:
            line = raw.decode("utf-8", "replace")
            whole = whole or line.startswith("Totals: ")
            match = re.match(r"(PASS|FAIL!|SKIP|XPASS|XFAIL)\s*: [\w:]+::(\w+)\(", line)
            if match and match.group(1) in ("FAIL!", "XPASS"):
                failed = match.group(2)
                break
            if match:
                ended.append((match.group(2), time.monotonic() - begin))
        if failed:
            stop(run)
        status = run.wait()
        timer.cancel()
        run.stdout.close()
    if failed:
        return f"failed {failed}", ended
    if late.is_set():
        return "time", ended
    if status == 0:
        return ("passed" if whole else "ended early"), ended
    return f"status {status}", ended


def stop(run):
    try:
        os.killpg(run.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def note_reach(work, folders, matching, jobs):
    """Runs every test once, and notes for each function what it reaches and how long it takes."""
    plan = json.loads(work.plan.read_text())
    shutil.rmtree(work.reached, ignore_errors=True)
    tests = []

    def look(test):
        folder = work.reached / test["name"]
        folder.mkdir(parents=True)
        result, ended = play(test, [], {"TARN_MUTANTS_REACHED": str(folder)}, 900)
        if result != "passed":
            say(f"{test['name']}: {result} without a fault; left out")
            return
        times, last = collections.Counter(), 0.0
        for function, when in ended:
            times[function] += when - last
            last = when
        reached = {}
        for path in folder.iterdir():
            noted = path.read_bytes()
            numbers = [each["number"] for each in plan if noted[each["number"]]]
            if numbers:
                reached[path.name] = numbers
        functions = [each for each in times if each not in ("initTestCase", "cleanupTestCase")]
        start = times["initTestCase"] + times["cleanupTestCase"]
        tests.append(dict(test, reached=reached, start=start,
                          functions={each: times[each] for each in functions}))

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        list(pool.map(look, read_tests(work, folders, matching)))
    work.tests.write_text(json.dumps(sorted(tests, key=lambda each: each["name"])))
    say(f"{len(tests)} tests, {sum(len(each['functions']) for each in tests)} functions")


# Playing the faults.

def attempts(tests, number):
    """What may notice a fault: (expected seconds, test, functions), the fastest first."""
    for test in tests:
        reached = {name for name, numbers in test["reached"].items() if number in numbers}
        if not reached:
            continue
        # What happens outside of functions, or in child processes, belongs to all of them.
        own = reached & set(test["functions"])
        if not own:
            own = set(test["functions"])
        functions = sorted(own, key=lambda each: test["functions"][each])
        yield test["start"] + sum(test["functions"][each] for each in own), test, functions


def judge(tests, mutant, budget):
    ways = sorted(attempts(tests, mutant["number"]), key=lambda way: way[0])
    if not ways:
        return {"status": "not reached"}
    variables = {"TARN_MUTANT": str(mutant["number"])}
    begin = time.monotonic()
    for place, (expected, test, functions) in enumerate(ways):
        if place > 0 and time.monotonic() - begin + expected > budget:
            return {"status": "survived", "by": f"the tests of {budget} seconds"}
        result, _ = play(test, functions, variables, 3 * expected + PATIENCE / 1000 + 4)
        if result != "passed":
            return {"status": "killed", "by": f"{test['name']}: {result}"}
    return {"status": "survived", "by": f"{len(ways)} tests"}


def read_results(work):
    results = {}
    if work.results.exists():
        for line in work.results.read_text().splitlines():
            result = json.loads(line)
            results[result["key"]] = result
    return results


def sample(plan, seed, number, room):
    """As many mutants of a room as wanted, chosen by chance: for a seed always the same, but for
    those whose code has changed."""
    def place(mutant):
        return hashlib.sha256(f"{seed} {mutant['key']}".encode()).digest()

    own = sorted((each for each in plan if each["room"] == room), key=place)
    return own[:number] if number else own


def play_sample(work, options, wanted):
    tests = json.loads(work.tests.read_text())
    for test in tests:
        test["reached"] = {name: set(numbers) for name, numbers in test["reached"].items()}
    done = read_results(work)
    rest = [each for each in wanted if options.again or each["key"] not in done]
    # All rooms in turn, so that an interrupted run says something of each.
    rest.sort(key=lambda each: hashlib.sha256(each["key"].encode()).digest())
    say(f"{len(wanted)} mutants, {len(rest)} of them to be played")
    lock = threading.Lock()

    def look(mutant):
        begin = time.monotonic()
        result = dict(judge(tests, mutant, options.budget), key=mutant["key"],
                      line=mutant["line"], seconds=round(time.monotonic() - begin, 1))
        with lock:
            with work.results.open("a") as results:
                results.write(json.dumps(result) + "\n")
            if result["status"] != "killed":
                say(f"{result['status']}: {mutant['key']} (line {mutant['line']})")

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        list(pool.map(look, rest))


# The report.

def refuse_lost_reasons(reasons, rooms, keys):
    """Ends when the list names faults that can be planted nowhere."""
    lost = survivors.without_place(reasons, rooms, keys)
    for key in lost:
        say(f"in the list of survivors, and nowhere in the sources: {key}")
    if lost:
        sys.exit(1)


def report(work, options, wanted):
    return survivors.report(
        read_results(work), survivors.read_reasons(options.survivors),
        [(each["key"], each["room"], f"{each['file']}:{each['line']}") for each in wanted],
        ROOMS, say)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--rooms", nargs="+", choices=ROOMS, default=list(ROOMS),
                        help="whose sources get faults (default: all)")
    parser.add_argument("--tests", nargs="+", default=[], metavar="FOLDER",
                        help="folders of tests to be asked beside those of the rooms")
    parser.add_argument("--matching", default="", metavar="REGEX",
                        help="ask only tests whose names match")
    parser.add_argument("--sample", type=int, default=150, metavar="N",
                        help="mutants of each room, 0 for all (default: %(default)s)")
    parser.add_argument("--seed", type=int, default=1, help="of the sample (default: %(default)s)")
    parser.add_argument("--only", help="regular expression that the names have to match")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--budget", type=int, default=120,
                        help="seconds of tests against one mutant (default: %(default)s)")
    parser.add_argument("--again", action="store_true", help="forget earlier results")
    parser.add_argument("--keep-build", action="store_true",
                        help="with the build and the reach as they are")
    parser.add_argument("--report", action="store_true", help="only tell what is known")
    parser.add_argument("--check", action="store_true",
                        help="only find the places, and compare the list of survivors with them")
    parser.add_argument("--survivors", type=pathlib.Path, default=survivors.LIST)
    parser.add_argument("--folder", type=pathlib.Path, default=pathlib.Path("build/mutants"))
    options = parser.parse_args()
    root = pathlib.Path.cwd()
    work = Work(root, options.folder.resolve())
    work.folder.mkdir(parents=True, exist_ok=True)
    if options.check:
        refuse_lost_reasons(survivors.read_reasons(options.survivors), set(options.rooms),
                            [each.key for each in find(work, set(options.rooms))])
        return
    if not options.report and not (options.keep_build and work.tests.exists()):
        folders = set(options.rooms) | set(options.tests)
        build(work, set(options.rooms), folders, survivors.read_reasons(options.survivors),
              options.jobs)
        note_reach(work, folders, options.matching, options.jobs)
    plan = [each for each in json.loads(work.plan.read_text()) if not plant.is_none(each["key"])]
    if options.only:
        wanted = [each for each in plan if re.search(options.only, each["key"])]
    else:
        wanted = [each for room in options.rooms
                  for each in sample(plan, options.seed, options.sample, room)]
    if not options.report:
        play_sample(work, options, wanted)
    sys.exit(0 if report(work, options, wanted) else 1)


if __name__ == "__main__":
    main()
