#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the engine for 32-bit ARM, runs its tests by emulation, and compares the reports that it makes with those of
# this machine, byte for byte. Needs build/release.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh g++-arm-linux-gnueabihf qemu-user googletest
folders=(util storage pdf output results report)
cmake --preset armhf
cmake --build --preset armhf --parallel "$(nproc)" --target vorn vorn_report vorn_std "${folders[@]/%/_tests}"
pattern=$(IFS='|' && echo "${folders[*]}")
ctest --test-dir build/armhf --parallel "$(nproc)" --output-on-failure -R "^($pattern)[.]"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
emulated=(qemu-arm -L /usr/arm-linux-gnueabihf build/armhf/bin/vorn-report)
report=(--quiet --dict-dir examples/dicts --dict tester --var site=Lab --var operator=Ada
    examples/tester.res examples/tester.tpl)
for format in txt pdf; do
    build/release/bin/vorn-report "${report[@]}" "$work/here.$format"
    "${emulated[@]}" "${report[@]}" "$work/arm.$format"
    cmp "$work/here.$format" "$work/arm.$format"
done
# What the standard plug-in computes.
for template in examples/cookbook/*.tpl; do
    build/release/bin/vorn-report --quiet examples/lab.res "$template" "$work/here.txt"
    "${emulated[@]}" --quiet examples/lab.res "$template" "$work/arm.txt"
    cmp "$work/here.txt" "$work/arm.txt"
    rm "$work"/*.txt
done
echo "arm: tests passed, and reports are the same"
