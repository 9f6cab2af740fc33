#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Feeds generated hostile input to the readers of untrusted files, under the address and undefined
# behaviour sanitizers.
#   scripts/fuzz.sh [SECONDS]    each reader for so long, 60 when not given
# Stops at the first finding, whose input is left in build/fuzz/. Starts from the examples and from
# fuzz/seeds; inputs that reached something new are kept for the next time in build/fuzz/corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}

scripts/setup.sh clang libclang-rt-dev
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --parallel "$(nproc)"

# Puts a reader's first inputs into a folder.
#   seeds READER FOLDER
seeds() {
    case $1 in
        template_fuzz) find examples -name '*.tpl' -exec cp -t "$2" {} + ;;
        results_fuzz) cp examples/*.res fuzz/seeds/*.res "$2" ;;
        dictionary_fuzz) cp examples/dicts/*.lxc "$2" ;;
        config_fuzz) cp etc/vorn.cfg fuzz/seeds/*.cfg "$2" ;;
        format_fuzz) printf '\5\0\0\0\0\0\0\4@a%%-5.2f|%%s\0text' >"$2/double" ;;
        request_fuzz)
            # A client's stream of two requests, and the payload of another.
            printf '\0\0\0\0\013\1\1\0\0\0\0\0\1\0\0\0\0\2\0\2tx\2\0\3gen\0\0\0\0\1\4%010d' 0 |
                tr 0 '\0' >"$2/stream"
            printf '\1\1\10\0\2\0\2tx\2\0\3gen\2\0\3gen' >"$2/payload"
            ;;
        *) echo "fuzz: no seeds for $1" >&2 && return 1 ;;
    esac
}

for program in build/fuzz/bin/*_fuzz; do
    name=$(basename "$program")
    corpus=build/fuzz/corpus/$name
    mkdir -p "$corpus"
    seeds "$name" "$corpus"
    options=(-max_total_time="$seconds" -timeout=20 -rss_limit_mb=1024 -max_len=16384)
    [ ! -f "fuzz/words/$name.dict" ] || options+=(-dict="fuzz/words/$name.dict")
    echo "fuzz: $name for $seconds seconds"
    # The driver's standard error is its own: readers may send theirs elsewhere.
    "$program" "${options[@]}" -close_fd_mask=2 -verbosity=0 -print_final_stats=1 \
        -artifact_prefix="build/fuzz/$name-" "$corpus"
done
