#!/usr/bin/env bash
# Installs what is missing, builds, and lets 8 processes change the same settings at once, by the
# library and by the program, while half of them are killed; then holds what is in the files against
# what each said that it had done. So many rounds (1) of so many seconds (30); any option of
# settings/test/processes can follow, such as --seed N, or --without for the same without shared
# saves, which has to lose something.
# Usage: processes.sh [ROUNDS [SECONDS [OPTION...]]]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

scripts/install-packages.sh >&2
echo "Building; the first time takes some minutes ..." >&2
if ! log=$(cmake --preset default 2>&1 &&
    cmake --build --preset default --target qbsettings processes 2>&1); then
    echo "$log" >&2
    exit 1
fi
exec build/default/settings/test/processes run \
    --program "$root/build/default/settings/src/qbsettings/qbsettings" \
    --rounds "${1:-1}" --seconds "${2:-30}" "${@:3}"
