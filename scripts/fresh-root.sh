#!/usr/bin/env bash
# Fresh Debian systems in a directory: a pristine root for each suite, kept to be used again, below a
# layer that takes all changes and is thrown away. Whatever runs there has mounts and processes of
# its own, so that none is left over, also after a kill. Sourced, it gives the functions below; run,
# it runs one command in such a root.

# Where the pristine roots, what was downloaded for them, and the layers are.
export fresh_cache=${TARN_FRESH_CACHE:-/var/cache/tarn-fresh}
# The tree whose committed state is tried.
fresh_tree=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export fresh_tree

fail() {
    echo "$(basename "$0"): $*" >&2
    exit 1
}

# provide_root SUITE: makes the pristine root, when there is none yet.
provide_root() {
    local root=$fresh_cache/roots/$1 debs=$fresh_cache/debs/$1
    [ ! -d "$root" ] || return 0
    echo "== A pristine root of $1: $root"
    mkdir -p "$fresh_cache/roots" "$debs"
    rm -rf --one-file-system "$root.new"
    debootstrap --variant=minbase --cache-dir="$debs" "$1" "$root.new" >"$root.log" ||
        fail "debootstrap: $(tail -n 5 "$root.log")"
    # What the packages would start belongs to a system that was booted.
    printf '#!/bin/sh\nexit 101\n' >"$root.new/usr/sbin/policy-rc.d"
    chmod 755 "$root.new/usr/sbin/policy-rc.d"
    # A mirror of sid may be older than sid promises to be; it is signed all the same.
    echo 'Acquire::Check-Valid-Until "false";' >"$root.new/etc/apt/apt.conf.d/old-mirror"
    mv "$root.new" "$root"
}

# apart FUNCTION ARGUMENT...: runs a function with mounts and processes of its own, and ends all of
# them with it, or when this shell is ended. It sees exported variables, and `layer`, a directory that
# is there as long as it runs.
apart() {
    local apart_process='' inner='' status=0
    mkdir -p "$fresh_cache/layers"
    layer=$(mktemp -d "$fresh_cache/layers/XXXXXX")
    chmod 755 "$layer"
    export layer
    # Its first process takes the others with it, so it is the one to end and to wait for.
    # shellcheck disable=SC2317 # the trap calls it
    end_apart() {
        trap - INT TERM HUP EXIT
        if [ -n "$apart_process" ]; then
            inner=$(cat "/proc/$apart_process/task/$apart_process/children" 2>/dev/null || true)
            # shellcheck disable=SC2086 # one number, or none
            [ -z "$inner" ] || kill -KILL $inner 2>/dev/null || true
            wait "$apart_process" 2>/dev/null || true
        fi
        rm -rf --one-file-system "$layer"
    }
    trap 'end_apart; exit 130' INT TERM HUP
    trap end_apart EXIT
    local script
    script=$layer/$(basename "$0")
    { echo 'set -euo pipefail' && declare -f && echo '"$@"'; } >"$script"
    setpriv --pdeathsig KILL unshare --mount --propagation private --pid --fork --kill-child \
        --mount-proc bash "$script" "$@" <&0 &
    apart_process=$!
    wait "$apart_process" || status=$?
    apart_process=
    end_apart
    return "$status"
}

# mount_root SUITE: sets `root` to a new system of the suite with the newcomer in it. For what runs
# apart; the mounts end with it.
mount_root() {
    local pristine=$fresh_cache/roots/$1 debs=$fresh_cache/debs/$1 file
    root=$layer/root
    in_root_environment=()
    mkdir -p "$root" "$layer/changes" "$layer/work" "$debs/partial"
    if ! mount -t overlay -o "lowerdir=$pristine,upperdir=$layer/changes,workdir=$layer/work" \
        overlay "$root" 2>/dev/null; then
        # Not every file system can be a layer.
        cp -a "$pristine/." "$root"
        mount --bind "$root" "$root"
    fi
    mount_devices
    mount --bind "$debs" "$root/var/cache/apt/archives"
    for file in /etc/resolv.conf /etc/hosts; do
        cp --dereference "$file" "$root$file"
    done
    in_root root apt-get update --quiet=2
    in_root root env DEBIAN_FRONTEND=noninteractive apt-get dist-upgrade --quiet=2 --yes >/dev/null
    in_root root useradd --create-home --shell /bin/bash newcomer
    install -d -m 700 --owner "$(in_root root id -u newcomer)" "$root/home/newcomer/runtime"
}

