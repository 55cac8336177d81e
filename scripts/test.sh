#!/usr/bin/env bash
# Installs what is missing, builds and runs all tests.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/test.sh [PRESET [CTEST-OPTION...]]   builds the preset (default: dev) and runs its tests'
    exit 0
    ;;
esac

preset=${1:-dev}
cd "$(dirname "$0")/.."
groups=(build display test speech)
if [ "$preset" = clang ]; then
    groups+=(clang)
fi
./scripts/setup.sh "${groups[@]}"
cmake --preset "$preset"
cmake --build --preset "$preset" --parallel "$(nproc)"
ctest --preset "$preset" "${@:2}"
