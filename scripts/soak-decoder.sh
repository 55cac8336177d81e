#!/usr/bin/env bash
# Compares the decoder with the plain one on much random output.
set -euo pipefail

usage='Usage: scripts/soak-decoder.sh [--megabytes N] [--seed N]   decodes about N megabytes beside the plain decoder
       (default: 1000, from seed 1)'

megabytes=1000
seed=1
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --megabytes)
        megabytes=${2:?$usage}
        shift
        ;;
    --seed)
        seed=${2:?$usage}
        shift
        ;;
    *)
        echo "$usage" >&2
        exit 2
        ;;
    esac
    shift
done

cd "$(dirname "$0")/.."
./scripts/setup.sh build test
cmake --preset dev
cmake --build --preset dev --parallel "$(nproc)" --target tst_decoderoracle

# A round is about three thousand bytes; Qt Test stops a function after five minutes otherwise.
QTEST_FUNCTION_TIMEOUT=86400000 TARN_TEST_SEED=$seed TARN_TEST_ROUNDS=$((megabytes * 1000 / 3 + 1)) \
    nice build/dev/tests/tst_decoderoracle randomBytesGiveTheSameFragments
