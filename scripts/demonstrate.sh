#!/usr/bin/env bash
# Shows on the current display how a program is run in the console: real keys run it, answer it and
# close its input. Only the demo interpreter says when it asks; any other program is just watched.
set -euo pipefail

usage='Usage: scripts/demonstrate.sh [--answer TEXT]... PICTURE CONSOLE [ARGUMENT...]
       runs the source that CONSOLE opens with, and saves a picture of the window'

# shellcheck source=scripts/virtual-display.sh
. "$(dirname "$0")/virtual-display.sh"

answers=()
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --answer)
        answers+=("$2")
        shift 2
        ;;
    *) break ;;
    esac
done
if [ $# -lt 2 ]; then
    echo "$usage" >&2
    exit 2
fi
picture=$1
shift

fail() {
    echo "demonstrate.sh: $*" >&2
    exit 1
}

# The processes that the console has started.
programs() {
    grep -ls "^PPid:[[:space:]]*$console\$" /proc/[0-9]*/status | cut -d / -f 3
}

has_program() {
    [ -n "$(programs)" ]
}

has_no_program() {
    ! has_program
}

console_has_ended() {
    ! kill -0 "$console"
}

find_window() {
    window=$(xdotool search --all --onlyvisible --pid "$console" --name . | tail -n 1)
    [ -n "$window" ]
}

# The journal holds a line for everything that the demo interpreter did.
journal_lines() {
    wc -l <"$work/journal"
}

has_started() {
    [ "$(journal_lines)" -gt 0 ] || has_program
}

went_on_since() {
    [ "$(journal_lines)" -gt "$1" ] || has_no_program
}

asks() {
    [ "$(tail -n 1 "$work/journal")" = asked ]
}

press() {
    xdotool key --delay 30 "$@"
}

# Types one line into the program input until the program has read it: a program that is only just
# starting does not take input yet.
answer() {
    local known
    known=$(journal_lines)
    for _ in 1 2 3; do
        press ctrl+2 ctrl+a
        xdotool type --delay 60 -- "$1"
        press Return
        if wait_until 10 went_on_since "$known"; then
            return
        fi
    done
    fail 'the program did not get its answer'
}

# Answers until the program ends, or does nothing any more; without an answer, closes its input.
converse() {
    local next=0 known
    wait_until 10 has_started || return 0
    while has_program; do
        known=$(journal_lines)
        if asks && [ "$next" -lt ${#answers[@]} ]; then
            answer "${answers[next]}"
            next=$((next + 1))
            continue
        elif asks; then
            press ctrl+d
        fi
        wait_until 20 went_on_since "$known" || return 0
    done
}

# Waits for the window to come to rest, as long as that makes sense, and saves its picture.
take_picture() {
    maim --window "$window" "$work/new.png"
    for _ in $(seq 25); do
        mv "$work/new.png" "$work/old.png"
        sleep 0.2
        maim --window "$window" "$work/new.png"
        if cmp -s "$work/old.png" "$work/new.png"; then
            break
        fi
    done
    mv "$work/new.png" "$picture"
}

# Ends, by number, what a failure may have left.
clean_up() {
    local pid
    for pid in $(programs) "$console"; do
        kill -KILL "$pid" 2>/dev/null || true
    done
    wait "$console" 2>/dev/null || true
    rm -rf "$work"
}

work=$(mktemp -d)
: >"$work/journal"
# xdotool types other letters than ASCII only in a UTF-8 locale, and only those on the keys.
export LC_ALL=C.UTF-8
setxkbmap us,ara

# The user's settings stay untouched.
TARN_DEMO_JOURNAL=$work/journal XDG_CONFIG_HOME=$work/config "$@" &
console=$!
trap clean_up EXIT

wait_until 60 find_window || fail 'the console did not open its window'
xdotool windowactivate --sync "$window"
# High enough for the picture to show a whole conversation.
xdotool windowsize "$window" 900 840
press ctrl+r
converse
take_picture
if has_program; then
    press ctrl+period
    wait_until 10 has_no_program || true
fi
press ctrl+q
wait_until 10 console_has_ended || fail 'the console did not close'
