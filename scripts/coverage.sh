#!/usr/bin/env bash
# Which lines and branches of src/ the tests reach.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/coverage.sh [CTEST-OPTION...]   runs the tests and reports the coverage of src/'
    exit 0
    ;;
esac

cd "$(dirname "$0")/.."
./scripts/setup.sh build display test coverage
cmake -S . -B build/coverage -G Ninja -D CMAKE_BUILD_TYPE=Debug \
    -D CMAKE_CXX_FLAGS='-O0 --coverage' >/dev/null
cmake --build build/coverage --parallel "$(nproc)"
find build/coverage -name '*.gcda' -delete
ctest --test-dir build/coverage --output-on-failure --parallel "$(nproc)" "$@"

mkdir -p build/coverage/report
# Exceptions of the library calls are no branches of ours.
gcovr --root . --filter src/ --exclude-throw-branches --exclude-unreachable-branches \
    --print-summary --txt build/coverage/report/lines.txt \
    --html-details build/coverage/report/index.html build/coverage
gcovr --root . --filter src/ --exclude-throw-branches --exclude-unreachable-branches \
    --branches build/coverage
echo 'What is not reached, line by line: build/coverage/report/index.html'
