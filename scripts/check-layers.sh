#!/usr/bin/env bash
# Checks that the headers of a folder include no header of a folder above it. Source files may,
# where the flow of a call has to go up. The stand-in host knows of nothing but what the library
# requires of it.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root/settings/src"

# From the bottom to the top.
layers=(host errors value rules tree persistence prefdir roots)

status=0
complain() {
    echo "check-layers.sh: $1:$2 may not include $3" >&2
    status=1
}

# Prints the project headers that a file includes, as "LINE HEADER".
includes() {
    sed -n -E '/^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]/{=;s/^[^<"]*[<"]([^>"]*)[>"].*/\1/p}' "$1" |
        paste -d ' ' - -
}

rank() {
    local i
    for i in "${!layers[@]}"; do
        if [[ ${layers[$i]} == "$1" ]]; then
            echo "$i"
            return
        fi
    done
    echo -1
}

while read -r file; do
    folder=${file#settingscore/}
    own=$(rank "${folder%%/*}")
    if ((own < 0)); then
        echo "check-layers.sh: $file lies in a folder that is no layer" >&2
        status=1
        continue
    fi
    while read -r line header; do
        case $header in
            settingscore/*/*)
                folder=${header#settingscore/}
                if (($(rank "${folder%%/*}") > own)); then
                    complain "$file" "$line" "$header"
                fi
                ;;
            settingscore/Export.hpp) ;;
            *.hpp)
                # The project's headers are named from here; other libraries' lie elsewhere.
                if [[ -e $header || -e $(dirname "$file")/$header ]]; then
                    complain "$file" "$line" "$header"
                fi
                ;;
        esac
    done < <(includes "$file")
done < <(find settingscore -mindepth 2 -name '*.hpp' | sort)

while read -r file; do
    while read -r line header; do
        case $header in
            settingscore/host/*) ;;
            settingscore/* | qbsettings/*) complain "$file" "$line" "$header" ;;
        esac
    done < <(includes "$file")
done < <(find qbhost -name '*.[ch]pp' | sort)

exit "$status"
