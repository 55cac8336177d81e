#!/usr/bin/env bash
# A Wayland display without a screen. Runs one command on a display of its own and returns its status.
set -euo pipefail

usage='Usage: scripts/wayland-display.sh [--keys [--scale FACTOR]] COMMAND [ARGUMENT...]
       runs the command on a Wayland display, which has neither keyboard nor pointer
  --keys           on one for which programs can play both, such as wtype; wl-copy, wl-paste, grim and
                   swaymsg work there too
  --scale FACTOR   the scale of its screen, such as 1.25'

keys=false
scale=1
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --keys)
        keys=true
        shift
        ;;
    --scale)
        scale=${2:?"$usage"}
        shift 2
        ;;
    *) break ;;
    esac
done
if [ $# -eq 0 ] || [[ $1 == -* ]]; then
    echo "$usage" >&2
    exit 2
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

fail() {
    cat "$directory/server.log" >&2
    echo "wayland-display.sh: $*" >&2
    exit 1
}

# Where the compositor has its sockets. Others may only pass through.
sockets=$directory/sockets
mkdir -m 700 "$sockets"
chmod 711 "$directory"

start_weston() {
    XDG_RUNTIME_DIR=$sockets weston --backend=headless-backend.so --no-config --idle-time=0 \
        --socket=wayland-1 --log="$directory/server.log" >/dev/null 2>&1 &
    server=$!
    wait_until 60 test -S "$sockets/wayland-1" || fail 'weston did not start'
}

# As large as the screen of virtual-display.sh, in the pixels of a window.
start_sway() {
    local size
    size=$(awk -v s="$scale" 'BEGIN { printf "%dx%d", 1280 * s, 900 * s }')
    cat >"$directory/config" <<CONFIG
xwayland disable
output HEADLESS-1 resolution $size position 0 0 scale $scale
focus_follows_mouse no
default_floating_border none
for_window [app_id=".*"] floating enable
CONFIG
    chmod 644 "$directory/config"
    local somebody=()
    if [ "$(id -u)" -eq 0 ]; then
        # It refuses to be the superuser's.
        somebody=(setpriv --reuid 65534 --regid 65534 --clear-groups)
        chown 65534:65534 "$sockets"
    fi
    HOME=$directory XDG_RUNTIME_DIR=$sockets WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 \
        WLR_RENDERER=pixman DBUS_SESSION_BUS_ADDRESS=disabled: DISPLAY='' WAYLAND_DISPLAY='' \
        "${somebody[@]}" sway --config "$directory/config" >"$directory/server.log" 2>&1 &
    server=$!
    wait_until 60 find_sway || fail 'sway did not start'
    export SWAYSOCK
}

# shellcheck disable=SC2317 # wait_until calls it
find_sway() {
    SWAYSOCK=$(echo "$sockets"/sway-ipc.*.sock)
    swaymsg --socket "$SWAYSOCK" --raw --type get_outputs | grep --quiet '"active": true'
}

if $keys; then
    start_sway
else
    start_weston
fi
virtual_display_directory=$directory
leave_desktop_session
unset DISPLAY
export WAYLAND_DISPLAY=$sockets/wayland-1 QT_QPA_PLATFORM=wayland
status=0
"$@" || status=$?
exit "$status"
