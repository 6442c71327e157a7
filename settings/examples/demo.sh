#!/usr/bin/env bash
# Shows the program at work on the example products, in a fresh user folder in a temporary place.
# Ends with status 1 as soon as a command does not do what is told of it.
# Usage: demo.sh BUILD_DIR
set -euo pipefail

examples=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "${1:?Usage: demo.sh BUILD_DIR}" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
cd "$place"

# The folder of the examples is a host's root: it has the products, in "toolbox", and the schema.
export QBHOST_ROOT=$examples SETTINGS_USERDIR=$place/user
export PATH=$build/settings/src/qbsettings:$PATH
export LD_LIBRARY_PATH=$build/settings/examples/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
unset SETTINGS_FACTORYDIR SETTINGS_WORKGROUPDIR ZENBAR_PREFDIR DISABLE_PREFCOPY3RELEASES

# say TEXT: a line of explanation before a command.
say() {
    printf '\n# %s\n' "$*"
}

fail() {
    echo "demo.sh: $*" >&2
    exit 1
}

# show STATUS PATTERN COMMAND...: shows the command as one would type it and runs it. It has to end
# with the status and to print, on either stream, a line that the pattern (extended) matches, or
# nothing if the pattern is empty.
show() {
    local status=$1 pattern=$2 word line='$' got=0
    shift 2
    for word in "$@"; do
        if [[ $word =~ ^[A-Za-z0-9_./=:-]+$ ]]; then
            line+=" $word"
        else
            line+=" '$word'"
        fi
    done
    printf '%s\n' "$line"
    "$@" >output 2>&1 || got=$?
    cat output
    ((got == status)) || fail "the last command ended with status $got, not $status"
    if [[ -z $pattern ]]; then
        [[ ! -s output ]] || fail "the last command was to print nothing"
    else
        grep --quiet --extended-regexp -e "$pattern" output ||
            fail "the last command printed no line like: $pattern"
    fi
}

say "Four products of a host. Every key has a type, the level that supplies its value, and a value."
show 0 $'^plotter\\.lineWidth\tdouble\tfactory\t0\\.35$' qbsettings list

say "What is known of one of them: bounds and choices are two ways to be allowed."
show 0 'scale' qbsettings describe plotter.scale

say "A value that its rules forbid is refused, and nothing changes."
show 1 'lineWidth' qbsettings set plotter.lineWidth 12
show 0 '^0\.35$' qbsettings get plotter.lineWidth

say "So is one that a function refuses: this one guards all keys of the group."
show 1 '0\.5 mm' qbsettings set plotter.margins.left 10.3

say "And one that is read-only; and a name that nearly matches is suggested."
show 1 'firmware' qbsettings set plotter.firmware HP-GL
show 3 'lineWidth' qbsettings get plotter.linewidth

say "A good value is kept for the user; so is an array, here of one to eight texts."
show 0 '' qbsettings set plotter.lineWidth 0.7
show 0 '' qbsettings set plotter.pens 'extra fine' fine broad
show 0 $'\tuser\textra fine, fine, broad$' qbsettings list plotter.pens

say "The file that this made: all keys of the product, with the values that the user gave."
show 0 '<value>0\.7</value>' head -n 20 user/plotter.settings

say "Unset, and the factory's value is in force again."
show 0 '' qbsettings unset plotter.lineWidth
show 0 '^0\.35$' qbsettings get plotter.lineWidth

say "A computed default: a function counts the cores whenever the value is read."
show 0 $'^gridpool\\.workers\tint32\truntime:factory\t[1-9]' qbsettings list gridpool.workers
say "A value of the user's own takes its place."
show 0 '' qbsettings set gridpool.workers 3
show 0 $'\tuser\t3$' qbsettings list gridpool.workers

say "A key of any type takes what it is given, and keeps the type."
show 0 '' qbsettings set editor.lastSearch --type double 2.5
show 0 $'^editor\\.lastSearch\tany\tuser\t2\\.5$' qbsettings list editor.lastSearch

say "The files that are loaded are checked; nothing is said, so all are in order."
show 0 '' qbsettings check

say "The first start of a release takes over the files of the one before. This user has a folder for
# K7715q, and none for K7716p yet."
unset SETTINGS_USERDIR
export HOME=$place/home
mkdir -p home/.zenbar/K7715q
cp user/plotter.settings home/.zenbar/K7715q/
show 0 'K7715q' find home -type f
show 0 '^extra fine$' qbsettings get plotter.pens
show 0 'K7716p/plotter\.settings' find home -type f

say "A host that embeds the library: instances, events, and functions in C, Lua and Java."
host=$build/settings/examples/host/qbsamplehost
if [[ -x $host ]]; then
    PATH=${host%/*}:$PATH
    show 0 'queued' qbsamplehost

    say "It follows what others change: its listener hears of what this program sets beside it."
    printf '$ qbsamplehost station &\n'
    mkdir station
    qbsamplehost station >heard &
    follower=$!
    trap 'kill "$follower" 2>/dev/null || true; rm -rf "$place"' EXIT
    for server in night.example.net closed.example.net; do
        # Each line that the host prints is the answer to what came before.
        for ((i = 0; i < 600; ++i)); do
            [[ $server == closed* ]] && answer='now it is night' || answer=following
            ! grep --quiet "$answer" heard || break
            sleep 0.1
        done
        show 0 '' qbsettings --factory-dir "$examples/radio/toolbox" --user-dir station \
            set station.server "$server"
    done
    wait "$follower" || fail "the host ended with status $?"
    show 0 'heard: station.server changed' cat heard
else
    echo "(left out: Lua 5.4 was not there when it was built)"
fi
