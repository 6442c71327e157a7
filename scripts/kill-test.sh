#!/usr/bin/env bash
# Installs what is missing, builds the program, and has it set values while it is killed at random
# moments: so many times (200), with the moments of the seed, or with others each time.
# Usage: kill-test.sh [TIMES [SEED]]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

scripts/install-packages.sh >&2
echo "Building; the first time takes some minutes ..." >&2
if ! log=$(cmake --preset default 2>&1 && cmake --build --preset default --target qbsettings 2>&1); then
    echo "$log" >&2
    exit 1
fi
exec settings/test/kill/kill.sh build/default/settings/src/qbsettings/qbsettings "$@"
