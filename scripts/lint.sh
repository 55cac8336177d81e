#!/usr/bin/env bash
# Looks for mistakes that compilers do not report: clang-tidy (.clang-tidy) and clazy.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/lint.sh [FILE...]   checks the sources, or some of them (default: all of src/)'
    exit 0
    ;;
esac

cd "$(dirname "$0")/.."
./scripts/setup.sh build lint
cmake --preset dev >/dev/null
# The meta-object sources that the files include.
cmake --build --preset dev --target tarn-console >/dev/null

files=("$@")
if [ ${#files[@]} -eq 0 ]; then
    mapfile -t files < <(git ls-files 'src/*.cpp')
fi

# GCC's own warnings mean nothing to clang. The default is clazy's level 1.
each_file=(xargs -0 -P "$(nproc)" -n 1)
status=0
printf '%s\0' "${files[@]}" | "${each_file[@]}" clang-tidy --quiet -p build/dev \
    --extra-arg=-Wno-unknown-warning-option || status=1
printf '%s\0' "${files[@]}" | "${each_file[@]}" clazy-standalone --checks=level1 -p build/dev \
    --extra-arg=-Wno-unknown-warning-option --extra-arg=-Werror || status=1
exit "$status"
