#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the service beside a simulated instrument under load, and ends with a table of what it did.
#   scripts/soak.sh MINUTES [PRESET]    release (the default), asan or tsan
set -euo pipefail
cd "$(dirname "$0")/.."
minutes=${1:?how many minutes}
preset=${2:-release}
scripts/setup.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target vorn vornctl tarix_sim --parallel "$(nproc)" >/dev/null
run=()
[ "$preset" != tsan ] || run=(setarch "$(uname -m)" -R)
exec "${run[@]}" python3 scripts/soak.py "build/$preset/bin" "$minutes"
