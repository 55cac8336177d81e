#!/usr/bin/env bash
# Thousands of runs in a row: nothing may grow, no last word may be lost.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/soak-session.sh [PRESET]   1,000 mixed runs and 10,000 last words (default: dev)'
    exit 0
    ;;
esac

preset=${1:-dev}
cd "$(dirname "$0")/.."
./scripts/setup.sh build
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --parallel "$(nproc)" --target tst_programsession_endurance
test=build/$preset/tests/tst_programsession_endurance
export LSAN_OPTIONS=suppressions=$PWD/tests/support/leaks.supp:print_suppressions=0
# One test function may take its time.
export QTEST_FUNCTION_TIMEOUT=3600000
TARN_TEST_ROUNDS=1000 "$test" manyRunsLeaveNothing failedStartsLeaveNothingOfOurs
TARN_TEST_ROUNDS=10000 "$test" theLastOutputIsNeverLost
