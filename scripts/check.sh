#!/usr/bin/env bash
# Everything that can be checked without running the program: form, spelling, translations, what
# desktops and a CI service will be given, code that nobody uses, who includes whom, and how large
# things are.
set -euo pipefail

usage='Usage: scripts/check.sh [--lint]   installs what is missing and checks sources, scripts, texts and desktop
       files; with --lint also what scripts/lint.sh looks for, which takes minutes'
lint=false
case ${1:-} in
'') ;;
-h | --help)
    echo "$usage"
    exit 0
    ;;
--lint) lint=true ;;
*)
    echo "$usage" >&2
    exit 2
    ;;
esac

cd "$(dirname "$0")/.."
./scripts/setup.sh build check
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# files TEST...: the project's files that pass the tests of find, also those git does not know yet.
files() {
    find . \( -path ./build -o -path ./.git -o -name __pycache__ \) -prune -o -type f \( "$@" \) -print
}

check_format() {
    files -name '*.cpp' -o -name '*.h' | xargs clang-format-14 --dry-run --Werror || {
        echo 'Form the files anew: clang-format-14 -i FILE...'
        return 1
    }
}

check_scripts() {
    files -name '*.sh' -o -path ./.ci/run | xargs shellcheck --external-sources
    files -name '*.py' | xargs -n 1 python3 -c \
        'import ast, sys; ast.parse(open(sys.argv[1]).read(), sys.argv[1])'
    local script
    for script in scripts/*.sh scripts/*.py .ci/run; do
        [ -x "$script" ] || { echo "$script is not executable" && return 1; }
        [[ $("$script" --help) == *[Uu]sage* ]] || { echo "$script has no help" && return 1; }
    done
}

# English only; the ignored words are parts of texts that tests cut in pieces.
check_spelling() {
    files ! -name '*.png' ! -name '*.ts' ! -name '*.ar.*' ! -path '*/corpus/*' |
        xargs codespell --ignore-words-list=beng,hel,nd,nin
}

# The catalogue has every text of the sources, no other, and all of them translated.
check_catalogue() {
    local catalogue=translations/tarn_console_ar.ts lupdate
    lupdate=$(PATH=/usr/lib/qt6/bin:$PATH command -v lupdate)
    cp $catalogue "$work"
    "$lupdate" src -silent -no-obsolete -locations none -source-language en -target-language ar \
        -ts "$work/tarn_console_ar.ts"
    if ! diff --unified $catalogue "$work/tarn_console_ar.ts" ||
        grep --line-number 'type="unfinished"' $catalogue; then
        echo 'Bring it up to date: cmake --build --preset dev --target update-translations'
        echo "and translate what is unfinished in $catalogue"
        return 1
    fi
}

check_desktop_files() {
    desktop-file-validate packaging/org.tarn.console.desktop
    files -name '*.svg' -o -path './packaging/*.xml' -o -name '*.ts' | xargs xmllint --noout --nonet
    # As it is, and as it will be once the project is published somewhere.
    local homepage
    for homepage in '' https://tarn.test; do
        cmake -S packaging/metainfo -B "$work/metainfo" ${homepage:+-D TARN_HOMEPAGE=$homepage} \
            >"$work/metainfo.log"
        appstreamcli validate --no-net --pedantic "$work/metainfo/org.tarn.console.metainfo.xml" |
            tee "$work/remarks"
        # Old and new each remark that they do not want the other's name of the developers.
        if grep '^[EWIP]: ' "$work/remarks" | grep --invert-match --quiet \
            -e ' unknown-tag developer$' -e ' developer-name-tag-deprecated$'; then
            return 1
        fi
    done
}

# Names what only the owner can give, which no check can; and what is repeated of it agrees.
check_owner() {
    local maintainer
    sed --quiet 's|^set(\(TARN_[A-Z_]*\) \("[^"]*[.]example[^"]*"\).*|A placeholder, for the owner to say: \1 \2|p' \
        packaging/owner.cmake
    if grep --quiet 'No licence has been chosen' packaging/copyright; then
        echo 'A placeholder, for the owner to say: the licence, in packaging/copyright'
    fi
    maintainer=$(sed --quiet 's/^set(TARN_PACKAGE_MAINTAINER "\(.*\)" CACHE.*/\1/p' packaging/owner.cmake)
    [ -n "$maintainer" ]
    grep --quiet --fixed-strings -- " -- $maintainer  " packaging/debian-changelog ||
        { echo "packaging/debian-changelog is not by $maintainer" && return 1; }
}

