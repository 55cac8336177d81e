#!/usr/bin/env bash
# Builds and runs the benchmarks on a virtual display. A missed bar is printed, not an error.
set -euo pipefail

usage='Usage: scripts/benchmark.sh [--quick] [--compare COMMIT] [NAME...]
       measures (default: everything), writes build/benchmark/results/NAME.json, and prints one table.
       --quick measures once or twice only. --compare builds another commit in build/compare, measures
       it and this one in turns, five times each, and prints the ratios of the medians. Names: '

root=$(cd "$(dirname "$0")/.." && pwd)
results=$root/build/benchmark/results
other=$root/build/compare
all=(textcore fill operations growingline slowtexts memory refreshcost window startup latency)

fail_usage() {
    echo "$usage${all[*]}" >&2
    exit 2
}

quick=false
commit=
names=()
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage${all[*]}"
        exit 0
        ;;
    --quick) quick=true ;;
    --compare)
        [ $# -gt 1 ] || fail_usage
        commit=$2
        shift
        ;;
    *)
        [[ " ${all[*]} " == *" $1 "* ]] || fail_usage
        names+=("$1")
        ;;
    esac
    shift
done
if [ ${#names[@]} -eq 0 ]; then
    names=("${all[@]}")
fi

# build TREE
build() (
    cd "$1"
    cmake --preset benchmark
    cmake --build --preset benchmark --parallel "$(nproc)"
)

# has_benchmark TREE NAME: programs that are newer than the commit are not there.
has_benchmark() {
    [ -x "$1/build/benchmark/bin/bench-$2" ]
}

# measure TREE NAME FILE [OPTION...]: runs one benchmark; status 1 says that a bar was missed.
measure() {
    local tree=$1 name=$2 file=$3
    shift 3
    "$root/scripts/virtual-display.sh" "$tree/build/benchmark/bin/bench-$name" --json "$file" "$@"
}

measure_all() {
    local options=() name status files=()
    ! $quick || options=(--repetitions 1)
    mkdir -p "$results"
    for name in "${names[@]}"; do
        status=0
        files+=("$results/$name.json")
        measure "$root" "$name" "$results/$name.json" "${options[@]}" || status=$?
        [ "$status" -le 1 ] || exit "$status"
        echo
    done
    python3 "$root/scripts/benchmark-table.py" "${files[@]}"
}

# The other commit's tree, which the next comparison uses again with what was built in it.
check_out_other() {
    git -C "$root" worktree prune
    if [ -e "$other/.git" ]; then
        git -C "$other" checkout --quiet --force --detach "$1"
    else
        git -C "$root" worktree add --quiet --detach "$other" "$1"
    fi
}

compare_all() {
    local rounds=5 round name tree status
    local -A side=([ours]=$root [theirs]=$other)
    ! $quick || rounds=1
    rm -rf "$results/compare"
    mkdir -p "$results"/compare/{ours,theirs}
    for ((round = 1; round <= rounds; round++)); do
        for name in "${names[@]}"; do
            for tree in ours theirs; do
                has_benchmark "${side[$tree]}" "$name" || continue
                echo "Round $round of $rounds, $name, $tree"
                status=0
                measure "${side[$tree]}" "$name" "$results/compare/$tree/$name.$round.json" \
                    --repetitions 1 >"$results/compare/log" 2>&1 || status=$?
                # Older programs do not know all options; what they do not say is not compared.
                if [ "$status" -gt 1 ]; then
                    cat "$results/compare/log" >&2
                    [ "$tree" = theirs ] || exit "$status"
                fi
            done
        done
    done
    python3 "$root/scripts/benchmark-table.py" "$results"/compare/ours/*.json \
        --beside "$results"/compare/theirs/*.json
}

if [ -n "$commit" ]; then
    commit=$(git -C "$root" rev-parse --verify "$commit^{commit}")
fi
"$root/scripts/setup.sh" build display benchmark
build "$root"
if [ -z "$commit" ]; then
    measure_all
else
    check_out_other "$commit"
    build "$other"
    compare_all
fi
