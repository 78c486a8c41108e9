#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Whether the three libraries are still what was compiled for the last release expects:
#
#    tests/install/abi.sh            compares them with tests/install/abi
#    tests/install/abi.sh --update   makes them the ones to compare with, when a version is released
#
# A change that is not a mere addition needs another minor version, so that the SONAMEs change.
# Only what the installed headers declare counts, and no inline function: a caller has its
# own copy. Builds the libraries in build-abi, with all types in their debugging information.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
. "$root/cmake/setup.sh"
build=$root/build-abi
baseline=$root/tests/install/abi
libraries="Ryx RyxTypes MlagOstra"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The libraries and the headers that are installed with them.
make_them() {
   # A library's sources at once: most of the time goes into what they include.
   quietly cmake -G Ninja -S "$root" -B "$build" -DCMAKE_CXX_COMPILER=g++ -DBUILD_TESTING=OFF \
      -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=0 \
      -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O0 -g -fvisibility-inlines-hidden"
   quietly cmake --build "$build" --parallel "$(nproc)" --target $libraries
   local directory
   for directory in Ryx types OstraMlag; do
      quietly cmake --install "$build/$directory" --prefix "$work/prefix"
   done
}

# describe LIBRARY: what of a library the headers declare.
describe() {
   abidw --headers-dir "$work/prefix/include" --suppressions "$baseline/suppressions.ini" \
      --no-show-locs --no-comp-dir-path --no-corpus-path --no-parameter-names \
      --drop-private-types --drop-undefined-syms \
      "$work/prefix/lib/lib$1.so"
}

# compare LIBRARY: false, and says why, where it is not the baseline's with additions.
compare() {
   xz -dc "$baseline/lib$1.abi.xz" >"$work/old.abi"
   describe "$1" >"$work/new.abi"
   abidiff --no-added-syms --suppressions "$baseline/suppressions.ini" \
      "$work/old.abi" "$work/new.abi" >"$work/report" || {
      cat "$work/report"
      return 1
   }
}

command -v abidiff >/dev/null || {
   echo "left out: there is no abidiff (Debian: apt-get install abigail-tools)"
   exit 77
}
version=$(sed -n 's/.*frameworkVersion\[\] = "\(.*\)";/\1/p' "$root/Ryx/Version")
make_them
if [ "${1-}" = --update ]; then
   for library in $libraries; do
      describe "$library" | xz -9e >"$baseline/lib$library.abi.xz"
   done
   echo "$version" >"$baseline/version.txt"
   exit 0
fi

last=$(cat "$baseline/version.txt")
broken=
for library in $libraries; do
   compare "$library" || broken+=" lib$library"
done
if [ -z "$broken" ]; then
   echo "compatible with $last"
elif [ "${version%.*}" != "${last%.*}" ]; then
   echo "not compatible with $last, and $version has another minor version:$broken"
else
   echo "not compatible with $last:$broken; expected another minor version than $version" >&2
   exit 1
fi
