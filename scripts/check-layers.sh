#!/usr/bin/env bash
# Checks that every include, of a header or a source, leads to its own folder or one below. The
# stand-in host knows of nothing but what the library requires of it, and the program of nothing but
# the headers that are installed.
# Usage: check-layers.sh [SOURCES] (settings/src by default)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "${1:-$root/settings/src}"

# From the bottom to the top. A folder within one of these belongs to it.
layers=(host errors value levels rules tree persistence prefdir roots typed)
declare -A rank=()
for i in "${!layers[@]}"; do
    rank[${layers[$i]}]=$i
done

# The headers that are installed, as the CMake file that installs them has them: whole folders, by
# "errors/*.hpp", and single ones, by "tree/Settings".
declare -A public=()
while read -r word; do
    public[${word%.hpp}]=yes
done < <(sed -n '/^file(GLOB headers/,/^  list(APPEND headers settingscore/{s,settingscore/,,g;p}' \
    "$root/packaging/CMakeLists.txt" | grep -oE '[A-Za-z]+/[A-Za-z]+(\.hpp)?|[A-Za-z]+/\*\.hpp')

# may_include FILE HEADER: by their names from here.
may_include() {
    local own=${1#settingscore/} other=${2#settingscore/}
    case $1:$2 in
        settingscore/*:settingscore/Export.hpp) ;;
        # What lies in no layer is below none.
        settingscore/*:settingscore/*/*) ((${rank[${other%%/*}]:-99} <= ${rank[${own%%/*}]:--1})) ;;
        qbhost/*:qbhost/* | qbhost/*:settingscore/host/*) ;;
        qbsettings/*:settingscore/*) [[ -v public[${other%.hpp}] || -v public[${other%/*}/*] ]] ;;
        qbsettings/*) ;;
        *) false ;;
    esac
}

status=0
for folder in $(find settingscore -mindepth 2 -name '*.[ch]pp' -printf '%P\n' | cut -d / -f 1 | sort --unique); do
    if [[ ! -v rank[$folder] ]]; then
        echo "check-layers.sh: settingscore/$folder is no layer" >&2
        status=1
    fi
done

while IFS=: read -r file line header; do
    header=$(sed -E 's/^[^<"]*[<"]([^>"]*)[>"].*/\1/' <<<"$header")
    if [[ ! -e $header ]]; then
        # Named from the folder of the file, as "../tree/Settings.hpp"; or another library's.
        header=$(realpath --quiet --relative-to=. "$(dirname "$file")/$header" || true)
        [[ -e $header ]] || continue
    fi
    if ! may_include "$file" "$header"; then
        echo "check-layers.sh: $file:$line may not include $header" >&2
        status=1
    fi
done < <(grep -rnHE --include='*.[ch]pp' '^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]' \
    settingscore qbhost qbsettings | grep -E '<(settingscore|qbhost|qbsettings)/|"' |
    sort --field-separator=: --key=1,1 --key=2,2n)
exit "$status"
