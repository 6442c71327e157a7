#!/usr/bin/env bash
# What to run before pushing: looks at what has changed since the branch left main (or since COMMIT),
# with what is not committed yet. Format, layers, what shellcheck and clang-tidy say of the changed
# files, and the tests that belong to them, built by the preset dev. Takes a minute or so when build/dev
# is there; scripts/lint.sh and scripts/test.sh look at everything.
#
# The tests of a source are those of the folder of the same name: settings/src/settingscore/tree and
# settings/test/settingscore/tree; those of a test file its own.
# Usage: check.sh [COMMIT]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
build=build/check

# On main itself, since it was last pushed.
base=${1-}
for candidate in origin/main main HEAD; do
    [[ -n $base ]] || base=$(git merge-base "$candidate" HEAD 2>/dev/null || true)
done
mapfile -t changed < <({
    git diff --name-only --diff-filter=d "$base" --
    git ls-files --others --exclude-standard
} | sort --unique)
if ((${#changed[@]} == 0)); then
    echo "check.sh: nothing has changed since $(git log -1 --format='%h %s' "$base")"
    exit 0
fi

# matching PATTERN: the changed files whose names match.
matching() {
    printf '%s\n' "${changed[@]}" | grep -E "$1" || true
}

scripts/install-packages.sh
echo "check.sh: format and layers"
matching '^(docs|settings)/.*\.([ch]pp|[ch])$' |
    xargs --no-run-if-empty --delimiter='\n' clang-format-14 --dry-run -Werror
scripts/check-layers.sh
matching '\.(sh|bash)$|^\.ci/run$' | xargs --no-run-if-empty --delimiter='\n' shellcheck

# A header is looked at through the source of the same name. Test sources have no such check.
mapfile -t sources < <(matching '^settings/(src|examples)/.*\.[ch]pp$' | sed 's/\.hpp$/.cpp/' | sort --unique)
if ((${#sources[@]} > 0)); then
    if ! log=$(cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_BUILD_TYPE=Debug \
        -DQBSETTINGS_PCH=OFF -DQBSETTINGS_TESTS=OFF 2>&1); then
        echo "$log" >&2
        exit 1
    fi
    # Those that the build knows: not what a machine without Java, say, leaves out.
    mapfile -t sources < <(printf '%s\n' "${sources[@]}" | while read -r source; do
        if grep --quiet --fixed-strings "\"$root/$source\"" "$build/compile_commands.json"; then
            echo "$source"
        fi
    done)
    echo "check.sh: clang-tidy reads ${#sources[@]} source(s)"
    printf '%s\n' "${sources[@]}" |
        xargs --no-run-if-empty --delimiter='\n' -P "$(nproc)" -n 1 clang-tidy-14 -p "$build" --quiet \
            2> >(grep -v ' warnings\? generated' >&2)
fi

# The folders and files of the tests.
places=()
for file in "${changed[@]}"; do
    place=""
    case $file in
        settings/test/*_test.cpp) place=$file ;;
        settings/test/support/* | settings/src/settingscore/Export.hpp) place=settings/test ;;
        settings/test/plugins/*) place=settings/test/settingscore ;;
        settings/src/settingscore/settings.xsd) place=settings/test/settingscore/persistence ;;
        settings/src/settingscore/*/*) place=settings/test/$(cut -d / -f 3-4 <<<"$file") ;;
        settings/src/qbhost/*) place=settings/test/qbhost ;;
        docs/samples/* | README.md) place=settings/test/customer ;;
        settings/src/qbsettings/* | docs/*.md) place=settings/test/qbsettings ;;
    esac
    [[ -z $place || ! -e $place ]] || places+=("$place")
done
mapfile -t tests < <(((${#places[@]} == 0)) || find "${places[@]}" -name '*_test.cpp' | sort --unique)
if ((${#tests[@]} == 0)); then
    echo "check.sh: no tests belong to these changes alone; scripts/test.sh runs all"
    exit 0
fi
# Of the build: the programs that the files are part of. Of ctest: the suites that stand in the files.
suites=$(sed -nE 's/^(TYPED_)?TEST(_F|_P)?\(([A-Za-z0-9_]+),.*/\3/p' "${tests[@]}" | sort --unique | paste -sd '|')
echo "check.sh: building the tests of ${#tests[@]} file(s)"
if ! log=$(cmake --preset dev 2>&1); then
    echo "$log" >&2
    exit 1
fi
mapfile -t programs < <(ninja -C build/dev -t targets all |
    grep --fixed-strings "$(printf '%s.o:\n' "${tests[@]#settings/test/}")" |
    sed -E 's,.*/CMakeFiles/([^/]*)\.dir/.*,\1,' | sort --unique)
cmake --build --preset dev --target "${programs[@]}"
ctest --preset dev --parallel "$(nproc)" --no-tests=error --tests-regex "(^|/)($suites)[./]"
