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
made=
clean_up() {
    trap '' INT TERM
    [ -z "$made" ] || kill -KILL -- "-$made" 2>/dev/null || true
    wait
    # What was killed in there may take a moment to be gone.
    for _ in 1 2 3 4 5; do rm -rf --one-file-system "$work" 2>/dev/null && break || sleep 1; done
}
trap clean_up EXIT
trap 'exit 130' INT TERM
chmod 755 "$work" # without root, another user makes the system

# As this machine gets its packages.
apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    grep ' bookworm' | sort -u >"$work/sources.list" || skip "this machine knows no mirror of Debian bookworm"
apt-config dump | grep -E '^Acquire::(Check|http|Retries)' >"$work/apt.conf" || true

git clone --quiet --no-local . "$work/vorn"
tar -C "$work" --owner=0 --group=0 -cf "$work/vorn.tar" vorn
rm -rf "$work/vorn"

# What is mounted for the system, and what runs in it, ends with the first process in there.
maker=(mmdebstrap --mode=unshare)
if [ "$(id -u)" -eq 0 ]; then
    inside=(unshare --mount --pid --fork --kill-child --mount-proc)
    "${inside[@]}" true 2>"$work/refusal" || skip "$(cat "$work/refusal")"
    maker=("${inside[@]}" mmdebstrap --mode=root)
fi
hooks=("--customize-hook=tar-in $work/vorn.tar /" '--customize-hook=[ -e "$1/proc/self" ] && [ -c "$1/dev/null" ] && echo made >&3')
for command in "$@"; do
    hooks+=("--customize-hook=chroot \"\$1\" sh -c 'cd /vorn && exec $command'")
done
status=0
set -m # a process group of its own, to be ended as one
TMPDIR=$work "${maker[@]}" --variant=minbase --include=git,ca-certificates --format=null \
    --aptopt="$work/apt.conf" "${hooks[@]}" bookworm /dev/null - <"$work/sources.list" 3>"$work/made" &
made=$!
set +m
wait "$made" || status=$?
made=
[ -s "$work/made" ] || skip "no bare system can be made here, for the reason above"
[ "$status" -ne 0 ] || echo "fresh: passed in a bare system"
exit "$status"
