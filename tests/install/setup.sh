#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# When the commands configure and build, and what they say: setup.sh SETUP, which is the
# script that they share. Works on a small project of its own.

set -euo pipefail
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
. "$1"

cat >"$root/CMakeLists.txt" <<'end'
cmake_minimum_required( VERSION 3.24 )
project( Small LANGUAGES NONE )
add_custom_command( OUTPUT flags.txt DEPENDS source.txt
   COMMAND ${CMAKE_COMMAND} -E echo "${FLAGS}" >flags.txt )
add_custom_target( small ALL DEPENDS flags.txt )
end
echo 1 >"$root/source.txt"

presets() {
   cat >"$root/CMakePresets.json" <<end
{ "version": 4, "configurePresets": [ { "name": "default", "generator": "Ninja",
   "binaryDir": "\${sourceDir}/build", "cacheVariables": { "FLAGS": "$1" } } ] }
end
}

# says LINES FLAGS: the build says these lines, one a word, and was made with the flags.
says() {
   local said
   said=$( (build default build all) 2>&1 | sed 's/^[^:]*: //' | tr '\n' ',')
   [ "$said" = "$1" ] || {
      printf 'said "%s" instead of "%s"\n' "$said" "$1" >&2
      exit 1
   }
   [ "$(cat "$root/build/flags.txt")" = "$2" ] || {
      printf 'built with "%s" instead of "%s"\n' "$(cat "$root/build/flags.txt")" "$2" >&2
      exit 1
   }
}

presets one
says 'configuring build,building,' one
says '' one
touch "$root/source.txt"
says 'building,' one
presets two
says 'configuring build,building,' two
says '' two
mv "$root" "$root.moved"
root=$root.moved
says 'configuring build,building,' two
