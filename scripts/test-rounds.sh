#!/usr/bin/env bash
# The whole suite again and again on a machine that has too much to do: a test that hangs on how fast
# something happens fails here.
set -euo pipefail

usage='Usage: scripts/test-rounds.sh [--rounds N] [--busy N] [CTEST-OPTION...]
       builds the dev preset and plays the whole suite N times (default: 20) with N busy loops beside it
       (default: 3), says after each round how it went, and fails when a test failed in any; on two cores
       a round takes five to ten minutes. The log of each round: build/rounds'

rounds=20
busy=3
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --rounds) rounds=${2:?"$usage"} && shift 2 ;;
    --busy) busy=${2:?"$usage"} && shift 2 ;;
    *) break ;;
    esac
done
if ! [[ $rounds =~ ^[1-9][0-9]*$ && $busy =~ ^[0-9]+$ ]]; then
    echo "$usage" >&2
    exit 2
fi

cd "$(dirname "$0")/.."
./scripts/setup.sh build display test speech
cmake --preset dev
cmake --build --preset dev --parallel "$(nproc)"
logs=build/rounds
rm -rf "$logs"
mkdir -p "$logs"

loops=()
trap '[ ${#loops[@]} -eq 0 ] || kill "${loops[@]}"' EXIT
for ((i = 0; i < busy; ++i)); do
    setpriv --pdeathsig KILL bash -c 'while :; do :; done' &
    loops+=($!)
done

failed=0
for ((round = 1; round <= rounds; ++round)); do
    log=$logs/$round.log
    ctest --preset dev "$@" >"$log" 2>&1 || failed=$((failed + 1))
    echo "$round: $(grep 'tests passed\|tests failed' "$log" || tail -n 1 "$log"), $(
        awk '/Total Test time/ { print $(NF - 1) }' "$log") s, load $(cut -d' ' -f1 /proc/loadavg)"
done
echo "$failed of $rounds rounds failed"
[ "$failed" -eq 0 ]
