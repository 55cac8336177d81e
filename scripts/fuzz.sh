#!/usr/bin/env bash
# Runs the fuzz targets. What they find new stays in build/fuzz/corpus, an input that shows a
# problem in build/fuzz/findings.
set -euo pipefail

usage='Usage: scripts/fuzz.sh [--seconds N] [TARGET...]   builds fuzz targets, sees that the kept inputs reach
       as much as they did (scripts/fuzz-edges.sh), and runs each target for N seconds
       (arguments, decoder, direction, settings, transcript, view; default: all of them,
       60 seconds each),
       as many at a time as there are processors'

seconds=60
targets=()
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --seconds)
        seconds=${2:?$usage}
        shift
        ;;
    arguments | decoder | direction | settings | transcript | view) targets+=("$1") ;;
    *)
        echo "$usage" >&2
        exit 2
        ;;
    esac
    shift
done
if [ ${#targets[@]} -eq 0 ]; then
    targets=(arguments decoder direction settings transcript view)
fi

cd "$(dirname "$0")/.."
./scripts/setup.sh build fuzz
cmake --preset fuzz
cmake --build --preset fuzz --parallel "$(nproc)" --target "${targets[@]/#/fuzz-}"

# Font libraries keep what they read until the end.
export LSAN_OPTIONS=suppressions=$PWD/tests/support/leaks.supp:print_suppressions=0
mkdir -p build/fuzz/findings build/fuzz/logs
./scripts/fuzz-edges.sh "${targets[@]}"

# Runs one target; its output appears in one piece when it ends.
fuzz() {
    local target=$1 corpus=build/fuzz/corpus/$1 log=build/fuzz/logs/$1.txt status=0
    mkdir -p "$corpus"
    nice "build/fuzz/bin/fuzz-$target" -max_total_time="$seconds" -print_final_stats=1 \
        -verbosity=0 -max_len=1024 -artifact_prefix="build/fuzz/findings/$target-" \
        "$corpus" "fuzz/corpus/$target" >"$log" 2>&1 || status=$?
    echo "== $target, $seconds seconds, status $status"
    sed '/Recommended dictionary/,/End of recommended/d' "$log"
    [ "$status" -eq 0 ]
}
export -f fuzz
export seconds
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I '{}' bash -c 'fuzz {}'
