#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Shows that a bare Debian system needs nothing by hand: makes one that holds Git alone, clones the
# last commit into it, and runs commands there.
#   scripts/fresh.sh [COMMAND]...    scripts/demo.sh and scripts/test.sh when none is given
# Says why, and passes, where such a system cannot be made. Leaves nothing behind.
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || set -- scripts/demo.sh scripts/test.sh

skip() {
    printf 'fresh: skipped: %s\n' "$@"
    exit 0
}

scripts/setup.sh mmdebstrap || skip "there is no mmdebstrap"
work=$(mktemp -d)
trap 'rm -rf --one-file-system "$work"' EXIT
trap 'exit 130' INT TERM
chmod 755 "$work" # without root, another user makes the system

# As this machine gets its packages.
apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    grep ' bookworm' | sort -u >"$work/sources.list" || skip "this machine knows no mirror of Debian bookworm"
apt-config dump | grep -E '^Acquire::(Check|http|Retries)' >"$work/apt.conf" || true

git clone --quiet --no-local . "$work/vorn"
tar -C "$work" --owner=0 --group=0 -cf "$work/vorn.tar" vorn
rm -rf "$work/vorn"

# The program mounts what a system needs, also for its hooks, and takes all down again on every way out.
mode=unshare
[ "$(id -u)" -ne 0 ] || mode=root
hooks=("--customize-hook=tar-in $work/vorn.tar /" '--customize-hook=[ -e "$1/proc/self" ] && [ -c "$1/dev/null" ] && echo made >&3')
for command in "$@"; do
    hooks+=("--customize-hook=chroot \"\$1\" sh -c 'cd /vorn && exec $command'")
done
status=0
TMPDIR=$work mmdebstrap --mode="$mode" --variant=minbase --include=git,ca-certificates --format=null \
    --aptopt="$work/apt.conf" "${hooks[@]}" bookworm /dev/null - \
    <"$work/sources.list" 3>"$work/made" || status=$?
[ -s "$work/made" ] || skip "no bare system can be made here, for the reason above"
[ "$status" -ne 0 ] || echo "fresh: passed in a bare system"
exit "$status"
