#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Installs a build into a temporary prefix, compiles every header that is there on its own,
# and builds and runs a small consumer, once through the CMake package and once through
# pkg-config:
# install.sh BUILD_DIRECTORY CONSUMER_DIRECTORY COMPILER [FLAG...]

set -euo pipefail
build=$1
consumer=$2
compiler=$3
shift 3
flags="$*"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
unset DESTDIR

expect() {
   [ -e "$prefix/$1" ] || {
      printf 'not installed: %s\n' "$1" >&2
      exit 1
   }
}

# Runs a command that must print the line given and nothing else.
prints() {
   local line=$1
   shift
   [ "$("$@")" = "$line" ] || {
      printf 'expected "%s" from: %s\n' "$line" "$*" >&2
      exit 1
   }
}

cmake --install "$build" --prefix "$prefix" >/dev/null
for path in bin/ostra lib/lib{Ryx,RyxTypes,MlagOstra}.so share/mlagostra/examples \
   include/{Ryx/HashMap,Kovel/IntfId,Mlag/Config,Mlag/MlagErrdisableSm} \
   include/OstraMlag/OstraMlag share/doc/mlagostra/LICENSE; do
   expect "$path"
done
# The installed host plays its built-in scenario with the plug-in that was installed with it.
"$prefix/bin/ostra" run >"$work/run.txt"

# Each header can be included first. The sanitizers have no say in that, and take longer.
syntax=("$compiler" -std=c++20 $flags -fsyntax-only -O0 -I"$prefix/include")
(cd "$prefix/include" && find . -type f -printf '%P\n' | sort) >"$work/headers"
[[ $flags == *-fsanitize* ]] || xargs -a "$work/headers" -P 2 -I{} sh -c \
   'header=$1; shift; printf "#include <%s>\n" "$header" | "$@" -x c++ - || exit 255' \
   sh {} "${syntax[@]}"

# Of the plug-in only what a user may include is installed, and what that includes.
printf '#include <%s>\n' OstraMlag/OstraMlag Mlag/MlagErrdisableSm | "${syntax[@]}" -M -x c++ - |
   tr ' ' '\n' | sed -n "s|^$prefix/include/||p" >"$work/included"
if grep -E '^(OstraMlag|Mlag)/' "$work/headers" | grep -vxFf "$work/included"; then
   printf 'installed, though no public header includes it\n' >&2
   exit 1
fi

cmake -S "$consumer" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
   -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$work/cmake" >/dev/null
prints "consumer none true" "$work/cmake/consumer"

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
"$compiler" -std=c++20 $flags "$consumer/consumer.cpp" -o "$work/consumer" \
   $(pkg-config --cflags --libs MlagOstra)
prints "consumer none true" env LD_LIBRARY_PATH="$prefix/lib" "$work/consumer"
