#!/usr/bin/env python3
"""The list of faults that no test notices, survivors.txt, with the reason of each as "name => reason".
Names are those of plant.py: "file: function: kind: text of the code", and " #2" for the second of its
kind in the function. Run by itself, it looks for the named code in the sources, which takes no time;
only plant.py knows the places of all faults."""

import pathlib
import re
import sys

LIST = pathlib.Path(__file__).resolve().parent / "survivors.txt"


def read_reasons(path):
    """Reasons of survivors; those of equivalent ones begin with it."""
    reasons = {}
    for line in path.read_text().splitlines() if path.exists() else []:
        if not line or line.startswith("#"):
            continue
        key, arrow, reason = line.partition(" => ")
        if not arrow or not reason.strip():
            raise SystemExit(f"{path}: no reason: {line}")
        if key in reasons:
            raise SystemExit(f"{path}: twice: {key}")
        reasons[key] = reason
    return reasons


def room_of(key):
    return key.split("/")[1]


def without_place(reasons, rooms, places):
    """Listed faults of the rooms that could be planted nowhere: their code has changed or gone."""
    places = set(places)
    return [key for key in reasons if room_of(key) in rooms and key not in places]


def one_line(text):
    return re.sub(r"\s+", " ", text)


def without_code(reasons, root):
    """Listed faults whose file, function or text is nowhere."""
    lost = []
    for key in reasons:
        file, _, rest = key.partition(": ")
        function, _, rest = rest.partition(": ")
        text = re.sub(r" #\d+$", "", rest.partition(": ")[2])
        path = root / file
        source = one_line(path.read_text()) if path.is_file() else ""
        name = function.split("::")[-1]
        if not text or text not in source or not re.search(rf"{re.escape(name)}\(", source):
            lost.append(key)
    return lost


def report(results, reasons, wanted, bars, say):
    """Tells what became of the wanted faults, given as (key, room, place); returns whether each room
    reaches its bar and each survivor has a reason."""
    good = True
    say(f"\n{'room':<12}{'played':>8}{'killed':>8}{'equal':>7}{'alive':>7}{'rate':>8}")
    for room, bar in bars.items():
        own = [(key, place) for key, its_room, place in wanted
               if its_room == room and key in results]
        if not own:
            continue
        left = [(key, place) for key, place in own if results[key]["status"] != "killed"]
        equal = sum(reasons.get(key, "").startswith("equivalent") for key, _ in left)
        killed = len(own) - len(left)
        rate = 100 * killed / max(1, len(own) - equal)
        say(f"{room:<12}{len(own):>8}{killed:>8}{equal:>7}{len(left) - equal:>7}{rate:>7.1f}%"
            + ("" if rate >= bar else f"  below {bar}%"))
        good = good and rate >= bar
        for key, place in left:
            if key not in reasons:
                good = False
                say(f"  {results[key]['status']}, no reason: {key} ({place})")
        for key, _ in own:
            if results[key]["status"] == "killed" and key in reasons:
                say(f"  in the list, and killed: {key}")
    return good


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else LIST.parents[2])
    path = root / LIST.relative_to(LIST.parents[2])
    lost = without_code(read_reasons(path), root)
    for key in lost:
        print(f"{LIST.relative_to(LIST.parents[2])}: this code is nowhere: {key}")
    sys.exit(1 if lost else 0)


if __name__ == "__main__":
    main()
