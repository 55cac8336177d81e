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
# Both tools read how the files are compiled; nothing has to be built for them.
cmake --preset dev >/dev/null
# The headers that the tests precompile are for GCC only.
mkdir -p build/lint
sed 's/ -Winvalid-pch -include [^ ]*cmake_pch\.hxx//' build/dev/compile_commands.json \
    >build/lint/compile_commands.json

files=("$@")
if [ ${#files[@]} -eq 0 ]; then
    mapfile -t files < <(git ls-files 'src/*.cpp')
fi

# clazy's first level but for a property's missing signal, which only bindings would wait for: Qt's
# text widgets read and set the cursor width of a layout as it is.
clazy_checks=level1,no-qproperty-without-notify

# each_file COMMAND...: runs it with each of the files, and leaves out how much it did not tell.
each_file() {
    printf '%s\0' "${files[@]}" | xargs -0 -P "$(nproc)" -n 1 "$@" 2>&1 |
        sed --unbuffered -E '/^[0-9]+ warnings? generated\.$/d'
}

# GCC's own warnings mean nothing to clang.
status=0
echo "clang-tidy: ${#files[@]} files"
each_file clang-tidy --quiet -p build/lint --extra-arg=-Wno-unknown-warning-option || status=1
echo "clazy: ${#files[@]} files"
each_file clazy-standalone --checks=$clazy_checks -p build/lint \
    --extra-arg=-Wno-unknown-warning-option --extra-arg=-Werror || status=1
if [ $status -eq 0 ]; then
    echo 'Nothing found.'
fi
exit $status
