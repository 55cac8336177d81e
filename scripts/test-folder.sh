#!/usr/bin/env bash
# The quick way from a change to its own tests: builds and runs those of some folders only.
set -euo pipefail

usage='Usage: scripts/test-folder.sh [--slow] FOLDER...   builds the dev preset and runs the tests of folders of
       tests/, which have the names of those of src/; with --slow also the slow ones, which it names otherwise'

slow=false
folders=()
for argument in "$@"; do
    case $argument in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --slow) slow=true ;;
    *)
        if [ ! -e "$(dirname "$0")/../tests/$argument/CMakeLists.txt" ]; then
            echo "$usage" >&2
            exit 2
        fi
        folders+=("$argument")
        ;;
    esac
done
if [ ${#folders[@]} -eq 0 ]; then
    echo "$usage" >&2
    exit 2
fi

cd "$(dirname "$0")/.."
targets=()
for folder in "${folders[@]}"; do
    case $folder in
    app | desktop) targets+=(all) ;; # They try the whole console, some as it is installed.
    *) targets+=("tests/$folder/all") ;;
    esac
done
if [ ! -e build/dev/build.ninja ]; then
    ./scripts/setup.sh build display test
    cmake --preset dev
fi
cmake --build --preset dev --parallel "$(nproc)" --target "${targets[@]}"

labels="^($(IFS='|' && echo "${folders[*]}"))\$"
if $slow; then
    ctest --preset dev --label-regex "$labels"
else
    ctest --preset dev --label-regex "$labels" --label-exclude '^slow$'
    ctest --test-dir build/dev --show-only --label-regex "$labels" --label-regex '^slow$' |
        sed --quiet 's/^ *Test *#[0-9]*: \(.*\)/Left out, because it is slow: \1/p'
fi
