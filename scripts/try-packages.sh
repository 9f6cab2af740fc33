#!/bin/bash
# SPDX-License-Identifier: MIT
# Lives through the packages as an operator would, in a bare Debian system without systemd that may be
# thrown away: never run it in one that may not. Beside it lie folders `old` and `new`, the packages
# under two numbers.
set -euo pipefail
here=$(dirname "$0")
# The network is that of the machine around it, where a service may run already.
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 NX_PORT=55813
pages=()
for page in vorn.8 vorn.cfg.5 vornctl.1 vorn-report.1 vorn-templates.5 vorn-messages.5 tarix-sim.1; do
    pages+=("/usr/share/man/man${page##*.}/$page.gz")
done

say() { printf '\n---- %s\n' "$*"; }
fail() {
    printf 'try-packages: %s\n' "$*" >&2
    [ ! -s /tmp/vorn.log ] || tail -20 /tmp/vorn.log >&2
    exit 1
}
holds() { grep -qF -- "$2" "$1" || fail "$1 does not hold: $2"; }
gone() { for path in "$@"; do [ ! -e "$path" ] || fail "$path is still there"; done; }
there() { for path in "$@"; do [ -e "$path" ] || fail "$path is not there"; done; }
# As dpkg does where nobody is asked: a configuration file that was changed here stays.
apt() {
    apt-get -qq -y --no-install-recommends -o Dpkg::Use-Pty=0 -o Dpkg::Options::=--force-confold "$@" >/tmp/apt.log 2>&1 ||
        fail "apt-get $1: $(tail -20 /tmp/apt.log)"
}

# As the unit does: another user, without a way to become root again.
AS_VORN=(sh -c 'umask 027 && exec setpriv --reuid vorn --regid vorn --init-groups --no-new-privs --bounding-set=-all "$@"' sh)
as_vorn() { "${AS_VORN[@]}" "$@"; }

service=
trap '[ -z "$service" ] || kill "$service"' EXIT
start_service() {
    as_vorn vornctl check-config
    "${AS_VORN[@]}" vorn -D 2 2>>/tmp/vorn.log &
    service=$!
    for _ in {1..100}; do
        vornctl status 2>/dev/null | grep -q '^1 ' && return
        sleep 0.1
    done
    fail "the service does not run"
}
stop_service() {
    kill "$service"
    wait "$service" || fail "the service ended with status $?"
    service=
}

# One measurement of two applications, from which a report is made by itself, and the next number kept.
measure() {
    local sav=/tarix/data/vorn/vorn.sav before
    before=$(cksum "$sav" 2>&1 || true)
    for app in gen1 ana2; do as_vorn tarix-sim start "$app" 1700000000; done
    for app in gen1 ana2; do as_vorn tarix-sim sync "$app" 1700003600; done
    for _ in {1..100}; do
        [ ! -s "/tarix/data/reports/$1" ] || [ "$(cksum "$sav" 2>&1 || true)" = "$before" ] || break
        sleep 0.1
    done
    there "/tarix/data/reports/$1"
    holds "/tarix/data/reports/$1" "Duration"
}

say "install the older version, on a machine that has no systemd"
apt update
apt install systemd-standalone-sysusers systemd-standalone-tmpfiles "$here"/old/*.deb
[ "$(dpkg-query -W -f '${Version}' vorn)" = 0.9 ] || fail "the older version is not installed"
[ "$(stat -c '%U %G %a' /tarix/data/results)" = "vorn vorn 750" ] || fail "/tarix/data/results has a wrong owner or mode"
[ "$(stat -c '%U %G %a' /tarix/data/templates)" = "root root 755" ] || fail "/tarix/data/templates has a wrong owner or mode"
said=$(as_vorn vornctl check-config 2>&1) || fail "a fresh machine is called wrong: $said"
printf '%s\n' "$said"
for program in vornctl vorn-report tarix-sim; do "$program" --version; done
there "${pages[@]}"

say "configure, start, measure"
sed -i -e 's/^#autosave .*/autosave yes/' -e 's/^#autoreport .*/autoreport txt/' \
    -e 's/^#autoname .*/autoname refseq/' -e 's/^#reference .*/reference run/' /etc/tarix/vorn.cfg
