#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# The service as it is installed: systemd understands it, it is shut off from all that the
# host does not need, and its user can be made. unit.sh BUILD_DIRECTORY

set -euo pipefail
highest_exposure=3.0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
   printf '%s\n' "$*" >&2
   exit 1
}

cmake --install "$1" --prefix "$work" --component Runtime >/dev/null
unit=$work/ostra.service
# The tree is not installed where it says.
sed "s|^ExecStart=[^ ]*/bin/|ExecStart=$work/bin/|" "$work/lib/systemd/system/ostra.service" \
   >"$unit"
grep -qxF "ExecStart=$work/bin/ostra serve" "$unit" || fail "the unit does not start ostra serve"

said=$(systemd-analyze verify "$unit" 2>&1) || fail "$said"
[ -z "$said" ] || fail "$said"

exposure=$(systemd-analyze security --offline=yes --no-pager "$unit" |
   sed -n 's/.*Overall exposure level for ostra.service: \([0-9.]*\).*/\1/p')
awk -v is="$exposure" -v most="$highest_exposure" \
   'BEGIN { exit !( is != "" && is + 0 <= most + 0 ) }' ||
   fail "exposure '$exposure' instead of at most $highest_exposure"

mkdir -p "$work/root/etc"
systemd-sysusers --root="$work/root" "$work/lib/sysusers.d/ostra.conf" >/dev/null 2>&1
grep -q '^ostra:' "$work/root/etc/passwd" || fail "no user is made"
grep -q '^ostra:' "$work/root/etc/group" || fail "no group is made"
