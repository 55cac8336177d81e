#!/usr/bin/env bash
# Whether each condition of the text core, of the session's decisions and of how paragraphs are
# presented has been shown to matter by itself; see tests/conditions/conditions.py.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/conditions.sh [--count]   builds the tests of these sources with g++ 14 or newer, runs them,
       prints each condition and outcome that no test has shown to matter, and fails when it is not in
       tests/conditions/exceptions.txt. With --count only counts what earlier runs have left. Where
       the compiler is older, as on Debian 12: scripts/fresh-root.sh trixie ./scripts/conditions.sh'
    exit 0
    ;;
esac

cd "$(dirname "$0")/.."
build=build/conditions

run_tests() {
    local rounds=$1
    shift
    TARN_TEST_ROUNDS=$rounds ctest --test-dir "$build" --output-on-failure \
        --parallel "$(nproc)" "$@"
}

if [ "${1:-}" != --count ]; then
    ./scripts/setup.sh build test
    if [ "$(g++ -dumpversion)" -lt 14 ]; then
        echo 'conditions.sh: this needs g++ 14; see --help' >&2
        exit 1
    fi
    cmake -S . -B "$build" -G Ninja -D CMAKE_BUILD_TYPE=Debug -D CMAKE_CXX_FLAGS_DEBUG=-O0 \
        -D CMAKE_CXX_FLAGS='--coverage -fcondition-coverage' >/dev/null
    cmake --build "$build" --parallel "$(nproc)" --target session-tests session-host \
        tst_failingcalls tst_sessionhistories transcript-tests tst_unicode tst_paragraphpresentation \
        widgets-tests textlayout-tests
    find "$build" -name '*.gcda' -delete
    run_tests 20 -L '^(session|transcript)$' -E '^tst_(sessionhistories|decoderstress|.*_endurance|.*_memory)$'
    run_tests 2000 -R '^tst_sessionhistories$'
    run_tests 2 -R '^tst_(paragraph.*|blockpresentation|escapedisplay|inputeditor.*|transcriptview|transcriptview_(colours|draft)|transcriptvieworacle)$'
fi
python3 -B tests/conditions/conditions.py "$build"
