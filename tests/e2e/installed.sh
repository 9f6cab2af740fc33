#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs into a place of its own, as a package is made, and builds plug-ins against that; prints
# what the manual's one reports. Works in the current directory; needs SOURCE, BUILD, CMAKE, CC, CXX.
set -euo pipefail
DESTDIR=$PWD "$CMAKE" --install "$BUILD" --prefix /opt/vorn >/dev/null
at=$PWD/opt/vorn
ls "$at"/share/doc/vorn/docs/plugins.md "$at"/share/bash-completion/completions/vornctl >/dev/null
grep -qx ExecStart=/opt/vorn/bin/vorn "$at"/lib/systemd/system/vorn.service
cmp "$at"/include/vorn/plugin.h "$SOURCE"/include/vorn/plugin.h
cp -r "$SOURCE"/examples/plugin example
cd example
report() {
    "$at"/bin/vorn-report "$at"/share/doc/vorn/examples/tester.res "$1.tpl" "$1.txt"
    tail -c +4 "$1.txt" | tr -d '\r'
    rm "$1.txt"
}

# The example, by CMake.
"$CMAKE" -G Ninja -B build -DCMAKE_PREFIX_PATH="$at" >/dev/null
"$CMAKE" --build build >/dev/null
mv build/libstats.so .
report stats | diff - "$SOURCE"/tests/e2e/golden/plugin_stats.txt
# From a path beyond 63 characters, where the library is still that of the working folder.
deep=$(printf 'deep-%.0s' {1..40})
mkdir "$deep"
cp ./*.tpl "$deep"
report "$deep/stats" | diff - "$SOURCE"/tests/e2e/golden/plugin_stats.txt

# The first plug-in of the manual, as it stands there, by pkg-config in plain C and in C++.
manual=$SOURCE/docs/plugins.md
read -ra flags < <(PKG_CONFIG_PATH=$at/share/pkgconfig pkg-config --cflags 'vorn-plugin >= 1')
flags+=(-Wall -Wextra -Werror -pedantic -shared -fPIC)
sed '1,/^```c$/d;/^```/,$d' "$manual" | tee hello.c >hello.cpp
sed -n '/^    <report>/,/^    <.report>/p' "$manual" >hello.tpl
"$CC" -std=c99 hello.c "${flags[@]}" -o libhello.so
report hello
"$CXX" -std=c++11 hello.cpp "${flags[@]}" -o libhello.so
report hello

# No feature macro at all, and the oldest C++.
printf '#include <vorn/plugin.h>\nint used = KV_OK;\n' | tee bare.c >bare.cpp
"$CC" -std=c99 bare.c "${flags[@]}" -o bare.so
"$CXX" -std=c++98 bare.cpp "${flags[@]}" -Wno-long-long -o bare.so
