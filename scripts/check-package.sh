#!/usr/bin/env bash
# What can be said of the Debian package without installing it: what lintian says, what software centres
# will read, and whether its programs have the protections that they are built with.
set -euo pipefail

usage='Usage: scripts/check-package.sh [PACKAGE]   checks the package (default: the one in build/package)'
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

root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh" package-check
package=$(realpath "${1:-$(ls "$root"/build/package/tarn-console_*.deb)}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=false

fail() {
    echo "check-package.sh: $*" >&2
    failed=true
}

# expect FILE WHAT PATTERN: a line of what was found in the file has to match.
expect() {
    if grep --quiet -E -- "$3" "$work/facts"; then
        echo "  $2"
    else
        fail "$1: no $2"
    fi
}

# The compiler puts a marker where indirect calls and jumps may arrive. The property by which a system
# would enforce that also needs the marks of the C library's start files, which Debian has without.
check_control_flow() {
    case $(dpkg-deb --field "$package" Architecture) in
    amd64) expect "$1" 'control-flow protection (endbr64)' '\<endbr64\>' ;;
    arm64) expect "$1" 'control-flow protection (bti)' '\<bti\>' ;;
    esac
}

# A function that takes more stack than a page at once touches each page on its way, so that it cannot
# step over the one that guards the end.
check_stack_clash() {
    # What has sixteen digits is a negative number, and a page itself is touched.
    # shellcheck disable=SC2016 # the dollars are those of the disassembly
    if grep -E 'sub +\$0x[0-9a-f]{4,8},%rsp' "$work/facts" | grep --invert-match '\$0x1000,'; then
        fail "$1: takes more stack than a page at once"
    else
        echo '  stack-clash protection: no page is stepped over'
    fi
}

check_program() {
    local program=$1
    echo "$program:"
    (
        cd "$work/root"
        readelf --wide --file-header --program-headers --dynamic --dyn-syms "$program"
        objdump --disassemble --no-show-raw-insn "$program"
    ) >"$work/facts"
    expect "$program" 'position independent executable' '^ *Type: +DYN'
    expect "$program" 'relocations that are read-only' 'GNU_RELRO'
    expect "$program" 'all symbols bound at the start' 'FLAGS_1.*\<NOW\>'
    expect "$program" 'stack that cannot be executed' 'GNU_STACK.* RW +0x'
    expect "$program" 'stack protector' '__stack_chk_fail'
    expect "$program" 'assertions of the C++ library' '__glibcxx_assert_fail'
    check_control_flow "$program"
    check_stack_clash "$program"
    if grep --quiet --fixed-strings "$root" "$work/root/$program"; then
        fail "$program: names the folder it was built in"
    fi
}

echo 'lintian:'
lintian --allow-root --fail-on error,warning "$package" || fail 'lintian found something'
dpkg-deb --extract "$package" "$work/root"
check_program usr/lib/tarn-console/tarn-demo
check_program usr/bin/tarn-console
# The demo interpreter has no call whose size only the run shows.
expect usr/bin/tarn-console 'checked calls of the C library (FORTIFY)' '(mem|str|read|poll|printf|getcwd)[a-z]*_chk'
echo 'Software centres:'
appstreamcli validate --no-net --pedantic "$work/root/usr/share/metainfo/org.tarn.console.metainfo.xml" ||
    fail 'software centres would refuse the metainfo'
if $failed; then
    exit 1
fi
echo 'The package is as it should be.'
