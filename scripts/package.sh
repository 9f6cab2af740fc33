#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the Debian packages into build/packages, out of the tracked files as they are now.
#   scripts/package.sh [ARCHITECTURE]    armhf is built across, into build/packages-armhf
# VORN_PACKAGES in the environment: another folder for the packages. The build's own folder is in it.
set -euo pipefail
unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER # a cache of this machine is none of what is made
cd "$(dirname "$0")/.."
native=$(dpkg --print-architecture)
architecture=${1:-$native}
out=$PWD/build/packages
[ "$architecture" = "$native" ] || out+=-$architecture
out=${VORN_PACKAGES:-$out}

needed=(build-essential debhelper)
options=(-b -us -uc)
if [ "$architecture" != "$native" ]; then
    needed+=("crossbuild-essential-$architecture")
    # Of the other architecture only the C and C++ libraries are needed, which the compiler brings; the
    # other build dependencies are headers and programs of this machine.
    options=(-B -d -us -uc -a"$architecture")
fi
scripts/setup.sh "${needed[@]}"

rm -rf "$out"
mkdir -p "$out/source"
git ls-files -z | xargs -0 cp --parents -t "$out/source"
cd "$out/source"
export DEB_BUILD_OPTIONS="${DEB_BUILD_OPTIONS:+$DEB_BUILD_OPTIONS }parallel=$(nproc) nocheck"
dpkg-buildpackage "${options[@]}" >"$out/build.log" 2>&1 || {
    tail -40 "$out/build.log" >&2
    exit 1
}
ls -l "$out"/*.deb
