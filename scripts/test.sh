#!/usr/bin/env bash
# Installs what is missing, builds a preset (default, dev, asan, tsan) and runs its tests.
# Usage: test.sh [PRESET]
set -euo pipefail

preset=${1:-default}
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

scripts/install-packages.sh
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset" --no-tests=error --parallel "$(nproc)"
