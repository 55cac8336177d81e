#!/usr/bin/env bash
# The console at its limits for minutes, with somebody who uses everything at once; see
# tests/desktop/soak.py.
set -euo pipefail

usage='Usage: scripts/soak-window.sh [--minutes N] [PRESET]   floods and uses the built console on a virtual
       display for N minutes (default: 10, release); the figures are printed at the end'

minutes=10
preset=release
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --minutes)
        minutes=${2:?$usage}
        shift
        ;;
    -*)
        echo "$usage" >&2
        exit 2
        ;;
    *) preset=$1 ;;
    esac
    shift
done

cd "$(dirname "$0")/.."
./scripts/setup.sh build display test
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --parallel "$(nproc)" --target tarn-console

# Sanitizers take many times the memory and the time.
limits=(--memory 300 --stalls)
if [ "$preset" = asan ]; then
    limits=(--memory 2000)
    # The X client libraries copy strings that have a length and no end.
    export ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
    export LSAN_OPTIONS=suppressions=$PWD/tests/support/leaks.supp:print_suppressions=0
fi
./scripts/virtual-display.sh python3 -B tests/desktop/soak.py "${limits[@]}" --minutes "$minutes" \
    --console "build/$preset/bin/tarn-console" --pictures "build/$preset/pictures"
