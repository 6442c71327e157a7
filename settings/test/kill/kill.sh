#!/usr/bin/env bash
# Has the program set values of a large product while it is killed at random moments, and looks at
# what is left each time:
# - every file can be read, and the temporary folders that a kill leaves are nobody's settings;
# - every key has its old or its new value; several that are set at once are all new or all old, as
#   they have one save;
# - all is new if the program said that it was done, which is its status 0;
# - the next command neither waits nor fails.
# Usage: kill.sh PROGRAM [TIMES [SEED]]
set -euo pipefail

program=$(realpath "${1:?Usage: kill.sh PROGRAM [TIMES [SEED]]}")
QBHOST_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)
export QBHOST_ROOT
times=${2:-200}
seed=${3:-$((RANDOM * 32768 + RANDOM))}
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
cd "$place"

unset SETTINGS_WORKGROUPDIR ZENBAR_PREFDIR QBHOST_LOG
export HOME=$place SETTINGS_FACTORYDIR=$place/toolbox SETTINGS_USERDIR=$place/user
shopt -s nullglob
RANDOM=$seed

fail() {
    echo "kill.sh: seed $seed, kill $round: $*; the files are kept in $place" >&2
    trap - EXIT
    exit 1
}

# The product "p": 20 groups of 100 keys, all 0.
writeProduct() {
    local group key
    printf '<?xml version="1.0" encoding="UTF-8"?>\n<settings name="p" visible="true" version="1" %s %s %s>\n' \
        'xmlns="urn:quillbyte.zenbar.settings"' \
        'xsi:schemaLocation="urn:quillbyte.zenbar.settings settings.xsd"' \
        'xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"'
    for group in {0..19}; do
        printf '<settings name="g%d" visible="true">\n' "$group"
        for key in {0..99}; do
            printf '<key name="k%d" visible="true"><int32><value>0</value></int32></key>\n' "$key"
        done
        printf '</settings>\n'
    done
    printf '</settings>\n'
}
mkdir -p toolbox/p user
writeProduct >toolbox/p/p.settings

# The keys that are set, in order: the first alone, or all.
names=(p.g7.k70 p.g0.k0 p.g19.k99 p.g3.k33 p.g11.k5 p.g12.k12 p.g1.k98 p.g18.k2 p.g5.k50 p.g6.k7)
all=${#names[@]}

# start COUNT VALUE: sets the first COUNT of them; leaves the process in `pid`.
start() {
    printf "%s = $2\n" "${names[@]:0:$1}" >changes
    "$program" set-many changes 2>messages &
    pid=$!
}

# The values as another command sees them, in `now`; nothing but the names may differ from 0.
look() {
    local name value
    timeout 60 "$program" check >checked 2>&1 || fail "check: $(<checked)"
    timeout 60 "$program" list >listed 2>messages || fail "list: $(<messages)"
    (($(wc -l <listed) == 2000)) || fail "not all keys are there, or more"
    declare -A values=()
    while IFS=$'\t' read -r name _ _ value; do
        values[$name]=$value
    done <listed
    now=()
    for name in "${names[@]}"; do
        now+=("${values[$name]}")
        unset "values[$name]"
    done
    for value in "${values[@]}"; do
        ((value == 0)) || fail "a key that was never set has a value"
    done
}

microseconds() {
    echo "${EPOCHREALTIME/[^0-9]/}"
}

# How long an undisturbed run takes, and one save in it, for the moments of the kills.
declare -A duration
round=0
for count in 1 "$all"; do
    for value in -1 -2; do
        begin=$(microseconds)
        start "$count" "$value"
        wait "$pid" || fail "$(<messages)"
        duration[$count]=$(($(microseconds) - begin))
    done
done
save=$(((duration[$all] - duration[1]) / (all - 1)))
((save >= 500)) || save=500
look
before=("${now[@]}")

# A pipe on which nothing ever comes: a read from it sleeps, and starts no process.
mkfifo never
exec {never}<>never

# pause MICROSECONDS: of a random time up to that.
pause() {
    local time=$(($1 * (RANDOM * 32768 + RANDOM) / (1 << 30))) seconds
    printf -v seconds '%d.%06d' $((time / 1000000)) $((time % 1000000))
    read -r -t "$seconds" -u "$never" || true
}

known=0 ended=0
for ((round = 1; round <= times; ++round)); do
    count=$((round % 2 ? 1 : all))
    start "$count" "$round"
    if ((round % 4 < 2)); then
        # A little longer than a run, so that some come to their end.
        pause $((duration[$count] * 11 / 10))
    else
        # In the first save after some moment, which a temporary folder tells of.
        pause $((duration[$count] / 2))
        temporaries=()
        while [[ -d /proc/$pid ]] && ((${#temporaries[@]} <= known)); do
            temporaries=(user/temp*)
        done
        pause "$save"
    fi
    # By its place in the shell's table: another process can have the number of one that has ended.
    kill -KILL %% 2>/dev/null || true
    status=0
    { wait "$pid" || status=$?; } 2>/dev/null
    ((status == 0 || status == 128 + 9)) || fail "status $status: $(<messages)"

    look
    isNew=0
    [[ ${now[0]} != "$round" ]] || isNew=1
    ((isNew || status != 0)) || fail "${names[0]} is ${now[0]}, and was said to be set"
    for i in "${!names[@]}"; do
        wanted=${before[$i]}
        ((!isNew || i >= count)) || wanted=$round
        [[ ${now[$i]} == "$wanted" ]] ||
            fail "${names[$i]} is ${now[$i]} and not $wanted; all are ${now[*]}"
    done
    temporaries=(user/temp*)
    ended=$((ended + (status == 0)))
    known=${#temporaries[@]}
    before=("${now[@]}")
done

round=end
start "$all" 1000000
wait "$pid" || fail "$(<messages)"
look
for value in "${now[@]}"; do
    ((value == 1000000)) || fail "the last run set ${now[*]}"
done

echo "seed $seed: $times runs, of which $ended came to their end; all files whole, nothing lost," \
    "$known temporary folders left"
