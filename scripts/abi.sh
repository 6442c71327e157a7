#!/usr/bin/env bash
# Compares the symbols of its own that the library exports with the list that they are promised by,
# and tells which came and which went; or writes the list anew. Looks whether the library does without
# the parser, and whether the parser's module shows nothing but the way in.
# Usage: abi.sh [--update] [LIBRARY]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
list=$root/settings/src/settingscore/abi.txt
update=no
if [[ ${1-} == --update ]]; then
    update=yes
    shift
fi
library=${1:-$root/build/default/settings/src/settingscore/libqbsettingscore.so}
export LC_ALL=C

# By the names before they are taken apart: the library's own namespaces, and its C names. Copies of
# other libraries' templates come and go with the compiler and its options, and nobody relies on them.
own='^(_Z(T[VIT])?(N[KRO]*|L|)(8settings4core|6ZENBAR8settings|12settingscore)|libqbsettingscore_|[^_])'
# A name that two symbols have, as a constructor has, is listed once.
symbols() {
    nm --dynamic --defined-only --format=posix "$library" | awk '{ print $1 }' |
        grep -E "$own" | c++filt |
        sed -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' \
            -e 's/std::__cxx11::basic_string<char16_t, std::char_traits<char16_t>, std::allocator<char16_t> >/std::u16string/g' \
            -e 's/ >/>/g' |
        sort --unique
}
listed=$(mktemp)
trap 'rm -f "$listed"' EXIT
symbols >"$listed"

if [[ $update == yes ]]; then
    cp "$listed" "$list"
elif ! changes=$(diff "$list" "$listed"); then
    echo "The symbols that the library exports have changed:"
    sed -n -e 's/^</went:/p' -e 's/^>/came:/p' <<<"$changes"
    echo "If this is meant: a new symbol raises the version of the project, one that went or changed"
    echo "the SOVERSION as well. Then renew the list with scripts/abi.sh --update."
    exit 1
fi

if readelf --dynamic "$library" | grep --fixed-strings '[libxerces'; then
    echo "The library itself needs the parser, which is for its module."
    exit 1
fi
module=${library%/*}/qbsettings/libqbsettingsparser.so
exported=$(nm --dynamic --defined-only --format=posix "$module" | awk '{ print $1 }')
if [[ $exported != qbsettings_parser ]]; then
    echo "The parser's module exports more than its entry:"
    echo "$exported"
    exit 1
fi
