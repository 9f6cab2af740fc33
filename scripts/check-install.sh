#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks what an installation brings besides the programs: the systemd unit and how tightly it is
# fenced, user and folders, manual pages, and that all files name one version. Needs build/release.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh systemd man-db mandoc
export LC_ALL=C.UTF-8
MAX_EXPOSURE=20  # tenths
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
fault() {
    printf 'check-install: %s\n' "$@" >&2
    status=1
}

# What a program prints is a fault; it is not to print at all.
silent() {
    local said
    said=$("$@" 2>&1) || fault "$1 failed"
    [ -z "$said" ] || fault "$said"
}

# ---- manual pages ----
python3 scripts/make_man.py "$work/man"
for page in "$work"/man/*/*; do
    silent mandoc -T lint "$page"
    said=$(man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
    [ -z "$said" ] || fault "$said"
done

# ---- documents, of which the pages are made, against the programs' own tables ----
bin=$PWD/build/release/bin
named() { grep -qE -- "$2" "docs/$1" || fault "docs/$1 does not name ${3:-$2}"; }
for tool in vornctl:vornctl vorn-report:vorn-report tarix-sim:service; do
    page=${tool#*:}.md tool=$bin/${tool%:*}
    help=$("$tool" --help)
    for command in $(sed -nE '/^Subcommands:/,/^$/s/^  ([a-z-]+).*/\1/p' <<<"$help"); do
        said=$("$tool" "$command" --help)
        help+=$'\n'$said
        usage=$(sed -nE "s/^Usage: ${tool##*/} ($command) \[OPTIONS\]/\1/p" <<<"$said")
        # As it stands in a table.
        grep -qF -- "\`${usage//|/\\|}\`" "docs/$page" || fault "docs/$page does not name $usage"
        [ "$page" != vornctl.md ] || while read -r word; do
            grep -qF -- " | $word |" "docs/$page" || fault "docs/$page does not say of a word: $word"
        done < <(sed -nE '/^Positionals:/,/^$/{/REQUIRED$/d;s/^.{29} ([^ ].*)/\1/p}' <<<"$said")
    done
    for option in $(grep -oE '^  (-[a-z],)?--[a-z-]+' <<<"$help" | sed 's/.*--/--/' | sort -u); do
        named "$page" "$option[ \`]" "$option"
    done
done
for option in $(sed -nE 's/.*option == "([^"]+)".*/\1/p' src/core/command_line.cpp); do
    named service.md "^\| \`$option[ \`]" "$option"
done

# ---- words that are not taken ----
for words in 'sync gen abc' 'sync gen 99999999999' 'respond gen 256' 'event gen -1' 'create a/b' nonsense; do
    state=0
    VORN_ROOT=$work "$bin/tarix-sim" $words >/dev/null 2>&1 || state=$?
    [ "$state" -eq 2 ] || fault "tarix-sim $words has status $state"
done

# ---- unit, user, folders ----
sed -e "s#@CMAKE_INSTALL_FULL_BINDIR@#$bin#g" -e 's#@VORN_PLUGIN_DIR@#/usr/lib/vorn#' \
    -e "s#@VORN_START_CHECK@#ExecStartPre=$bin/vornctl check-config\n#" \
    systemd/vorn.service.in >"$work/vorn.service"
MANPATH=$work/man silent systemd-analyze verify "$work/vorn.service"
systemd-analyze security --offline=true --threshold="$MAX_EXPOSURE" --no-pager "$work/vorn.service" |
    tail -1 || fault "the unit is not fenced tightly enough"
# What the unit mounts below "/" is not fenced with it.
for folder in /run/tarix /tmp $(sed -nE 's/^Read(Write|Only)Paths=//p' systemd/vorn.service.in); do
    grep -qE "^NoExecPaths=.* -?${folder#-}( |\$)" systemd/vorn.service.in || fault "${folder#-} may be executed"
done
mkdir "$work/etc"
systemd-sysusers --root="$work" "$PWD/systemd/sysusers.conf" >/dev/null 2>&1 || fault "sysusers.conf"
grep -q '^vorn:' "$work/etc/passwd" || fault "sysusers.conf makes no user"
systemd-tmpfiles --root="$work" --create "$PWD/systemd/tmpfiles.conf" || fault "tmpfiles.conf"
for folder in run/tarix tarix/data/results tarix/data/templates; do
    [ -d "$work/$folder" ] || fault "tmpfiles.conf does not make /$folder"
done

# ---- one version ----
version=$(sed -n 's/^project(vorn VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
grep -q "^## \[$version\] - " CHANGELOG.md || fault "CHANGELOG.md does not begin with $version"
head -1 debian/changelog | grep -q "^vorn ($version)" || fault "debian/changelog does not begin with $version"

[ "$status" -ne 0 ] || echo "check-install: nothing found"
exit "$status"
