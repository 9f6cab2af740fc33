#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Sets up, builds and makes the example report: as text in two languages and as PDF.
set -euo pipefail
cd "$(dirname "$0")/.."
out=build/demo

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target vorn_report --parallel "$(nproc)"
rm -rf "$out"
mkdir -p "$out"

make_report() {
    echo "demo: vorn-report $*"
    build/release/bin/vorn-report --dict-dir examples/dicts --dict tester "$@"
}
input=(--var "site=Lab 2" --var operator=Ada examples/tester.res examples/tester.tpl)
make_report "${input[@]}" "$out/tester-en.txt"
make_report --lang de "${input[@]}" "$out/tester-de.txt"
make_report "${input[@]}" "$out/tester.pdf"

printf '\n'
cat "$out/tester-en.txt"
printf '\ndemo: the reports are in %s:\n' "$out"
ls "$out"
