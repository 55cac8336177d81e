#!/usr/bin/env bash
# Draws the small sizes of the icon from its SVG sources: not every program that shows an icon reads
# SVG, and at 16 and 22 pixels the strokes have to lie on the grid.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/icons.sh   draws packaging/icons/*.png again from the SVG files beside them'
    exit 0
    ;;
esac

cd "$(dirname "$0")/.."
./scripts/setup.sh icons
icons=packaging/icons
for size in 16 22 24 32 48 64 128; do
    drawing=$icons/org.tarn.console-$size.svg
    [ -f "$drawing" ] || drawing=$icons/org.tarn.console.svg
    rsvg-convert --width "$size" --height "$size" "$drawing" \
        --output "$icons/org.tarn.console-$size.png"
done
