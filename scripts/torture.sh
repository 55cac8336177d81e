#!/usr/bin/env bash
# Plays a run of the built console hundreds of times, and each time another call of the C library
# fails; see tests/torture/torture.py.
set -euo pipefail

usage='Usage: scripts/torture.sh [--short] [--only TEXT] [--explain] [--jobs N] [PRESET]   has every call of the C
       library fail in a run of the built console, one in each play, and then all of a kind; with
       --short all of a kind only (default: dev); --only TEXT plays what has the text in its plan,
       such as "write console", and --explain says what each play has come to'

preset=dev
options=()
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --short | --explain) options+=("$1") ;;
    --only | --jobs)
        options+=("$1" "${2:?$usage}")
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
./scripts/setup.sh build test
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --parallel "$(nproc)" --target torture
nice python3 -B tests/torture/torture.py --build "build/$preset" "${options[@]}"
