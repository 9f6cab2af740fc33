#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Looks for bugs with clang-tidy. Takes minutes for everything, so name files while you work.
#   scripts/tidy.sh [FILE]...    all of the programs' code when none is named
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh clang-tidy
cmake --preset debug >/dev/null

if [ $# -gt 0 ]; then
    files=("$@")
else
    mapfile -t files < <(git ls-files -- {base,src,platform,plugins,tools}/'*.cpp')
fi
tidy=$(command -v clang-tidy-14 || command -v clang-tidy)
# A process a file: with several, version 14 takes every va_list after the first file for unset.
printf '%s\0' "${files[@]}" | xargs -0 -n 1 -P "$(nproc)" "$tidy" -p build/debug --quiet