echo 'subscribe tx:gen1,ana2:service.tpl' >/etc/tarix/vorn/first.subs
cp /usr/share/doc/vorn-tools/examples/service.tpl /tarix/data/templates
as_vorn tarix-sim up
start_service
for app in gen1 ana2; do as_vorn tarix-sim create "$app"; done
vornctl set-var site Lab
measure run00001.txt
cat /tarix/data/reports/run00001.txt
cp /etc/tarix/vorn.cfg /tmp/vorn.cfg

say "upgrade"
stop_service
apt install "$here"/new/*.deb
[ "$(dpkg-query -W -f '${Version}' vorn)" != 0.9 ] || fail "nothing was upgraded"
cmp /etc/tarix/vorn.cfg /tmp/vorn.cfg || fail "the upgrade changed the configuration"
there /etc/tarix/vorn.cfg.dpkg-dist /etc/tarix/vorn/first.subs /tarix/data/templates/service.tpl /tarix/data/reports/run00001.txt
start_service
measure run00002.txt
as_vorn tarix-sim show | grep '^queue'

say "a plug-in, compiled against the installed header, in the folder of the administrator's own"
apt install gcc libc6-dev pkg-config
examples=/usr/share/doc/vorn-tools/examples
mkdir -p /usr/local/lib/vorn
cc -shared -fPIC $(pkg-config --cflags vorn-plugin) "$examples/plugin/stats.c" -o /usr/local/lib/vorn/libstats.so
mkdir /tmp/plugin
cp "$examples/plugin/series.tpl" /tmp/plugin
sed 's#lib=./libstats.so#lib=/usr/local/lib/vorn/libstats.so#' "$examples/plugin/stats.tpl" >/tmp/plugin/stats.tpl
vorn-report "$examples/tester.res" /tmp/plugin/stats.tpl /tmp/plugin/stats.txt
holds /tmp/plugin/stats.txt "Latency test from 20"
cp /tmp/plugin/*.tpl /tarix/data/templates
install -o vorn -m 640 "$examples/tester.res" /tarix/data/results/tester.res
vornctl report tx /tarix/data/results/tester.res stats.tpl /tarix/data/reports/stats.txt
cmp /tarix/data/reports/stats.txt /tmp/plugin/stats.txt
# The plug-in that comes along is found by its name.
printf '<report>\n<plugin name=s, lib=vorn-std, init=std_init(app:port1)>\n<section id=a><row cstyle=%%s><value>std</value></row></section>\n</report>\n' >/tmp/plugin/std.tpl
vorn-report "$examples/tester.res" /tmp/plugin/std.tpl /tmp/plugin/std.txt
holds /tmp/plugin/std.txt std

say "remove: programs go, configuration and data stay"
stop_service
apt remove vorn vorn-tools vorn-sim libvorn-dev
gone /usr/bin/vorn /usr/bin/vornctl /usr/bin/vorn-report /usr/bin/tarix-sim /usr/lib/vorn /lib/systemd/system/vorn.service
gone /usr/include/vorn /usr/share/pkgconfig/vorn-plugin.pc "${pages[@]}"
cmp /etc/tarix/vorn.cfg /tmp/vorn.cfg
there /etc/tarix/vorn/first.subs /tarix/data/vorn/vorn.sav /tarix/data/reports/run0000{1,2}.txt /tarix/data/templates/service.tpl

say "purge: what is the service's own goes; people's work and the instrument's folder stay"
apt purge vorn
gone /etc/tarix/vorn.cfg /etc/tarix/vorn.cfg.dpkg-dist /tarix/data/vorn /tarix/data/configs /run/tarix/vorn.ctl /run/tarix/kelp
there /run/tarix/okra /etc/tarix/vorn/first.subs /tarix/data/results/tester.res /tarix/data/reports/run0000{1,2}.txt /tarix/data/templates/service.tpl
[ -z "$(tail -n +2 /proc/sysvipc/msg)" ] || fail "a queue is left"
say "nothing found"
