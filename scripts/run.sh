#!/usr/bin/env bash
# Installs what is missing, builds the console and opens it; without a display, shows on a virtual
# one how a program is run, and saves a picture.
set -euo pipefail

usage='Usage: scripts/run.sh [--demo] [FILE]   builds and opens the console on FILE (default: a demo program),
       with the tarn on PATH, or with the demo interpreter when there is none or with --demo'

root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/release

interpreter=demo
if command -v tarn >/dev/null; then
    interpreter=own
fi
file=
for argument in "$@"; do
    case $argument in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --demo) interpreter=demo ;;
    *)
        if [ -n "$file" ] || [[ $argument == -* ]]; then
            echo "$usage" >&2
            exit 2
        fi
        file=$argument
        ;;
    esac
done

groups=(build)
display=real
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    display=virtual
    groups+=(display)
elif [ -z "${DISPLAY:-}" ]; then
    groups+=(wayland)
fi

"$root/scripts/setup.sh" "${groups[@]}"
(
    cd "$root"
    cmake --preset release
    cmake --build --preset release --parallel "$(nproc)"
)

answers=(--answer Layla --answer 3)
if [ -z "$file" ]; then
    file=$root/demo/market.tarn
    answers=(--answer Layla --answer coffee --answer تمر)
    if [ $display = virtual ]; then
        # What shows that all works is the demo program, and that is for the demo interpreter.
        interpreter=demo
    fi
fi

command=("$build/bin/tarn-console")
if [ $interpreter = demo ]; then
    command+=(--tarn "$build/bin/tarn-demo")
fi
command+=("$file")

if [ $display = real ]; then
    exec "${command[@]}"
fi
"$root/scripts/virtual-display.sh" "$root/scripts/demonstrate.sh" "${answers[@]}" \
    "$build/run.png" "${command[@]}"
echo "There is no display, so the console ran on a virtual one. Its window: $build/run.png"
