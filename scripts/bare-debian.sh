#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes a bare, throw-away Debian system, copies folders into its root, and runs commands there as root.
#   scripts/bare-debian.sh [-p PACKAGE,PACKAGE...] [-d FOLDER]... COMMAND...
#     -p  packages that the system has besides the essential ones
#     -d  a folder of this machine, which is there as /NAME with the last part of its name
# Its packages come from where this machine has its own. Says why, and passes, where such a system
# cannot be made. Leaves nothing behind.
set -euo pipefail
unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER # a cache of this machine is none of what is made

packages=
folders=()
while getopts p:d: option; do
    case $option in
        p) packages=$OPTARG ;;
        d) folders+=("$(realpath "$OPTARG")") ;;
        *) exit 2 ;;
    esac
done
shift $((OPTIND - 1))
cd "$(dirname "$0")/.."

skip() {
    printf 'bare-debian: skipped: %s\n' "$@"
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

# What is mounted for the system, and what runs in it, ends with the first process in there.
maker=(mmdebstrap --mode=unshare)
if [ "$(id -u)" -eq 0 ]; then
    inside=(unshare --mount --ipc --pid --fork --kill-child --mount-proc)
    "${inside[@]}" true 2>"$work/refusal" || skip "$(cat "$work/refusal")"
    maker=("${inside[@]}" mmdebstrap --mode=root)
fi
hooks=('--customize-hook=[ -e "$1/proc/self" ] && [ -c "$1/dev/null" ] && echo made >&3')
for folder in "${folders[@]}"; do
    tar -C "$(dirname "$folder")" --owner=0 --group=0 -cf "$work/folder${#hooks[@]}.tar" "$(basename "$folder")"
    hooks+=("--customize-hook=tar-in $work/folder${#hooks[@]}.tar /")
done
for command in "$@"; do
    hooks+=("--customize-hook=chroot \"\$1\" sh -c '$command'")
done
status=0
set -m # a process group of its own, to be ended as one
TMPDIR=$work "${maker[@]}" --variant=minbase ${packages:+"--include=$packages"} --format=null \
    --aptopt="$work/apt.conf" "${hooks[@]}" bookworm /dev/null - <"$work/sources.list" 3>"$work/made" &
made=$!
set +m
wait "$made" || status=$?
made=
[ -s "$work/made" ] || skip "no bare system can be made here, for the reason above"
exit "$status"
