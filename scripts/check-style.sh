#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Formatting, licence lines and include directions of every tracked file, and tables that are made of
# others. Changes nothing.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh clang-format

# Versions lay code out differently; the one that the project follows goes first.
formatter=$(command -v clang-format-14 || command -v clang-format)

status=0
git ls-files -z -- '*.h' '*.c' '*.cpp' | xargs -0 -r -n 16 -P "$(nproc)" "$formatter" --dry-run -Werror || status=1
python3 scripts/check_sources.py || status=1
scripts/make_tables.py --check || status=1
[ "$status" -ne 0 ] || echo "style: nothing found"
exit "$status"
