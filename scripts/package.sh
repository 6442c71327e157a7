#!/usr/bin/env bash
# Installs what is missing and builds the Debian packages, library, development files and program,
# in build/package.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build/package

"$root/scripts/install-packages.sh" >&2
# Debian's hardening; its debug information would be stripped again.
export DEB_CXXFLAGS_MAINT_STRIP="-g -O2" DEB_BUILD_MAINT_OPTIONS=hardening=+all
cd "$root"
flags="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)"
linked=$(dpkg-buildflags --get LDFLAGS)
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQBSETTINGS_TESTS=OFF \
    -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_SKIP_INSTALL_RPATH=ON \
    -DQBSETTINGS_DATA_ROOT=/usr/share/qbsettings \
    -DQBSETTINGS_ZSH_COMPLETIONS=share/zsh/vendor-completions \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$linked" \
    -DCMAKE_SHARED_LINKER_FLAGS="$linked" -DCMAKE_MODULE_LINKER_FLAGS="$linked"
cmake --build "$build"
rm -f "$build"/*.deb
(cd "$build" && cpack)
echo "The packages are in ${build#"$root"/}:"
(cd "$build" && ls ./*.deb)
