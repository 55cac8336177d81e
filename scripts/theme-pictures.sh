#!/usr/bin/env bash
# Takes pictures of the console under other styles than Qt's own, in both directions: to be looked at.
set -euo pipefail

usage='Usage: scripts/theme-pictures.sh [THEME...]   builds the dev preset and uses the console under each
       theme in both languages; pictures: build/dev/themes; themes: fusion, adwaita, adwaita-dark, gtk,
       gtk-dark (default: all)'
case ${1:-} in
-h | --help)
    echo "$usage"
    exit 0
    ;;
-*)
    echo "$usage" >&2
    exit 2
    ;;
esac

cd "$(dirname "$0")/.."
themes=("$@")
if [ ${#themes[@]} -eq 0 ]; then
    themes=(fusion adwaita adwaita-dark gtk gtk-dark)
fi
./scripts/setup.sh build display test themes
cmake --preset dev
cmake --build --preset dev --parallel "$(nproc)" --target tarn-console tarn-demo
for theme in "${themes[@]}"; do
    for language in en ar; do
        ./scripts/virtual-display.sh /usr/bin/python3 -B tests/desktop/themes.py \
            --console build/dev/bin/tarn-console --interpreter build/dev/bin/tarn-demo \
            --demo-programs demo --pictures build/dev/themes "$theme" "$language"
    done
done
echo 'Look at the pictures in build/dev/themes.'
