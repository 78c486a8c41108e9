#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Which layer includes which: layers.sh ROOT. The compiler cannot tell, since the
# repository's root is an include root of all of them. The host in particular reaches the
# plug-in by loading it and by name, and knows none of its headers. Within host/ the folders
# are layers, too. Nor can it tell that headers include each other, which their guards hide.

set -euo pipefail
shopt -s extglob
cd "$1"
status=0

# The directory that the header stands in; nothing for one that is not of this project.
layer_of() {
   case $1 in
   host/*/*) printf '%s' "${1%/*}" ;;
   @(Ryx|OstraMlag|host|support)/*) printf '%s' "${1%%/*}" ;;
   *)
      [ ! -e "types/$1" ] || printf types
      [ ! -e "src-includes/$1" ] || printf src-includes
      ;;
   esac
}

# check LAYER ALLOWED...: the layer includes headers of these and of nothing else of ours,
# and it does include some: one in which none is found is not where it is looked for.
check() {
   local directory=$1 header found=
   while read -r header; do
      found=yes
      [[ " $* " == *" $(layer_of "$header") "* ]] || [ -z "$(layer_of "$header")" ] || {
         printf '%s must not include <%s>\n' "$directory" "$header" >&2
         status=1
      }
   done < <(grep -rhE '^ *# *include' "$directory" | sed 's/^[^<"]*[<"]\([^>"]*\).*/\1/' |
      sort -u)
   [ -n "$found" ] || {
      printf 'no include found in %s\n' "$directory" >&2
      status=1
   }
}

check Ryx
check types Ryx
check src-includes Ryx types
check OstraMlag Ryx types src-includes

# The folders of host/, each with those whose headers it may include beside its own. Ones that
# are not there yet have their place already.
declare -A folders=(
   [base]=''
   [input]='base'
   [state]='base input'
   [run]='base input state'
   [account]='base input state run'
   [alarms]='base input state run account'
   [check]='base input state run account alarms'
   [web]='base input state run account alarms'
   [text]='base input state run account alarms check web'
   [http]='base'
   [serve]='base input state run account alarms'
   [linux]='base input state run account alarms serve'
   [api]='base input state run account alarms check web text http serve'
   [client]='base input state run account alarms check web text http serve api'
   [import]='base input state run account alarms check serve'
   [cli]='base input state run account alarms check web text http serve linux api client import'
)
for path in host/*/; do
   folder=$(basename "$path")
   [ -v "folders[$folder]" ] || {
      printf 'host/%s has no place among the folders\n' "$folder" >&2
      status=1
      continue
   }
   read -ra below <<<"${folders[$folder]}"
   check "host/$folder" Ryx types "${below[@]/#/host/}"
done
check host/main.cpp host/cli

# Each header of ours, and what includes it: "by header" on a line.
inclusions() {
   local by header root
   grep -rEH '^ *# *include' Ryx types src-includes OstraMlag host tests bench |
      sed 's/^\([^:]*\):[^<"]*[<"]\([^>"]*\).*/\1 \2/' | while read -r by header; do
      for root in '' types/ src-includes/ tests/ "${by%/*}/"; do
         [ ! -f "$root$header" ] || {
            printf '%s %s\n' "$by" "$root$header"
            break
         }
      done
   done
}
circle=$(inclusions | tsort 2>&1 >/dev/null) || {
   printf 'headers include each other:\n%s\n' "$circle" >&2
   status=1
}
exit "$status"
