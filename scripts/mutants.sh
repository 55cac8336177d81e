#!/usr/bin/env bash
# Plants faults into the sources, one at a time, and asks the tests whether they notice; see
# tests/mutants/mutants.py.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/mutants.sh [--rooms ROOM...] [--sample N] [--seed N] [--only REGEX] [--jobs N]
       [--tests FOLDER...] [--matching REGEX] [--folder FOLDER] [--budget SECONDS] [--again]
       [--keep-build] [--report] [--check]   as root, because faults are planted
       where processes are killed: builds all faults into one copy of the tree (build/mutants),
       notes which test functions come by which, plays N faults of each room (session, transcript,
       widgets, textlayout, window; default: 150 of each, 0 for all), and fails when too few are
       noticed or one that is not has no reason in tests/mutants/survivors.txt. What was played is
       kept; a run that was interrupted goes on where it was. With --check it only finds the places, and
       fails when survivors.txt names others'
    exit 0
    ;;
esac

cd "$(dirname "$0")/.."
./scripts/setup.sh build test mutants
cmake --preset dev >/dev/null
# The generated sources that the headers need.
cmake --build --preset dev --parallel "$(nproc)"
# Debian's own Python, because others do not see Debian's libraries.
/usr/bin/python3 -B tests/mutants/mutants.py "$@"
