#!/usr/bin/env bash
# installation.sh BUILD: installs the build into an empty folder and looks at what is there.
set -euo pipefail

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$1" --prefix "$prefix" >/dev/null

icons=$(printf 'share/icons/hicolor/%sx%s/apps/org.tarn.console.png\n' \
    16 16 22 22 24 24 32 32 48 48 64 64 128 128)
expected=$(sort <<FILES
bin/tarn-console
lib/tarn-console/tarn-demo
share/applications/org.tarn.console.desktop
share/doc/tarn-console/changelog.gz
share/doc/tarn-console/copyright
share/doc/tarn-console/examples/greeting.tarn
share/doc/tarn-console/examples/market.tarn
share/doc/tarn-console/examples/تحية.ترن
$icons
share/icons/hicolor/scalable/apps/org.tarn.console.svg
share/icons/hicolor/scalable/mimetypes/text-x-tarn.svg
share/man/ar/man1/tarn-console.1.gz
share/man/man1/tarn-console.1.gz
share/metainfo/org.tarn.console.metainfo.xml
share/mime/packages/org.tarn.console.xml
share/tarn-console/translations/tarn_console_ar.qm
FILES
)
found=$(cd "$prefix" && find . -type f -printf '%P\n' | sort)
diff <(echo "$expected") <(echo "$found") || fail 'other files than expected (<) are installed (>)'

[ "$("$prefix/bin/tarn-console" --version)" = 'TARN Console 0.5.0' ] || fail 'it does not start'
shown=$("$prefix/lib/tarn-console/tarn-demo" run \
    "$prefix/share/doc/tarn-console/examples/تحية.ترن" <<<$'ليلى\n1')
[[ $shown == *ليلى* ]] || fail 'the demo does not run'

update-mime-database "$prefix/share/mime" 2>/dev/null
for pattern in '*.tarn' '*.ترن'; do
    grep --quiet --line-regexp --fixed-strings "50:text/x-tarn:$pattern" "$prefix/share/mime/globs2" ||
        fail "no file type for $pattern"
done
