#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# The manual pages: ostra(1) has every command with every option that its help has, and all can
# be formatted. manual.sh BUILD_DIRECTORY; status 77 when nothing can format them here.

set -euo pipefail
pages=$1/manual
ostra=$1/bin/ostra

fail() {
   printf '%s\n' "$*" >&2
   exit 1
}

# As the page has it.
typed() {
   sed 's/-/\\-/g' <<<"$1"
}

commands=$(printf '1\n\n' | "$ostra" completion words | sed '1d; s/\t.*//')
[ "$(wc -w <<<"$commands")" -ge 15 ] || fail "hardly any commands: $commands"
count=0
for command in $commands; do
   section=$(sed -n "/^\.SS ostra $command\( \|$\)/,/^\.S[SH] /p" "$pages/ostra.1")
   # The next heading is in it, too.
   [ "$(wc -l <<<"$section")" -ge 3 ] || fail "ostra.1 has no ostra $command"
   for option in $("$ostra" "$command" --help | sed -n 's/^  .*\(--[a-z-]*\).*/\1/p'); do
      case $option in --help | --version) continue ;; esac
      grep -qF -- "$(typed "$option")" <<<"$section" ||
         fail "ostra.1 has no $option of ostra $command"
      count=$((count + 1))
   done
done
[ "$count" -ge 40 ] || fail "hardly any options: $count"
grep -q 'reloadDelayNonMlagConfigured' "$pages/ostra-scenario.5" || fail "no mounts"
grep -q 'reasonBit' "$pages/ostra.yaml.5" || fail "no keys"

command -v mandoc >/dev/null || { printf 'left out: no mandoc here\n'; exit 77; }
for page in "$pages"/*.[15]; do
   said=$(mandoc -T lint -W warning "$page") || fail "$said"
   [ -z "$said" ] || fail "$said"
done
