#!/usr/bin/env bash
# Installs what is missing and makes the pages of the public headers, build/docs/html/index.html.
# Fails if a public name has no comment, and on every other warning; and unless the example files
# are valid by the schema for a validator that is not the library's own.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

scripts/install-packages.sh >&2
rm -rf build/docs
mkdir -p build/docs
doxygen docs/Doxyfile 2>&1 | tee build/docs/warnings.log >&2
if [[ -s build/docs/warnings.log ]]; then
    echo "docs.sh: $(grep --count '' build/docs/warnings.log) line(s) of warnings" >&2
    exit 1
fi
find settings/examples -name '*.settings' -print0 |
    xargs -0 xmllint --nonet --noout --schema settings/src/settingscore/settings.xsd 2>&1 |
    { grep --invert-match ' validates$' >&2 || true; }
echo "build/docs/html/index.html"
