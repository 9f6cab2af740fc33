#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Feeds generated hostile input to the readers of untrusted files, under the address and undefined
# behaviour sanitizers.
#   scripts/fuzz.sh [SECONDS]    each reader for so long, 60 when not given
# Stops at the first finding, whose input is left in build/fuzz/. Starts from the examples.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}

scripts/setup.sh clang libclang-rt-dev
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --parallel "$(nproc)"

# What a reader's first inputs are, by the reader's name.
seeds() {
    case $1 in
        template_fuzz) ls examples/*.tpl examples/*/*.tpl ;;
        results_fuzz) ls examples/*.res ;;
        dictionary_fuzz) ls examples/dicts/*.lxc ;;
        config_fuzz) ls examples/*.cfg examples/*.subs 2>/dev/null || true ;;
    esac
}

for program in build/fuzz/bin/*_fuzz; do
    name=$(basename "$program")
    corpus=build/fuzz/corpus/$name
    mkdir -p "$corpus"
    for file in $(seeds "$name"); do cp "$file" "$corpus/"; done
    echo "fuzz: $name for $seconds seconds"
    "$program" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=1024 -max_len=16384 \
        -verbosity=0 -print_final_stats=1 -artifact_prefix="build/fuzz/$name-" "$corpus"
done
