#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the Debian packages, has lintian look at them, and lives through them in a bare, throw-away
# system: installed, configured, upgraded, removed, purged (scripts/try-packages.sh). The tried upgrade
# is one from these packages under a lower number and with another vorn.cfg.
set -euo pipefail
unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER # a cache of this machine is none of what is made
cd "$(dirname "$0")/.."
scripts/setup.sh lintian

scripts/package.sh
lintian --fail-on error,warning build/packages/*.changes

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/packages/old" "$work/packages/new"
version=$(dpkg-parsechangelog -S Version)
for package in build/packages/*.deb; do
    case $package in *-dbgsym_*) continue ;; esac
    cp "$package" "$work/packages/new"
    dpkg-deb -R "$package" "$work/tree"
    sed -i -e "s/^Version: .*/Version: 0.9/" -e "s/(= $version)/(= 0.9)/" "$work/tree/DEBIAN/control"
    if [ -f "$work/tree/etc/tarix/vorn.cfg" ]; then
        sed -i 's/^#lang-id en/#lang-id de/' "$work/tree/etc/tarix/vorn.cfg"
    fi
    dpkg-deb --root-owner-group -b "$work/tree" "$work/packages/old" >/dev/null
    rm -rf "$work/tree"
done
cp scripts/try-packages.sh "$work/packages"
scripts/bare-debian.sh -d "$work/packages" /packages/try-packages.sh
