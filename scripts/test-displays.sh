#!/usr/bin/env bash
# Plays the desktop scenarios on X11 and on Wayland at the scales that people have.
set -euo pipefail

usage='Usage: scripts/test-displays.sh [--platform x11|wayland] [--scale FACTOR] [SCENARIO...]
       builds the dev preset and plays the scenarios (default: all) on both platforms at the scales
       1, 1.25, 1.5 and 2: keys, clipboard, drops, choosers and identity of the window, and no message
       on the terminal; takes about ten minutes. Pictures of failures: build/dev/tests/desktop/pictures'

platforms=(x11 wayland)
scales=(1 1.25 1.5 2)
scenarios=()
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --platform)
        platforms=("${2:?"$usage"}")
        shift 2
        ;;
    --scale)
        scales=("${2:?"$usage"}")
        shift 2
        ;;
    -*)
        echo "$usage" >&2
        exit 2
        ;;
    *)
        scenarios+=("$1")
        shift
        ;;
    esac
done

cd "$(dirname "$0")/.."
./scripts/setup.sh build display test
cmake --preset dev
cmake --build --preset dev --parallel "$(nproc)" --target tarn-console tarn-demo dragsource
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

play() {
    local platform=$1 scale=$2 display=() options=()
    case $platform in
    x11)
        # A screen on which the window at that scale has place.
        display=(./scripts/virtual-display.sh
            --size "$(awk -v s="$scale" 'BEGIN { printf "%dx%d", 1280 * s, 900 * s }')")
        options=(--scale "$scale")
        ;;
    wayland) display=(./scripts/wayland-display.sh --keys --scale "$scale") ;;
    *)
        echo "$usage" >&2
        exit 2
        ;;
    esac
    "${display[@]}" /usr/bin/python3 -B tests/desktop/scenarios.py \
        --console build/dev/bin/tarn-console --interpreter build/dev/bin/tarn-demo \
        --demo-programs demo --pictures "build/dev/tests/desktop/pictures/$platform-$scale" \
        "${options[@]}" "$3"
}

if [ ${#scenarios[@]} -eq 0 ]; then
    mapfile -t scenarios < <(/usr/bin/python3 -B tests/desktop/scenarios.py --list)
fi
failed=0
for platform in "${platforms[@]}"; do
    for scale in "${scales[@]}"; do
        passed=0
        for scenario in "${scenarios[@]}"; do
            if play "$platform" "$scale" "$scenario" >"$work/log" 2>&1; then
                passed=$((passed + 1))
            else
                failed=$((failed + 1))
                echo "FAILED: $scenario on $platform at $scale"
                cat "$work/log"
            fi
        done
        echo "$platform at scale $scale: $passed of ${#scenarios[@]}"
    done
done
[ "$failed" -eq 0 ]
