#!/usr/bin/env bash
# Installs the Debian packages of packages.txt that are missing; at once done when none is.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

missing=()
while read -r package; do
    # One line for each architecture that is known.
    states=$(dpkg-query --show --showformat='${db:Status-Status}\n' "$package" 2>/dev/null || true)
    if ! grep --quiet --line-regexp installed <<<"$states"; then
        missing+=("$package")
    fi
done < <(sed -e 's/#.*//' -e 's/[[:space:]]//g' -e '/^$/d' "$here/packages.txt")

if ((${#missing[@]} == 0)); then
    exit 0
fi

as_root=()
if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
        echo "install-packages.sh: not root and no sudo; please install: ${missing[*]}" >&2
        exit 1
    fi
    # Never asks for a password: there may be no terminal.
    as_root=(sudo --non-interactive)
fi
# A machine that has just started is often still updating itself: its lock is waited for.
apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive
    apt-get --quiet --yes --option DPkg::Lock::Timeout=300)

echo "Installing: ${missing[*]}"
"${apt[@]}" update </dev/null
"${apt[@]}" install --no-install-recommends "${missing[@]}" </dev/null
