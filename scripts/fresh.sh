#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Shows that a bare Debian system needs nothing by hand: makes one that holds Git alone, clones the
# last commit into it, and runs commands there.
#   scripts/fresh.sh [COMMAND]...    scripts/demo.sh and scripts/test.sh when none is given
# Says why, and passes, where such a system cannot be made. Leaves nothing behind.
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || set -- scripts/demo.sh scripts/test.sh

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
git clone --quiet --no-local . "$work/vorn"
commands=()
for command in "$@"; do commands+=("cd /vorn && exec $command"); done
scripts/bare-debian.sh -p git,ca-certificates -d "$work/vorn" "${commands[@]}"
