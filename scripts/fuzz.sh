#!/usr/bin/env bash
# Installs what is missing, builds the fuzz targets, and runs each for so many seconds (300), as
# many at a time as there are processors. Prints a line a target; ends with status 1 if one found
# something. What a run learned stays in build/fuzz/corpus for the next one.
# Usage: fuzz.sh [SECONDS [TARGET...]]
set -euo pipefail

seconds=${1:-300}
shift || true
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build/fuzz
sources=$root/settings/fuzz
if [[ ! $seconds =~ ^[1-9][0-9]*$ ]]; then
    echo "Usage: fuzz.sh [SECONDS [TARGET...]]" >&2
    exit 2
fi
targets=("$@")
((${#targets[@]} > 0)) || targets=(load roundtrip plain values names lines)

"$root/scripts/install-packages.sh" >&2
echo "Building; the first time takes some minutes ..." >&2
if ! log=$(cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_COMPILER=clang++-14 -DQBSETTINGS_SANITIZE=fuzzer-no-link,address,undefined \
    -DQBSETTINGS_TESTS=OFF -DQBSETTINGS_EXAMPLES=OFF -DQBSETTINGS_FUZZ=ON \
    -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=20 2>&1 &&
    cmake --build "$build" --target "${targets[@]/#/fuzz_}" 2>&1); then
    echo "$log" >&2
    exit 1
fi

export ASAN_SYMBOLIZER_PATH=${ASAN_SYMBOLIZER_PATH:-$(command -v llvm-symbolizer-14 || true)}
mkdir -p "$build"/{corpus,findings,logs}

# run TARGET: the run, and its line.
run() {
    local target=$1 length=256 status=0 place=$build/corpus/$1 log=$build/logs/$1.log
    local seeds=("$sources/seeds/$1") words=()
    case $target in
        load | roundtrip | plain)
            length=8192
            seeds+=("$sources/seeds/files" "$root"/settings/examples/{,radio/}toolbox)
            words=("-dict=$sources/settings.dict")
            ;;
        lines) length=1024 ;;
    esac
    mkdir -p "$place"
    rm -f "$build/findings/$target"-*
    # Leaks are looked for at the end alone: what the library keeps for the next load would have
    # every other run stopped for a search.
    "$build/settings/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len="$length" -timeout=20 \
        -rss_limit_mb=2048 -entropic=0 -detect_leaks=0 -print_final_stats=1 \
        -artifact_prefix="$build/findings/$target-" "${words[@]}" "$place" "${seeds[@]}" \
        >"$log" 2>&1 || status=$?
    local findings=("$build/findings/$target"-*)
    [[ -e ${findings[0]} ]] || findings=()
    printf '%-10s %9s runs %6s/s  coverage %5s edges, %6s features  %s\n' "$target" \
        "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")" \
        "$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")" \
        "$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)" \
        "$(sed -n 's/.* ft: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)" \
        "$( ((status == 0)) && echo "no finding" || echo "FINDING, see $log")"
    if ((status != 0)); then
        printf '           reproduce with: %s %s\n' "$build/settings/fuzz/fuzz_$target" \
            "${findings[*]:-"(no input was kept)"}"
    fi
    return "$status"
}

atOnce=$(nproc)
pids=()
for target in "${targets[@]}"; do
    while (($(jobs -rp | wc -l) >= atOnce)); do
        sleep 1
    done
    run "$target" &
    pids+=("$!")
done
failed=0
for pid in "${pids[@]}"; do
    wait "$pid" || failed=1
done
exit "$failed"
