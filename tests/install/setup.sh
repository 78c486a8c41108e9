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

# Nobody's permissions stop root.
unprivileged() {
   if [ "$(id -u)" = 0 ]; then
      setpriv --reuid=65534 --clear-groups bash -c \
         "set -euo pipefail; $(declare -f); $(declare -p root); $*"
   else
      ("$@")
   fi
}

# says LINES FLAGS [COMMAND...]: the build says these lines, one a word, and was made with
# the flags.
says() {
   local lines=$1 flags=$2 said
   shift 2
   [ $# != 0 ] || set -- build default build all
   said=$( ( ("$@") || true) 2>&1 | sed 's/^[^:]*: //' | tr '\n' ',')
   [ "$said" = "$lines" ] || {
      printf 'said "%s" instead of "%s"\n' "$said" "$lines" >&2
      exit 1
   }
   [ "$(cat "$root/build/flags.txt")" = "$flags" ] || {
      printf 'built with "%s" instead of "%s"\n' "$(cat "$root/build/flags.txt")" "$flags" >&2
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

# A tree that cannot be written is good for what is up to date.
chmod -R a+rX,a-w "$root"
says '' two unprivileged build default build all
says '' two unprivileged build default build small
touch "$root/source.txt"
says 'source.txt is newer than the build, and build cannot be written,' two \
   unprivileged build default build all
chmod u+w "$root/build"
rm -f "$root/build/all.built"
chmod a-w "$root/build"
says 'all is not built, and build cannot be written,' two \
   unprivileged build default build all
chmod -R u+w "$root"
says 'building,' two
