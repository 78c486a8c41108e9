#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# What the plug-in shows to the processes that load it: symbols.sh LIBRARY [NM [READELF]].
#
# Exactly two functions are ours to export. Beside them only weak symbols may be visible,
# which every library that needs one defines for itself:
#   - typeinfo and vtables of classes of Ryx and of the state types: a dynamic_cast or a
#     catch on either side has to recognise the class of the other;
#   - the standard library's own inline functions and templates (its namespaces, operator
#     new and delete), which its headers declare visible.
#   - texts that are template arguments (Ryx::Literal): clang makes each a weak constant that
#     is visible whatever the library asks for.
# A unique symbol is refused whatever its name: it would keep the library in memory after
# dlclose.

set -euo pipefail
library=$1
nm=${2:-nm}
readelf=${3:-readelf}
status=0

fail() {
   printf '%s\n' "$1" >&2
   status=1
}

# The names are matched as the linker has them, where an entity's own name comes first.
std='(S[tabsiod]|9__gnu_cxx)'
shared='(3Ryx|5Kovel|4Mlag|9Interface|3Lag|4Lacp|10Errdisable|8Bridging)'
internal='^_ZT.N?4Mlag5Ostra'
allowed_weak="^_Z(TAXtlN3Ryx7Literal|T[ISV]N$shared|(T[ISVT]|GV|Z)*(N[VKRO]*)?$std|(n[wa]|d[la]))"
factories='^_ZN(9OstraMlag12agentFactory|4Mlag5Ostra23mlagErrdisableSmFactory)E'
found=0

while read -r _ kind name; do
   if [[ $kind == T && $name =~ $factories ]]; then
      found=$((found + 1))
   elif [[ $kind != [VvWw] || ! $name =~ $allowed_weak || $name =~ $internal ]]; then
      fail "exported ($kind): $(c++filt "$name")"
   fi
done < <("$nm" -D --defined-only "$library")
[ "$found" = 2 ] || fail "$found of the 2 factories are exported"

# A member that the plug-in inserts into a collection of a state type outlives the plug-in:
# its code has to be that of the types' library. Only the machine's own members may be here.
own_members='PortChannelTracker'
members=0
while read -r _ _ name; do
   members=$((members + 1))
   [[ $name =~ $own_members ]] || fail "members of a state type have their code here: $name"
done < <("$nm" -C --defined-only "$library" | grep 'vtable for Ryx::ValueRecord<Kovel::IntfId')
[ "$members" != 0 ] || fail "not even the machine's own members are found"

# So does a value that a host has read from an object by name: its code has to be that of the
# library that registers the type. The adapters of the plug-in's own objects are here.
adapters=0
while read -r _ _ name; do
   adapters=$((adapters + 1))
   [[ $name != *GenericIfValue* ]] || fail "values that are read by name have their code here: $name"
done < <("$nm" -C --defined-only "$library" | grep 'vtable for Ryx::GenericIf\(Of\|Value\)<')
[ "$adapters" != 0 ] || fail "no adapter is found"

# Nothing but this project and the standard library.
allowed_needed='^lib(Ryx|RyxTypes|stdc\+\+|m|gcc_s|c)\.so'
libraries=0
while read -r needed; do
   libraries=$((libraries + 1))
   [[ $needed =~ $allowed_needed ]] || fail "needed: $needed"
done < <("$readelf" -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')

[ "$libraries" != 0 ] || fail "no needed library is found"

exit "$status"
