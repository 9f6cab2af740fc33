#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Sets up, builds and passes all tests.
#   scripts/test.sh [PRESET]    release (the default), debug, asan or tsan
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}

scripts/setup.sh
cmake --preset "$preset"
cmake --build --preset "$preset" --parallel "$(nproc)"

run=()
# The thread sanitizer does not start where the kernel spreads addresses too widely.
[ "$preset" != tsan ] || run=(setarch "$(uname -m)" -R)
"${run[@]}" ctest --preset "$preset" --parallel "$(nproc)"
