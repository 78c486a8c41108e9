#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Builds the Debian packages of what is committed, and uses them as people do: dpkg-buildpackage
# and lintian say nothing, they are installed into a fresh root, the tests of debian/tests pass
# there, and after a removal and a purge nothing is left. Needs root and Debian's archive, and
# takes some minutes: debian.sh [DIRECTORY], which keeps the packages.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
. "$root/cmake/setup.sh"
keep=${1:+$(realpath "$1")}

work=$(mktemp -d)
fresh=$work/root
trap 'rm -rf --one-file-system "$work"' EXIT
install_packages $base_packages git debhelper dpkg-dev fakeroot lintian mmdebstrap

build_packages() {
   local version source
   version=$(cd "$root" && dpkg-parsechangelog -S Version)
   source=$work/mlagostra-${version%-*}
   mkdir "$source"
   git -c safe.directory="$root" -C "$root" archive HEAD | tar -x -C "$source"
   (cd "$source" && dpkg-buildpackage -us -uc -b) >"$work/log" 2>&1 ||
      { cat "$work/log" >&2; die "the packages cannot be built"; }
   ! grep -iE '(^|[^-a-z])warning' "$work/log" >&2 || die "the build of the packages warns"
   [ -z "$keep" ] || { mkdir -p "$keep" && cp "$work"/*.deb "$work"/*.changes "$keep"; }
}

check_packages() {
   local said
   said=$(lintian --allow-root --pedantic --display-info --fail-on none "$work"/*.changes 2>&1) ||
      die "$said"
   # How many hints are overridden, each with its reason.
   said=$(grep -v '^N: ' <<<"$said" || true)
   [ -z "$said" ] || die "$said"
}

# Runs a command in the fresh root, which has a /proc of its own.
inside() {
   unshare --mount --pid --fork --mount-proc="$fresh/proc" \
      chroot "$fresh" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 \
      DEBIAN_FRONTEND=noninteractive "$@"
}

make_root() {
   . /etc/os-release
   quietly mmdebstrap --variant=apt "$VERSION_CODENAME" "$fresh"
   mkdir "$fresh/packages"
   cp "$work"/*.deb "$fresh/packages"
   cp -r "$work"/mlagostra-*/ "$fresh/source"
}

# What a test of debian/tests needs, as the paragraph with its name says.
dependencies_of() {
   awk -v name="$1" -v RS= -F '\n' '
      $1 == "Tests: " name { for ( i = 2; i <= NF; ++i ) if ( sub( /^Depends: /, "", $i ) ) print $i }
   ' "$root/debian/tests/control" | tr ',' ' '
}

run_test() {
   quietly inside apt-get install -y --no-install-recommends $(dependencies_of "$1")
   quietly inside sh -c "cd /source && debian/tests/$1"
   say "the test $1 passes"
}

# A source for apt, so that it finds what ours depend on among ours.
offer_packages() {
   (cd "$fresh/packages" && dpkg-scanpackages --multiversion . >Packages 2>/dev/null)
   echo 'deb [trusted=yes] file:/packages ./' >"$fresh/etc/apt/sources.list.d/packages.list"
   quietly inside apt-get update
}

# Files that are called as ours are, beside those that this script has put there.
ours() {
   find "$fresh" -xdev \( -path "$fresh/packages" -o -path "$fresh/source" -o -path "$fresh/proc" \
      -o -path "$fresh/var/lib/apt" -o -path "$fresh/var/cache" \) -prune \
      -o \( -iname '*ostra*' -o -iname '*ryx*' \) -printf '/%P\n'
}

check_root() {
   make_root
   offer_packages
   local name
   for name in $(sed -n 's/^Tests: //p' "$root/debian/tests/control"); do
      run_test "$name"
   done
   [ -e "$fresh/lib/systemd/system/ostra.service" ] || die "no service is installed"
   [ -z "$(find "$fresh/etc/systemd" -name ostra.service)" ] || die "the service is enabled"
   inside getent passwd ostra >/dev/null || die "the service has no user"
   # Who upgrades keeps what is there.
   quietly inside apt-get install -y --reinstall ostra libmlagostra
   mkdir -p "$fresh/var/lib/ostra"
   touch "$fresh/var/lib/ostra/state.db"
   quietly inside apt-get remove -y ostra
   [ -e "$fresh/var/lib/ostra/state.db" ] || die "a removal takes the state away"
   quietly inside apt-get purge -y ostra '^libmlagostra.*' '^libryx.*'
   [ -z "$(ours)" ] || die "left behind: $(ours)"
}

build_packages
say "the packages are built"
check_packages
check_root
say "the packages are good"
