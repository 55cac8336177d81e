#!/usr/bin/env bash
# What a newcomer on a new Debian finds: in a fresh system of a suite, as root and as a plain user with
# sudo, the two commands of the README, and then the package's test. Ends with a table.
set -euo pipefail

# shellcheck disable=SC2016 # it is the name that is told
usage='Usage: scripts/test-fresh.sh [OPTION...] SUITE...   as root: tries the committed state of this tree in fresh
       Debian systems (bookworm, trixie, sid) and prints a table; the first time it downloads each
       system, and each try takes many minutes
  --only PART     only run, test or package; may be given again
  --root, --user  only as root, or only as a plain user; the package is tested as root
  --tests REGEX   only the tests whose names match
  --ccache        compiles with ccache, which remembers what it compiled from one try to the next
  --cache DIR     where the pristine systems, downloads and logs are kept
                  (default: $TARN_FRESH_CACHE, else /var/cache/tarn-fresh)'

scripts=$(cd "$(dirname "$0")" && pwd)

parts=()
users=()
suites=()
export tests='' ccache=false
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --only) parts+=("${2:-}") && shift ;;
    --root) users+=(root) ;;
    --user) users+=(newcomer) ;;
    --tests) tests=${2:-} && shift ;;
    --ccache) ccache=true ;;
    --cache) export TARN_FRESH_CACHE=${2:-} && shift ;;
    bookworm | trixie | sid) suites+=("$1") ;;
    *)
        echo "$usage" >&2
        exit 2
        ;;
    esac
    shift || { echo "$usage" >&2 && exit 2; }