mount_devices() {
    local device
    mount -t proc proc "$root/proc"
    mount -t tmpfs -o nosuid,mode=755 tmpfs "$root/dev"
    for device in null zero full random urandom tty; do
        touch "$root/dev/$device"
        mount --bind "/dev/$device" "$root/dev/$device"
    done
    mkdir "$root/dev/pts" "$root/dev/shm"
    mount -t devpts -o newinstance,ptmxmode=0666,mode=620,gid=5 devpts "$root/dev/pts"
    mount -t tmpfs -o nosuid,nodev,mode=1777 tmpfs "$root/dev/shm"
    ln -s pts/ptmx "$root/dev/ptmx"
    ln -s /proc/self/fd "$root/dev/fd"
    for device in stdin:0 stdout:1 stderr:2; do
        ln -s "/proc/self/fd/${device#*:}" "$root/dev/${device%:*}"
    done
}

home_of() {
    if [ "$1" = root ]; then echo /root; else echo "/home/$1"; fi
}

# clone_into_root USER: sets `clone` to where the committed state of this tree lies for a user.
clone_into_root() {
    clone=$(home_of "$1")/tarn-console
    git -c safe.directory='*' clone --quiet --no-hardlinks "$fresh_tree" "$root$clone"
    chown -R "$(in_root root id -u "$1"):$(in_root root id -g "$1")" "$root$clone"
}

# in_root USER COMMAND...: runs it in the clone, or in / while there is none. The root is the true
# one of what runs there, because in a mere chroot a user cannot have name spaces. The environment is
# that of a new login, and `in_root_environment`.
in_root() {
    local user=$1 variable proxies=()
    shift
    for variable in http_proxy https_proxy no_proxy; do
        [ -z "${!variable:-}" ] || proxies+=("$variable=${!variable}")
    done
    # shellcheck disable=SC2016 # for the other shell
    unshare --mount --propagation private bash -c '
        cd "$1" && pivot_root . . && umount --lazy . && cd "$2" && exec "${@:3}"' \
        in-root "$root" "${clone:-/}" \
        env -i PATH=/usr/local/bin:/usr/bin:/bin:/usr/local/sbin:/usr/sbin:/sbin LC_ALL=C.UTF-8 \
        HOME="$(home_of "$user")" USER="$user" LOGNAME="$user" SHELL=/bin/bash TERM=dumb \
        "${proxies[@]}" "${in_root_environment[@]}" setpriv --reuid "$user" --regid "$user" --init-groups "$@"
}

run_in_fresh_root() {
    local root clone=
    mount_root "$1"
    clone_into_root "$2"
    in_root "${@:2}"
}

if [ "${BASH_SOURCE[0]}" = "$0" ]; then
    set -euo pipefail
    # shellcheck disable=SC2016 # it is the name that is told
    usage='Usage: scripts/fresh-root.sh [--user] SUITE COMMAND [ARGUMENT...]   as root: runs the command in a
       new Debian system (bookworm, trixie, sid) that holds a clone of this tree, as root or as a
       user there, and throws the system away; what it downloads is kept below $TARN_FRESH_CACHE
       (default: /var/cache/tarn-fresh)'
    user=root
    if [ "${1:-}" = --help ] || [ "${1:-}" = -h ]; then
        echo "$usage"
        exit 0
    elif [ "${1:-}" = --user ]; then
        user=newcomer
        shift
    fi
    if [ $# -lt 2 ] || [[ $1 == -* ]]; then
        echo "$usage" >&2
        exit 2
    fi
    [ "$(id -u)" -eq 0 ] || fail 'only root can make and enter another root'
    "$(dirname "$0")/setup.sh" fresh-root
    provide_root "$1"
    status=0
    apart run_in_fresh_root "$1" "$user" "${@:2}" || status=$?
    exit "$status"
fi
