#!/usr/bin/env bash
# Builds the Debian package of this machine's architecture.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/package.sh   installs what is missing and builds build/package/tarn-console_VERSION_ARCH.deb'
    exit 0
    ;;
esac

cd "$(dirname "$0")/.."
./scripts/setup.sh build package
cmake --preset package
cmake --build --preset package --parallel "$(nproc)"
# One package there, for whoever takes it by a pattern.
rm -f build/package/tarn-console_*.deb
cpack --preset package
