#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the Debian packages a second time, in another folder, on another day, in another
# time zone, language and file mode, and compares them byte for byte with those of scripts/package.sh,
# and so the programs in them.
set -euo pipefail
unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER # a cache of this machine is none of what is made
cd "$(dirname "$0")/.."
scripts/setup.sh faketime

# Those that are there count when they were made of the files as they are now.
same_sources() {
    git ls-files -z | xargs -0 sha256sum 2>/dev/null | (cd build/packages/source && sha256sum --check --status 2>/dev/null)
}
[ -d build/packages/source ] && same_sources || scripts/package.sh

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(umask 077 && TZ=Pacific/Chatham LC_ALL=C VORN_PACKAGES="$work/a-folder-of-another-name" \
    faketime -f +400d scripts/package.sh)
status=0
for package in build/packages/*.deb; do
    cmp "$package" "$work/a-folder-of-another-name/${package##*/}" || status=1
done
[ "$status" -ne 0 ] || echo "check-reproducible: the packages are the same"
exit "$status"