check_manual_pages() {
    local page
    for page in packaging/*.1; do
        LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings --encoding=UTF-8 --troff-device=utf8 --ditroff \
            --local-file "$page" 2>&1 >/dev/null | tee "$work/warnings"
        [ ! -s "$work/warnings" ]
        # Otherwise whatis and apropos would not find it.
        lexgrog "$page" >/dev/null || { echo "$page has no name that can be found" && return 1; }
    done
}

# The build knows the version and the date of the release; what is read as it is repeats them.
check_version() {
    local version date page
    version=$(sed --quiet 's/^project(tarn-console VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
    date=$(sed --quiet 's/^set(TARN_RELEASE_DATE \(.*\))$/\1/p' packaging/metainfo/CMakeLists.txt)
    [ -n "$version" ] && [ -n "$date" ]
    # expect FILE TEXT: the text has to be somewhere in the file.
    expect() {
        grep --quiet --fixed-strings -- "$2" "$1" || { echo "$1 does not have: $2" && return 1; }
    }
    expect packaging/metainfo/CMakeLists.txt "VERSION $version "
    for page in packaging/*.1; do
        expect "$page" "1 $date \"TARN Console $version\""
    done
    expect tests/app/installation.sh "'TARN Console $version'"
    expect tests/app/tst_commandline.cpp "TARN Console $version"
    head -n 1 packaging/debian-changelog >"$work/debian-changelog"
    expect "$work/debian-changelog" "($version)"
    grep --max-count=1 '^ -- ' packaging/debian-changelog >"$work/debian-changelog"
    expect "$work/debian-changelog" "$(LC_ALL=C date --utc --date "$date" '+%a, %d %b %Y')"
}

# Functions that no line of the project calls, nor Qt through an override. Test programs are left
# out: Qt Test calls their functions by name; and so is what a macro of Qt declares.
check_unused() {
    local file name
    cppcheck --quiet --enable=unusedFunction --std=c++20 --language=c++ --library=qt -I src -I tests \
        --template='{file} {id} {message}' src demo tests benchmarks fuzz 2>"$work/unused"
    # On one line, because a declaration may take two.
    files -path './src/*.h' -o -path './demo/*.h' -o -path './tests/*.h' | xargs cat | tr '\n' ' ' \
        >"$work/headers"
    # What is in tests/torture is called by whoever calls the C library, and by the language.
    sed --quiet "/\/tst_/d; /\/torture\//d; /'trUtf8'/d; s/^\([^ ]*\) unusedFunction .*'\(.*\)'.*/\1 \2/p" "$work/unused" |
        while read -r file name; do
            grep --quiet -E "\\<$name\\([^;{]*override" "$work/headers" || echo "$file: $name is unused"
        done >"$work/report"
    cat "$work/report"
    [ ! -s "$work/report" ]
}

failed=()
run() {
    echo "== $1"
    # In a shell of its own, which ends at the first command that fails.
    if ! (bash -c "$(declare -f); set -euo pipefail; work=$work; $2"); then
        failed+=("$1")
    fi
}

run 'Format' check_format
run 'Scripts' check_scripts
run 'Spelling' check_spelling
run 'Arabic catalogue' check_catalogue
run 'Desktop files' check_desktop_files
run 'Owner' check_owner
run 'Manual pages' check_manual_pages
run 'Version' check_version
run 'CI file' '/usr/bin/python3 -B scripts/cifile.py'
run 'Unused functions' check_unused
run 'Includes' ./scripts/includes.py
run 'Sizes' ./scripts/sizes.py
if $lint; then
    run 'Lint' ./scripts/lint.sh
fi

if [ ${#failed[@]} -gt 0 ]; then
    printf 'FAILED: %s\n' "${failed[@]}" >&2
    exit 1
fi
echo 'All checks passed.'
