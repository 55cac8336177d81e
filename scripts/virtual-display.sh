#!/usr/bin/env bash
# A virtual display: an X server without a screen, with a window manager. Sourced, it gives the
# functions below; run, it starts one command on a display of its own and returns its status.

# wait_until SECONDS COMMAND...: until the command succeeds; fails when the time is over.
wait_until() {
    local end=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        if [ "$SECONDS" -ge "$end" ]; then
            return 1
        fi
        sleep 0.05
    done
}

# What programs on the virtual display see of the machine: neither the user's desktop with its theme,
# scale, input method and message bus, nor its runtime directory.
leave_desktop_session() {
    unset WAYLAND_DISPLAY XDG_CURRENT_DESKTOP XDG_SESSION_TYPE DESKTOP_SESSION KDE_FULL_SESSION \
        GNOME_DESKTOP_SESSION_ID QT_IM_MODULE QT_QPA_PLATFORMTHEME QT_SCALE_FACTOR \
        QT_SCREEN_SCALE_FACTORS QT_STYLE_OVERRIDE XMODIFIERS
    export DBUS_SESSION_BUS_ADDRESS=disabled:
    mkdir -m 700 "$virtual_display_directory/runtime"
    export XDG_RUNTIME_DIR=$virtual_display_directory/runtime
}

# Starts the display, of virtual_display_size pixels if that is set, and sets DISPLAY. The caller ends it with stop_virtual_display, also when this
# fails.
start_virtual_display() {
    local tool number=
    for tool in Xvfb openbox xdotool; do
        if ! command -v "$tool" >/dev/null; then
            echo "virtual-display.sh: $tool is missing: run scripts/setup.sh" >&2
            return 1
        fi
    done
    virtual_display_directory=$(mktemp -d)
    local server_log=$virtual_display_directory/server.log

    # The server writes its number when it is ready; the end of the pipe says that it is not.
    # Keys do not repeat: on a busy machine one that was just pressed would count as held.
    mkfifo "$virtual_display_directory/number"
    Xvfb -displayfd 3 -screen 0 "${virtual_display_size:-1280x900}x24" -dpi 96 -r -noreset -nolisten tcp \
        3>"$virtual_display_directory/number" >"$server_log" 2>&1 &
    virtual_display_server=$!
    if ! read -r -t 60 number <"$virtual_display_directory/number"; then
        cat "$server_log" >&2
        return 1
    fi
    export DISPLAY=:$number
    leave_desktop_session

    # With a home of its own the window manager behaves the same for everybody.
    HOME=$virtual_display_directory XDG_CONFIG_HOME=$virtual_display_directory/config \
        XDG_CACHE_HOME=$virtual_display_directory/cache \
        XDG_DATA_HOME=$virtual_display_directory/data \
        openbox --sm-disable >"$virtual_display_directory/manager.log" 2>&1 &
    virtual_display_manager=$!
    if ! wait_until 60 xdotool get_desktop; then
        cat "$virtual_display_directory/manager.log" >&2
        return 1
    fi
}

# Ends what start_virtual_display started, by process number.
stop_virtual_display() {
    local pid
    for pid in ${virtual_display_manager:-} ${virtual_display_server:-}; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    if [ -n "${virtual_display_directory:-}" ]; then
        rm -rf "$virtual_display_directory"
    fi
    unset virtual_display_manager virtual_display_server virtual_display_directory
}

if [ "${BASH_SOURCE[0]}" = "$0" ]; then
    set -euo pipefail
    usage='Usage: scripts/virtual-display.sh [--size WIDTHxHEIGHT] COMMAND [ARGUMENT...]
       runs the command on a virtual display (default: of 1280x900 pixels)'
    if [ $# -eq 0 ] || [ "$1" = -h ] || [ "$1" = --help ]; then
        echo "$usage"
        [ $# -gt 0 ] || exit 2
        exit 0
    fi
    if [ "$1" = --size ]; then
        virtual_display_size=${2:?"$usage"}
        shift 2
    fi
    trap stop_virtual_display EXIT
    start_virtual_display
    status=0
    "$@" || status=$?
    exit "$status"
fi
