#!/usr/bin/env bash
# Builds the Debian package twice, in surroundings that differ wherever two machines may, and compares
# the two files bit by bit: whoever has the sources can then tell that a package was made from them.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/test-reproducible.sh   builds the package twice, with another path, time zone, umask,
       locale, home, user name and number of jobs, and compares; takes two builds of the release'
    exit 0
    ;;
'') ;;
*)
    echo 'scripts/test-reproducible.sh takes no arguments' >&2
    exit 2
    ;;
esac

cd "$(dirname "$0")/.."
./scripts/setup.sh build package
work=$(mktemp -d)
trap 'chmod -R u+rwX "$work" && rm -rf "$work"' EXIT

# build FOLDER UMASK JOBS VARIABLE...: builds in a copy of the sources with this environment alone. No
# cache may hand one build the objects of the other.
build() {
    local folder=$work/$1 mask=$2 jobs=$3
    shift 3
    (
        umask "$mask"
        mkdir -p "$folder"
        tar --create --exclude=./build --exclude=./.git . |
            tar --extract --touch --no-same-permissions --directory="$folder"
        env -i PATH="$PATH" CCACHE_DISABLE=1 CMAKE_BUILD_PARALLEL_LEVEL="$jobs" "$@" \
            "$folder/scripts/package.sh" >"$work/log" 2>&1
    ) || {
        tail -n 20 "$work/log" >&2
        echo "test-reproducible.sh: the package cannot be built in: umask $mask, $*" >&2
        return 1
    }
    package=$(find "$folder/build/package" -maxdepth 1 -name 'tarn-console_*.deb')
    echo "$(sha256sum <"$package" | cut -d ' ' -f 1)  umask $mask, $jobs jobs, $*"
}

build one 022 1 LC_ALL=C TZ=Pacific/Kiritimati HOME=/nonexistent USER=one
first=$package
build 'a second folder with a longer path/طرفية' 077 3 \
    LANG=ar_EG.UTF-8 LC_ALL=C.UTF-8 TZ=America/St_Johns HOME="$work" USER=two
second=$package

if ! cmp "$first" "$second"; then
    mkdir "$work/1" "$work/2"
    dpkg-deb --raw-extract "$first" "$work/1"
    dpkg-deb --raw-extract "$second" "$work/2"
    diff <(cd "$work/1" && find . -printf '%P %m %TY-%Tm-%Td %TH:%TM %l\n' | sort) \
        <(cd "$work/2" && find . -printf '%P %m %TY-%Tm-%Td %TH:%TM %l\n' | sort) || true
    diff --recursive --brief "$work/1" "$work/2" || true
    echo 'test-reproducible.sh: the packages differ' >&2
    exit 1
fi
echo 'Both packages are the same, bit by bit.'
