#!/usr/bin/env bash
# Checks that the sources are formatted as .clang-format says.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# By the folders, not by what git knows: a copy of the tree, or another user's clone, serves as well.
find docs settings -type f \( -name '*.cpp' -o -name '*.hpp' -o -name '*.c' -o -name '*.h' \) -print0 |
    sort --zero-terminated | xargs -0 --no-run-if-empty clang-format-14 --dry-run -Werror
