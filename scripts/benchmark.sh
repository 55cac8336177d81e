#!/usr/bin/env bash
# Builds and runs the benchmarks on a virtual display. A missed bar is printed, not an error.
set -euo pipefail

usage='Usage: scripts/benchmark.sh [--quick] [NAME...]   measures (default: everything) and writes
       build/benchmark/results/NAME.json; --quick measures once or twice only. Names: '

root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/benchmark
results=$build/results
all=(textcore fill operations growingline slowtexts memory refreshcost window startup)

quick=false
names=()
for argument in "$@"; do
    case $argument in
    -h | --help)
        echo "$usage${all[*]}"
        exit 0
        ;;
    --quick) quick=true ;;
    *)
        if [[ " ${all[*]} " != *" $argument "* ]]; then
            echo "$usage${all[*]}" >&2
            exit 2
        fi
        names+=("$argument")
        ;;
    esac
done
if [ ${#names[@]} -eq 0 ]; then
    names=("${all[@]}")
fi

"$root/scripts/setup.sh" build display benchmark
(
    cd "$root"
    cmake --preset benchmark
    cmake --build --preset benchmark --parallel "$(nproc)"
)
mkdir -p "$results"

# Runs one benchmark; status 1 says that a bar was missed.
measure() {
    local options=()
    if [ "$1" = textcore ]; then
        ! $quick || options=(1)
    else
        options=(--json "$results/$1.json")
        ! $quick || options+=(--repetitions 1)
    fi
    "$root/scripts/virtual-display.sh" "$build/bin/bench-$1" "${options[@]}"
}

missed=()
for name in "${names[@]}"; do
    status=0
    measure "$name" || status=$?
    echo
    case $status in
    0) ;;
    1) missed+=("$name") ;;
    *) exit "$status" ;;
    esac
done
if [ ${#missed[@]} -gt 0 ]; then
    echo "Bars were missed in: ${missed[*]}"
fi
