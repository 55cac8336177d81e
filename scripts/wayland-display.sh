#!/usr/bin/env bash
# A Wayland display without a screen. Runs one command on a display of its own and returns its status.
set -euo pipefail

if [ $# -eq 0 ] || [ "$1" = -h ] || [ "$1" = --help ]; then
    echo 'Usage: scripts/wayland-display.sh COMMAND [ARGUMENT...]   runs the command on a Wayland display'
    [ $# -gt 0 ] || exit 2
    exit 0
fi

# shellcheck source=scripts/virtual-display.sh
source "$(dirname "${BASH_SOURCE[0]}")/virtual-display.sh"

directory=$(mktemp -d)
server=
# shellcheck disable=SC2317 # the trap calls it
end() {
    if [ -n "$server" ]; then
        kill "$server" 2>/dev/null || true
        wait "$server" 2>/dev/null || true
    fi
    rm -rf "$directory"
}
trap end EXIT

chmod 700 "$directory"
export XDG_RUNTIME_DIR=$directory
weston --backend=headless-backend.so --no-config --idle-time=0 --socket=display \
    --log="$directory/server.log" >/dev/null 2>&1 &
server=$!
if ! wait_until 60 test -S "$directory/display"; then
    cat "$directory/server.log" >&2
    exit 1
fi
unset DISPLAY
export WAYLAND_DISPLAY=display QT_QPA_PLATFORM=wayland
status=0
"$@" || status=$?
exit "$status"
