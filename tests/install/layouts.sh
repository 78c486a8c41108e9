#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Builds and installs with the library directories that distributions have, and uses what is
# installed there: layouts.sh BUILD_DIRECTORY SOURCE_DIRECTORY VERSION
#
# Only what is linked depends on these directories, so that all is compiled once, and quickly.

set -euo pipefail
build=$1
source=$2
version=$3
consumer=$source/tests/install/consumer

work=$build/layouts
trap 'rm -rf "$work"' EXIT
rm -rf "$work"
mkdir -p "$work/build"
. "$source/tests/install/installed.sh"

# The build's own settings, as options.
mapfile -t settings < <(sed -nE \
   's/^((CMAKE_BUILD_TYPE|CMAKE_CXX_(COMPILER|FLAGS(_[A-Z]+)?)|MLAGOSTRA_WERROR):[A-Z]+=)/-D\1/p' \
   "$build/CMakeCache.txt")
setting() {
   sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"
}
compiler=$(setting CMAKE_CXX_COMPILER)
read -ra flags <<<"$(setting CMAKE_CXX_FLAGS)"

for libdir in lib64 lib/x86_64-linux-gnu; do
   cmake -G Ninja -S "$source" -B "$work/build" "${settings[@]}" -DBUILD_TESTING=OFF \
      -DCMAKE_UNITY_BUILD=ON -DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O0 \
      -DCMAKE_INSTALL_LIBDIR=$libdir >"$work/log" 2>&1 &&
      cmake --build "$work/build" >>"$work/log" || { cat "$work/log" >&2; exit 1; }
   cmake --install "$work/build" --prefix "$work/prefix" >/dev/null
   [ -e "$work/prefix/$libdir/libMlagOstra.so" ] || fail "not installed in $libdir"
   check_program "$work/prefix"
   check_consumers "$work/prefix" "$libdir" "${version%.*}"
   rm -rf "$work/prefix"
done

# A standard that the user asks for is kept.
cmake -S "$source" -B "$work/build" -DCMAKE_CXX_STANDARD=23 >"$work/log" 2>&1
grep -q -- '-std=\(c++23\|c++2b\)' "$work/build/compile_commands.json" ||
   fail "CMAKE_CXX_STANDARD=23 is not kept"
! grep -q -- '-std=c++20' "$work/build/compile_commands.json" ||
   fail "CMAKE_CXX_STANDARD=23 is not kept everywhere"