done
[ ${#parts[@]} -gt 0 ] || parts=(run test package)
[ ${#users[@]} -gt 0 ] || users=(root newcomer)
for part in "${parts[@]}"; do
    [[ $part =~ ^(run|test|package)$ ]] || { echo "$usage" >&2 && exit 2; }
done
[ ${#suites[@]} -gt 0 ] || { echo "$usage" >&2 && exit 2; }
export wanted=" ${parts[*]} "

# shellcheck source=scripts/virtual-display.sh
. "$scripts/virtual-display.sh"
# shellcheck source=scripts/fresh-root.sh
. "$scripts/fresh-root.sh"
[ "$(id -u)" -eq 0 ] || fail 'only root can make and enter another root'

say() {
    echo "== $*"
}

# The functions from here on run apart, where `suite` and `user` are set, and `results` says in which
# file to note how each part went.

note() {
    echo "$1=$2" >>"$results"
}

# attempt PART COMMAND...: notes how a part went, in words of its own or with the time it took, and
# keeps its output.
attempt() {
    local part=$1 start=$SECONDS said=
    shift
    [[ $wanted == *" $part "* ]] || return 0
    log=$fresh_cache/logs/$suite-$user-$part.log
    say "$suite, as $user: $part ($log)"
    # Not in a condition, where no failure would end it.
    ("$@") >"$log" 2>&1 &
    if wait $!; then
        said="works, $((SECONDS - start)) s"
    else
        said=FAILED
        tail -n 15 "$log"
        note failed "$part"
    fi
    if [ "$part" = test ]; then
        said=$(sed --quiet -E 's/.*, ([0-9]+) tests failed out of ([0-9]+)$/\1 \2/p' "$log" |
            { read -r lost all && echo "$((all - lost)) of $all, $((SECONDS - start)) s"; } ||
            echo "$said")
    fi
    note "$part" "$said"
}

find_window() {
    window=$(xdotool search --onlyvisible --class '^TARN Console$' | tail -n 1)
    [ -n "$window" ]
}

is_gone() {
    ! kill -0 "$1" 2>/dev/null
}

has_window_or_ended() {
    find_window || is_gone "$starter"
}

# The README's first command on a desktop, until its window is there; and where there is no display.
try_run() {
    local console starter
    trap stop_virtual_display EXIT
    start_virtual_display
    in_root "$user" env DISPLAY="$DISPLAY" XDG_RUNTIME_DIR="$(home_of newcomer)/runtime" \
        ./scripts/run.sh &
    starter=$!
    wait_until 3600 has_window_or_ended || fail 'run.sh neither ended nor opened a window'
    find_window || fail 'run.sh opened no window'
    xdotool windowactivate --sync "$window"
    maim --window "$window" "$fresh_cache/logs/$suite-$user-run.png"
    console=$(xdotool getwindowpid "$window")
    kill "$console"
    wait_until 60 is_gone "$console" || fail 'the console did not end'
    wait "$starter" || true

    rm -f "$root$clone/build/release/run.png"
    in_root "$user" ./scripts/run.sh
    [ -s "$root$clone/build/release/run.png" ] || fail 'run.sh left no picture where there is no display'
}

try_test() {
    if [ -n "$tests" ]; then
        in_root "$user" ./scripts/test.sh dev -R "$tests"
    else
        in_root "$user" ./scripts/test.sh
    fi
}

try_package() {
    mkdir "$root/srv/pristine"
    mount --bind "$fresh_cache/roots/$suite" "$root/srv/pristine"
    in_root root ./scripts/test-package.sh --root /srv/pristine
}

# What the README takes for granted of a user.
give_sudo() {
    in_root root env DEBIAN_FRONTEND=noninteractive \
        apt-get install --quiet=2 --yes --no-install-recommends sudo >/dev/null
    echo 'newcomer ALL=(ALL) NOPASSWD: ALL' >"$root/etc/sudoers.d/newcomer"
}

# So that a second try need not compile what has not changed.
give_ccache() {
    local cache=$fresh_cache/ccache
    in_root root env DEBIAN_FRONTEND=noninteractive \
        apt-get install --quiet=2 --yes --no-install-recommends ccache >/dev/null
    mkdir -p "$cache" "$root/var/cache/ccache"
    chmod 777 "$cache"
    mount --bind "$cache" "$root/var/cache/ccache"
    printf '%s\n' 'cache_dir = /var/cache/ccache' 'umask = 000' 'hash_dir = false' \
        'sloppiness = pch_defines,time_macros,include_file_ctime,include_file_mtime' \
        "base_dir = $(home_of "$user")" >"$root/etc/ccache.conf"
    in_root_environment=(CMAKE_CXX_COMPILER_LAUNCHER=ccache)
}

# The version of a package in the root, without what Debian adds to it.
version_of() {
    # shellcheck disable=SC2016 # dpkg's own variables
    in_root root dpkg-query --show --showformat='${Version}' "$1" 2>/dev/null |
        sed -E 's/^[0-9]+://; s/[+~-].*//' || true
}

try_suite() {
    local root clone='' log=''
    mount_root "$suite"
    [ "$user" = root ] || give_sudo
    ! $ccache || give_ccache
    clone_into_root "$user"
    attempt run try_run
    attempt test try_test
    [ "$user" != root ] || attempt package try_package
    clone=
    note qt "$(version_of qt6-base-dev)"
    note compiler "g++ $(version_of g++)"
}

# From here on: outside.

row() {
    printf '| %-8s | %-7s | %-10s | %-8s | %-14s | %-18s | %-14s |\n' "$@"
}

# result KEY FILE
result() {
    sed --quiet "s/^$1=//p" "$2" | tail -n 1
}

"$scripts/setup.sh" display fresh-root
mkdir -p "$fresh_cache/logs"
table=$(row suite Qt compiler as run.sh test.sh package)
failures=0
for suite in "${suites[@]}"; do
    provide_root "$suite"
    for user in "${users[@]}"; do
        results=$fresh_cache/logs/$suite-$user.results
        rm -f "$results"
        export suite user results
        apart try_suite || note failed fresh
        [ -z "$(result failed "$results")" ] || failures=$((failures + 1))
        table+=$'\n'$(row "$suite" "$(result qt "$results")" "$(result compiler "$results")" "$user" \
            "$(result run "$results")" "$(result test "$results")" "$(result package "$results")")
    done
done
echo "$table"
[ "$failures" -eq 0 ]
