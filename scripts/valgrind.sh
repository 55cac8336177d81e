#!/usr/bin/env bash
# Runs test programs under valgrind's memcheck: use of memory that nothing was written to, which the
# sanitizers do not see.
set -euo pipefail

case ${1:-} in
-h | --help)
    echo 'Usage: scripts/valgrind.sh [PROGRAM...]   runs test programs (default: the text core, the session,
       the view and the window) under memcheck, offscreen'
    exit 0
    ;;
esac

cd "$(dirname "$0")/.."
./scripts/setup.sh build test valgrind
programs=("$@")
if [ ${#programs[@]} -eq 0 ]; then
    programs=(tst_incrementaloutputdecoder tst_transcript tst_transcript_stream
        tst_executableresolver tst_programsession tst_programsession_input
        tst_transcriptview tst_transcriptview_selection tst_inputeditor
        tst_consolewindow_run tst_consolewindow_find tst_consolewindow_platform)
fi
cmake --preset dev >/dev/null
cmake --build --preset dev --parallel "$(nproc)" --target "${programs[@]}"

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export QT_QPA_PLATFORM=offscreen LC_ALL=C.UTF-8 HOME=$home XDG_CONFIG_HOME=$home
export QTEST_FUNCTION_TIMEOUT=3600000
failed=()
for program in "${programs[@]}"; do
    echo "== $program"
    # Memory that Qt and the font libraries keep until the end is not ours to judge.
    valgrind --quiet --error-exitcode=99 --leak-check=no \
        --suppressions=tests/support/valgrind.supp "build/dev/tests/$program" \
        >"$home/log" 2>&1 || failed+=("$program")
    grep -E '^==|^FAIL|^Totals' "$home/log" || true
done
if [ ${#failed[@]} -gt 0 ]; then
    printf 'FAILED: %s\n' "${failed[@]}" >&2
    exit 1
fi
