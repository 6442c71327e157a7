#!/usr/bin/env bash
# Compiles what typed keys have to refuse, and looks for the sentence of each refusal.
# Usage: refused_test.sh CXX INCLUDE_DIR
set -euo pipefail

cxx=$1 include=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
limit=-fmax-errors=0
[[ $("$cxx" --version) == *clang* ]] && limit=-ferror-limit=0
compile() {
    "$cxx" -std=c++17 -fsyntax-only -ftemplate-backtrace-limit=0 "$limit" -I "$include" "$here/$1" 2>&1
}

if ! said=$(compile accepted.cpp); then
    echo "refused_test.sh: what is a program does not compile:"
    echo "$said"
    exit 1
fi
if said=$(compile refused.cpp); then
    echo "refused_test.sh: what is no program compiles"
    exit 1
fi

status=0
while IFS=: read -r line code; do
    sentence=${code#*// refused: }
    if ! grep -q "refused\.cpp:$line:" <<<"$said"; then
        echo "refused_test.sh: line $line is not refused"
        status=1
    elif ! grep -qF "$sentence" <<<"$said"; then
        echo "refused_test.sh: nothing says '$sentence'"
        status=1
    fi
done < <(grep -n '// refused: ' "$here/refused.cpp")
exit "$status"
