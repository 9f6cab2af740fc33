#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the Debian packages that building and testing need and that are missing; asks nothing, and
# does nothing when all are there.
#   scripts/setup.sh [PACKAGE]...    further packages that the caller needs
set -euo pipefail

packages=(
    g++ cmake ninja-build                               # build
    libcli11-dev nlohmann-json3-dev                     # command line and JSON of the tools
    libgtest-dev libbenchmark-dev python3 pkg-config qpdf poppler-utils parallel  # tests: the last three
    "$@"
)

fail() {
    printf 'setup: %s\n' "$@" >&2
    exit 1
}

command -v dpkg-query >/dev/null || fail "this is no Debian system; these packages, or what they are called here, are needed:" "${packages[*]}"

missing=()
for package in "${packages[@]}"; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
        fail "packages are missing, and neither root nor sudo without a password is at hand. Run once:" \
            "sudo apt-get install ${missing[*]}"
    fi
    as_root=(sudo -n)
fi

apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y "$@"
}
echo "setup: installing ${missing[*]}"
apt update || echo "setup: the package lists could not be refreshed; trying with those at hand" >&2
apt install --no-install-recommends "${missing[@]}" || fail "apt-get could not install ${missing[*]}"
