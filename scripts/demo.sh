#!/usr/bin/env bash
# Installs what is missing, builds the library, the program and the examples, and shows what they do.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

scripts/install-packages.sh
echo "Building; the first time takes some minutes ..." >&2
# Silent unless something goes wrong: the demo is what is to be read.
if ! log=$(cmake --preset default 2>&1 &&
    cmake --build --preset default --target qbsettings settings/examples/all 2>&1); then
    echo "$log" >&2
    exit 1
fi
exec settings/examples/demo.sh "$root/build/default"
