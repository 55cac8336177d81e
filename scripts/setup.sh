#!/usr/bin/env bash
# The one list of Debian packages that the project needs. Does nothing when nothing is missing.
set -euo pipefail

usage='Usage: scripts/setup.sh [--list] [GROUP...]   installs the missing packages of the groups
       (build, clang, wayland, display, test, speech, check, lint, coverage, valgrind, package,
       package-check, package-test, fresh-root, icons, screenshots, themes, benchmark, mutants, fuzz;
       default: build display test)'

# Prints the packages of one group.
packages_of() {
    case $1 in
    build) # Building the console and running it on an X display, Arabic included.
        printf '%s\n' cmake g++ ninja-build libfontconfig-dev libxcb1-dev \
            qt6-base-dev qt6-tools-dev qt6-l10n-tools qt6-translations-l10n \
            fonts-noto-core
        ;;
    clang) # Building it by the other compiler.
        printf '%s\n' clang
        ;;
    wayland) # Running it where there is no X display but a Wayland one.
        printf '%s\n' qt6-wayland
        ;;
    display) # A virtual display: X server, window manager, keys, screenshots.
        printf '%s\n' maim openbox x11-xkb-utils xdotool xvfb
        ;;
    test) # What only the tests need: the fonts they name, Unicode as others read it, clipboard and
        # window as others see them, the sources of locales, another style, and Wayland displays.
        printf '%s\n' adwaita-qt6 at-spi2-core dbus-daemon fonts-dejavu-core gdb gir1.2-atspi-2.0 grim \
            libicu-dev locales python3 python3-gi python3-yaml qt6-wayland \
            qt6-xdgdesktopportal-platformtheme strace sway unicode-data util-linux weston \
            wl-clipboard wtype xclip
        ;;
    speech) # The screen reader that the tests listen to; it needs no sound.
        printf '%s\n' at-spi2-core dbus-daemon gir1.2-atspi-2.0 orca python3-gi
        ;;
    check) # The checks of sources, scripts and desktop files.
        printf '%s\n' appstream clang-format-14 codespell cppcheck desktop-file-utils \
            libxml2-utils man-db python3 python3-yaml shellcheck
        ;;
    lint) # Mistakes that compilers do not report.
        printf '%s\n' clang-tidy clazy
        ;;
    valgrind) # Memory errors that the sanitizers do not see.
        printf '%s\n' valgrind
        ;;
    coverage) # Which lines the tests reach.
        printf '%s\n' gcovr
        ;;
    package) # The Debian package.
        printf '%s\n' dpkg-dev file
        ;;
    package-check) # Looking into it.
        printf '%s\n' appstream binutils lintian
        ;;
    package-test) # Trying it in a fresh root.
        printf '%s\n' debootstrap
        ;;
    fresh-root) # Making and entering other Debian systems.
        printf '%s\n' debootstrap git util-linux
        ;;
    icons) # Drawing the icon in its small sizes.
        printf '%s\n' librsvg2-bin
        ;;
    themes) # The look of other desktops.
        printf '%s\n' adwaita-qt6 qt6-gtk-platformtheme
        ;;
    screenshots) # A dark palette for the pictures of the documentation.
        printf '%s\n' qt6ct
        ;;
    benchmark) # Watching windows from outside, and the terminals to compare with.
        printf '%s\n' konsole libxcb-damage0-dev libxcb-xtest0-dev libxcb1-dev xterm
        ;;
    mutants) # Planting faults: how the sources are read.
        printf '%s\n' python3 python3-clang util-linux
        ;;
    fuzz) # The fuzz targets: clang and the library that drives them.
        printf '%s\n' clang libclang-rt-dev
        ;;
    *)
        echo "setup.sh: there is no group '$1'" >&2
        return 2
        ;;
    esac
}

# Runs a command as root.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "setup.sh: installing needs root or sudo, for: $*" >&2
        return 1
    fi
}

list=false
groups=()
for argument in "$@"; do
    case $argument in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --list) list=true ;;
    -*)
        echo "$usage" >&2
        exit 2
        ;;
    *) groups+=("$argument") ;;
    esac
done
if [ ${#groups[@]} -eq 0 ]; then
    groups=(build display test)
fi

packages=()
for group in "${groups[@]}"; do
    names=$(packages_of "$group")
    mapfile -t -O ${#packages[@]} packages <<<"$names"
done

if $list; then
    printf '%s\n' "${packages[@]}"
    exit 0
fi

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "setup.sh: this is no Debian system; install what these packages hold: ${packages[*]}" >&2
    exit 1
fi

missing=()
for package in "${packages[@]}"; do
    state=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

echo "Installing: ${missing[*]}"
as_root apt-get update --quiet
as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install --quiet --yes --no-install-recommends "${missing[@]}"
