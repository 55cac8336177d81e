#!/usr/bin/env bash
# Counts the edges of the code that each fuzz target reaches with its kept corpus, and fails when a
# count has fallen: a target that silently tests nothing finds nothing either.
set -euo pipefail

usage='Usage: scripts/fuzz-edges.sh [--minimise] [--write] [TARGET...]   counts the edges that the built
       fuzz targets reach with the inputs of fuzz/corpus, and compares them with fuzz/edges.txt
       (default: all of them); --minimise first keeps the fewest inputs of fuzz/corpus and
       build/fuzz/corpus that reach all edges, --write then keeps the counts'

# What a count may lose, in percent: the libraries that are called differ a little.
tolerance=2
minimise=false
write=false
targets=()
for argument in "$@"; do
    case $argument in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --minimise) minimise=true ;;
    --write) write=true ;;
    -*)
        echo "$usage" >&2
        exit 2
        ;;
    *) targets+=("$argument") ;;
    esac
done

cd "$(dirname "$0")/.."
if [ ${#targets[@]} -eq 0 ]; then
    for folder in fuzz/corpus/*/; do
        targets+=("$(basename "$folder")")
    done
fi
export LSAN_OPTIONS=suppressions=$PWD/tests/support/leaks.supp:print_suppressions=0
# Another compiler counts other edges.
compiler=clang-$(clang++ -dumpversion | cut -d. -f1)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Inputs with the names that libFuzzer gives them, the fewest that reach all edges. Edges alone:
# telling apart how often each is passed would keep hundreds of inputs.
minimise() {
    local target=$1 kept=$scratch/$1
    mkdir -p "$kept" "build/fuzz/corpus/$target"
    nice "build/fuzz/bin/fuzz-$target" -merge=1 -use_counters=0 -verbosity=0 -max_len=1024 \
        "$kept" "fuzz/corpus/$target" "build/fuzz/corpus/$target" >"$scratch/log" 2>&1 || {
        cat "$scratch/log" >&2
        return 1
    }
    rm -f "fuzz/corpus/$target"/*
    mv "$kept"/* "fuzz/corpus/$target/"
}

# The edges that a target reaches with its corpus.
count_edges() {
    local target=$1
    "build/fuzz/bin/fuzz-$target" -runs=0 -use_counters=0 "fuzz/corpus/$target" \
        >"$scratch/log" 2>&1 || {
        cat "$scratch/log" >&2
        return 1
    }
    sed -n 's/.*INITED cov: \([0-9]*\) .*/\1/p' "$scratch/log"
}

status=0
for target in "${targets[@]}"; do
    if $minimise; then
        minimise "$target"
    fi
    edges=$(count_edges "$target")
    inputs=$(find "fuzz/corpus/$target" -type f | wc -l)
    if [ -z "$edges" ]; then
        echo "fuzz-edges.sh: $target reaches no edges" >&2
        status=1
        continue
    fi
    kept=$(awk -v target="$target" -v compiler="$compiler" \
        '$1 == target && $2 == compiler { print $3 }' fuzz/edges.txt)
    echo "$target: $edges edges by $inputs inputs, ${kept:-none} kept for $compiler"
    if $write; then
        { grep -v "^$target $compiler " fuzz/edges.txt || true
            echo "$target $compiler $edges"; } | LC_ALL=C sort >"$scratch/edges"
        mv "$scratch/edges" fuzz/edges.txt
    elif [ -n "$kept" ] && [ $((edges * 100)) -lt $((kept * (100 - tolerance))) ]; then
        echo "fuzz-edges.sh: $target reaches fewer edges than before" >&2
        status=1
    fi
done
exit $status
