#!/usr/bin/env bash
# Makes docs/screenshots afresh from the built program, on a virtual display.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/screenshots.sh [NAME...]   takes the pictures of docs/screenshots again (default: all)'
    exit 0
    ;;
esac

root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/release
"$root/scripts/setup.sh" build display screenshots test
(
    cd "$root"
    cmake --preset release
    cmake --build --preset release --parallel "$(nproc)"
)
"$root/scripts/virtual-display.sh" python3 -B "$root/scripts/screenshots.py" \
    --console "$build/bin/tarn-console" --interpreter "$build/bin/tarn-demo" \
    --demo-programs "$root/demo" --pictures "$root/docs/screenshots" "$@"
