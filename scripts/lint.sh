#!/usr/bin/env bash
# Checks what needs no run: the format and the layers of the sources, the scripts, the API pages (no
# public name without a comment), the example files against their schema, and what clang-tidy
# and clang's own warnings find in the library, the stand-in host, the program and the examples
# (.clang-tidy has the checks).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build/lint
cd "$root"

scripts/install-packages.sh
scripts/check-format.sh
scripts/check-layers.sh
find .ci scripts packaging settings -type f \( -name '*.sh' -o -path '.ci/run' -o -name '*.bash' \) \
    -print0 | sort --zero-terminated | xargs -0 shellcheck
scripts/docs.sh

# Several sources are read at once, as their headers take most of the time. Without precompiled
# headers each still has to include what it needs.
rm -rf "$build"
if ! log=$(cmake -S "$root" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++-14 \
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=10 \
    -DQBSETTINGS_PCH=OFF -DQBSETTINGS_TESTS=OFF 2>&1); then
    echo "$log" >&2
    exit 1
fi
find "$build" -name 'unity_*.cxx' -print0 | sort --zero-terminated |
    xargs -0 -P "$(nproc)" -n 1 clang-tidy-14 -p "$build" --quiet 2> >(grep -v ' warnings\? generated' >&2)
echo "lint.sh: nothing found"
