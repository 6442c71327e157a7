#!/usr/bin/env bash
# Checks that the sources, those that git does not know yet included, are formatted as .clang-format
# says.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# Files that are tracked but removed from disk are listed as well.
git ls-files -z --cached --others --exclude-standard -- '*.cpp' '*.hpp' '*.c' '*.h' |
    while IFS= read -r -d '' file; do
        if [[ -e $file ]]; then
            printf '%s\0' "$file"
        fi
    done | xargs -0 --no-run-if-empty clang-format-14 --dry-run -Werror
