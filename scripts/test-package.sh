#!/usr/bin/env bash
# Tries the Debian package as its users will: in a fresh Debian that has nothing else, where it is
# installed, opened by its files as a file manager does, used by real keys, and removed again.
set -euo pipefail

usage='Usage: scripts/test-package.sh [--root DIR] [PACKAGE]   as root: tests the package (default: builds it)
       in a new root of the Debian that this machine runs, which it downloads and takes away
       afterwards; takes a few minutes
  --root DIR   makes the new root from this one, which has nothing else, instead of downloading it'

pristine=
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --root)
        pristine=$(realpath "${2:?"$usage"}")
        shift 2
        ;;
    -*)
        echo "$usage" >&2
        exit 2
        ;;
    *) break ;;
    esac
done
if [ $# -gt 1 ]; then
    echo "$usage" >&2
    exit 2
fi
if [ "$(id -u)" -ne 0 ]; then
    echo 'test-package.sh: only root can make and enter another root' >&2
    exit 1
fi

scripts=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=scripts/virtual-display.sh
. "$scripts/virtual-display.sh"
"$scripts/setup.sh" display package-test
if [ $# -gt 0 ]; then
    package=$(realpath "$1")
else
    "$scripts/package.sh"
    package=$(ls "$scripts"/../build/package/tarn-console_*.deb)
fi

say() {
    echo "== $*"
}

fail() {
    echo "test-package.sh: $*" >&2
    exit 1
}

work=$(mktemp -d)
# The new root is for its own users too, who have to get through the folder it lies in.
chmod 755 "$work"
root=$work/root
# What was started to open a window, until there is one, and then the console.
opener=
console=

clean_up() {
    local process
    for process in $opener $console; do
        kill "$process" 2>/dev/null || true
    done
    stop_virtual_display
    if mountpoint --quiet "$root/proc"; then
        umount "$root/proc" || umount --lazy "$root/proc" || true
    fi
    rm -rf --one-file-system "$work"
}
trap clean_up EXIT

in_root() {
    chroot "$root" env -i PATH=/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}

# What runs as the user on the virtual display.
as_user() {
    exec chroot --userspec=newcomer:newcomer "$root" env -i PATH=/usr/local/bin:/usr/bin:/bin \
        LC_ALL=C.UTF-8 HOME=/home/newcomer XDG_RUNTIME_DIR=/home/newcomer/runtime \
        TARN_DEMO_JOURNAL=/home/newcomer/journal DISPLAY="$DISPLAY" "$@"
}

# All paths that packages and their tools have made.
paths() {
    (cd "$root" && find . -xdev \( -path ./proc -o -path ./tmp -o -path ./home -o -path ./var/cache \
        -o -path ./var/log -o -path ./var/lib/apt -o -path ./var/lib/dpkg \) -prune -o -print) | sort
}

# The name of the Debian that this machine runs: a package is for the one it was built on.
suite() {
    if grep --quiet '/sid$' /etc/debian_version; then
        echo sid
    else
        (. /etc/os-release && echo "$VERSION_CODENAME")
    fi
}

make_root() {
    say "A fresh Debian: $(suite)"
    if [ -n "$pristine" ]; then
        cp -a "$pristine" "$root"
    else
        debootstrap --variant=minbase "$(suite)" "$root" >"$work/debootstrap.log" ||
            fail "debootstrap: $(tail -n 5 "$work/debootstrap.log")"
    fi
    mount -t proc proc "$root/proc"
    printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
    chmod 755 "$root/usr/sbin/policy-rc.d"
    in_root apt-get update --quiet=2
    in_root useradd --create-home newcomer
    install -d -m 700 --owner "$(in_root id -u newcomer)" "$root/home/newcomer/runtime"
}

install_package() {
    say 'Installing the package with what it depends on, and nothing else'
    cp "$package" "$root/tmp/tarn-console.deb"
    in_root apt-get install --quiet=2 --yes --no-install-recommends /tmp/tarn-console.deb \
        >"$work/install.log" 2>&1 || fail "$(tail -n 5 "$work/install.log")"
    paths >"$work/with-package"
}

find_window() {
    window=$(xdotool search --onlyvisible --class '^TARN Console$' | tail -n 1)
    [ -n "$window" ]
}

noted() {
    [ "$(grep --count --line-regexp "$1" "$root/home/newcomer/journal")" -ge "$2" ]
}

is_gone() {
    ! kill -0 "$console" 2>/dev/null
}

# open_window COMMAND...: runs what shows the console, and waits for its window.
open_window() {
    rm -f "$root/home/newcomer/journal"
    (as_user "$@") &
    opener=$!
    wait_until 60 find_window || fail 'no window opened'
    console=$(xdotool getwindowpid "$window")
    opener=
    [ "$(xdotool getwindowname "$window")" = 'طرفية TARN' ] || fail 'the window is not in Arabic'
    xdotool windowactivate --sync "$window"
}

close_window() {
    xdotool key alt+F4
    wait_until 20 is_gone || fail 'the console did not close'
    console=
}

use_by_command() {
    say 'A demo by the command, in Arabic, by keys'
    open_window tarn-console --tarn /usr/lib/tarn-console/tarn-demo \
        /usr/share/doc/tarn-console/examples/market.tarn
    xdotool windowsize --sync "$window" 900 840 key ctrl+r
    local count=0 answer
    for answer in Layla coffee; do
        count=$((count + 1))
        wait_until 20 noted asked $count || fail 'the program did not ask'
        xdotool key ctrl+2
        xdotool type --delay 60 "$answer"
        xdotool key Return
    done
    wait_until 20 noted asked 3 || fail 'the program did not get its answers'
    xdotool key ctrl+d
    wait_until 20 noted 'ended .*' 1 || fail 'the program did not end'
    maim --window "$window" "$scripts/../build/package/fresh-root.png"
    close_window
}

# use_by_file OPENER...: opens a program by its file, runs it, and closes the window.
use_by_file() {
    local file=/home/newcomer/برنامجي.ترن
    say "A .ترن file with: $*"
    printf 'اطبع مرحبا\n' >"$root$file"
    open_window "$@" "$file"
    tr '\0' '\n' <"/proc/$console/cmdline" | grep --quiet --line-regexp --fixed-strings "$file" ||
        fail 'the console was not given the file'
    xdotool key ctrl+r
    wait_until 20 noted 'ended .*' 1 || fail 'the program did not run'
    close_window
}

use_by_files() {
    say 'A desktop, as far as opening files needs one'
    in_root apt-get install --quiet=2 --yes --no-install-recommends \
        desktop-file-utils libfile-mimeinfo-perl libglib2.0-bin xdg-utils >"$work/desktop.log" 2>&1
    ln -s /usr/lib/tarn-console/tarn-demo "$root/usr/local/bin/tarn"
    use_by_file xdg-open
    use_by_file gio open
    rm "$root/usr/local/bin/tarn"
    paths >"$work/with-package"
}

remove_package() {
    local traces='tarn-console\|org\.tarn\|x-tarn\|[.]ترن'
    say 'Removing the package'
    in_root dpkg --listfiles tarn-console | sort >"$work/own"
    in_root apt-get purge --quiet=2 --yes tarn-console >"$work/remove.log" 2>&1
    paths >"$work/without-package"

    comm -13 "$work/with-package" "$work/without-package" >"$work/left"
    grep "$traces" "$work/without-package" >>"$work/left" || true
    while IFS= read -r path; do
        [ -d "$root$path" ] || [ ! -e "$root$path" ] || echo "$path" >>"$work/left"
    done <"$work/own"
    grep --recursive --files-with-matches "$traces" "$root/etc" "$root/usr/share/mime" \
        "$root/usr/share/applications" "$root/var/lib/dpkg/status" >>"$work/left" || true
    [ ! -s "$work/left" ] || fail "the package left: $(cat "$work/left")"
}

say 'What lintian and the package itself say'
"$scripts/check-package.sh" "$package"
make_root
install_package
mkdir -p "$scripts/../build/package"
start_virtual_display
use_by_command
use_by_files
remove_package
say "All well. The window in the fresh root: build/package/fresh-root.png"
