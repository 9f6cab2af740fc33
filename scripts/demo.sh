#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Sets up, builds and shows the main jobs: reports made by hand, then the service beside a simulated
# instrument. Everything stays below build/demo.
set -euo pipefail
cd "$(dirname "$0")/.."
out=$PWD/build/demo
bin=$PWD/build/release/bin
export TZ=UTC

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target vorn vorn_report vornctl tarix_sim --parallel "$(nproc)"
rm -rf "$out"
mkdir -p "$out"

say() { printf '\n== %s\n' "$*"; }

# ---- reports made by hand ----

say "Reports from examples/tester.res and examples/tester.tpl"
make_report() {
    "$bin/vorn-report" --dict-dir examples/dicts --dict tester --var "site=Lab 2" --var operator=Ada \
        "$@"
}
make_report examples/tester.res examples/tester.tpl "$out/tester-en.txt"
make_report --lang de examples/tester.res examples/tester.tpl "$out/tester-de.txt"
make_report examples/tester.res examples/tester.tpl "$out/tester.pdf"
cat "$out/tester-de.txt"

say "A report whose values a plug-in computes, from examples/plugin"
cp examples/plugin/*.tpl "$out"
cc -std=gnu99 -O2 -Wall -fPIC -shared -Iinclude examples/plugin/stats.c -o "$out/libstats.so"
(cd "$out" && "$bin/vorn-report" --check stats.tpl "$OLDPWD/examples/tester.res" &&
    "$bin/vorn-report" "$OLDPWD/examples/tester.res" stats.tpl stats.txt)
cat "$out/stats.txt"

# ---- the service ----

# Paths of the service are cut at 63 characters, so its directory has a short name of its own.
root=$(mktemp -d /tmp/vornXXXXXX)
export VORN_ROOT=$root NX_PORT=0
service=
clean_up() {
    trap - EXIT
    [ -z "$service" ] || kill "$service" 2>/dev/null || true
    wait
    "$bin/tarix-sim" down
    cp -r "$root/tarix/data" "$out/instrument"
    cp "$root/log" "$out/service.log"
    rm -rf "$root"
}
trap clean_up EXIT

# Waits up to 5 seconds for a line of the service's log.
await() {
    for _ in $(seq 100); do
        grep -q -- "$1" "$root/log" && return
        sleep 0.05
    done
    echo "demo: no '$1' in the log:" >&2
    cat "$root/log" >&2
    exit 1
}

say "The service beside a simulated instrument in $root"
"$bin/tarix-sim" up
cp examples/service.tpl "$root/tarix/data/templates/tx.tpl"
mkdir -p "$root/etc/tarix/vorn"
printf '%s\n' "autosave yes" "autoreport txt" >"$root/etc/tarix/vorn.cfg"
echo "subscribe tx:gen1,ana2:tx.tpl" >"$root/etc/tarix/vorn/demo.subs"
"$bin/tarix-sim" create gen1
"$bin/tarix-sim" create ana2
"$bin/vorn" -D 2 2>"$root/log" &
service=$!
await "Created sync change list on app 'ana2'"
port=$(sed -n 's/.*Requests are taken on .* port \([0-9]*\).*/\1/p' "$root/log" | tail -1)

say "Both applications synchronise, one after the other; then once more with the same start time"
for pass in 1 2; do
    for app in gen1 ana2; do
        "$bin/tarix-sim" start "$app" 1700000000
        "$bin/tarix-sim" sync "$app" 1700003600
    done
    for _ in $(seq 100); do
        [ "$(grep -c 'Template merged (ret: 0)' "$root/log")" -ge "$pass" ] && break
        sleep 0.05
    done
done
await "Template merged"
ls "$root/tarix/data/reports"
cat "$root/tarix/data/reports/2023-11-14-221320.txt"

say "A client turns automatic reports off, so that the results stay, and asks for a report"
ctl() { "$bin/vornctl" --port "$port" "$@"; }
ctl autoreport off
ctl set-var site "Lab 2"
for app in gen1 ana2; do "$bin/tarix-sim" sync "$app" 1700003600; done
await "Saved results file $root/tarix/data/results/tx/2023-11-14-221320.res.\$"
ctl report tx "$root/tarix/data/results/tx/2023-11-14-221320.res" tx.tpl asked.pdf
ctl status
ls "$root/tarix/data/reports"

say "What the service's log says"
cat "$root/log"

clean_up
say "Everything is in build/demo; below instrument/ is what the service wrote"
(cd "$out" && find . -type f | sort)
