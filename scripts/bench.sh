#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks, and prints what the library costs as one table of
# ratios. Files are kept in memory where the machine has /dev/shm, and in TMPDIR where a row says so.
# Usage: bench.sh [--json FILE] [flags of Google Benchmark]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build/bench

"$root/scripts/install-packages.sh" >&2
echo "Building; the first time takes some minutes ..." >&2
# Silent unless something goes wrong: the table is what is to be read.
# Without CMake's own change of search paths at the installation: it keeps an empty entry at their end,
# and each start would look for each library in the working directory, as no installed program does.
if ! log=$(cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_NO_BUILTIN_CHRPATH=ON -DQBSETTINGS_INSTALL=OFF \
    -DQBSETTINGS_TESTS=OFF -DQBSETTINGS_EXAMPLES=OFF -DQBSETTINGS_BENCH=ON 2>&1 &&
    cmake --build "$build" --target qbbench 2>&1); then
    echo "$log" >&2
    exit 1
fi
exec "$build/settings/bench/qbbench" "$@"
