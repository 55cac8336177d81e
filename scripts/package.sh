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

# The package depends on the sources alone, to the bit: its dates are that of its change log, its
# permissions are ours, and names of files are UTF-8, which a bare system's locale is not.
export LC_ALL=C.UTF-8
umask 022
SOURCE_DATE_EPOCH=$(dpkg-parsechangelog --file packaging/debian-changelog --show-field Timestamp)
export SOURCE_DATE_EPOCH

cmake --preset package
cmake --build --preset package --parallel "${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}"
# One package there, for whoever takes it by a pattern.
rm -f build/package/tarn-console_*.deb
cpack --preset package
