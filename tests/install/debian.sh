#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Builds the Debian packages and uses them as people do: dpkg-buildpackage and lintian say nothing,
# they are installed into a fresh root, the tests of debian/tests pass there, and after a removal
# and a purge nothing is left. Needs root and Debian's archive:
#
#    debian.sh [DIRECTORY]            of what is committed; keeps the packages in the directory
#    debian.sh --compiled DIRECTORY   of the sources as they are, with the programs and libraries
#                                     of a build of them, in a minute in place of many: these are
#                                     not hardened as Debian wants it, and what needs a compiler
#                                     in the fresh root is not tried

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
. "$root/cmake/setup.sh"
compiled=
if [ "${1-}" = --compiled ]; then
   compiled=$(realpath "$2")
   shift 2
fi
keep=${1:+$(realpath "$1")}

work=$(mktemp -d)
fresh=$work/root
trap 'rm -rf --one-file-system "$work"' EXIT
install_packages $base_packages git debhelper dpkg-dev fakeroot lintian mmdebstrap systemd

print_sources() {
   local git=(git -c safe.directory="$root" -C "$root")
   if [ -z "$compiled" ]; then
      "${git[@]}" archive HEAD
   else
      # What is removed and not committed yet is missing.
      "${git[@]}" ls-files -z --cached --others --exclude-standard |
         tar -c -C "$root" --null --ignore-failed-read -T - 2>/dev/null
   fi
}

# stand_in COMMAND: what standard input says is called in place of debhelper's command.
stand_in() {
   mkdir -p "$work/commands"
   { printf '#!/bin/sh\nset -e\n' && cat; } >"$work/commands/$1"
   chmod +x "$work/commands/$1"
   PATH=$work/commands:$PATH
}

# Of a build everything is taken that is installed and was not made by configuring for Debian.
take_compiled() {
   stand_in dh_auto_build <<END
cd obj-*
here=\$PWD
grep -rhoE --include=cmake_install.cmake "\"\$here/[^\"\$]+\"" . | tr -d '"' | while read -r file; do
   [ -e "\$file" ] || (cd '$compiled' && cp -a --parents "\${file#"\$here/"}" "\$here")
done
END
   stand_in dh_auto_install <<END
DESTDIR=\$PWD/debian/tmp cmake --install obj-*
END
}

build_packages() {
   local version source
   version=$(cd "$root" && dpkg-parsechangelog -S Version)
   source=$work/mlagostra-${version%-*}
   mkdir "$source"
   print_sources | tar -x -C "$source"
   [ -z "$compiled" ] || take_compiled
   (cd "$source" && dpkg-buildpackage -us -uc -b) >"$work/log" 2>&1 ||
      { cat "$work/log" >&2; die "the packages cannot be built"; }
   ! grep -iE '(^|[^-a-z])warning' "$work/log" >&2 || die "the build of the packages warns"
   [ -z "$keep" ] || { mkdir -p "$keep" && cp "$work"/*.deb "$work"/*.changes "$keep"; }
}

check_packages() {
   local said besides=
   [ -z "$compiled" ] ||
      besides=--suppress-tags=hardening-no-bindnow,hardening-no-fortify-functions
   said=$(lintian --allow-root --pedantic --display-info --fail-on none $besides \
      "$work"/*.changes 2>&1) || die "$said"
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

# Finds out where this machine has its packages from; false if that cannot be reached.
find_archive() {
   . /etc/os-release
   archive=$(apt-get indextargets --format '$(REPO_URI)' \
      'Created-By: Packages' "Release: $VERSION_CODENAME" 'Component: main' | head -n 1)
   /usr/lib/apt/apt-helper download-file \
      "${archive%/}/dists/$VERSION_CODENAME/InRelease" "$work/InRelease" >/dev/null 2>&1
}

make_root() {
   # Nothing has to be there after a loss of power.
   quietly mmdebstrap --variant=apt --dpkgopt=force-unsafe-io \
      "$VERSION_CODENAME" "$fresh" "$archive"
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
   local dependencies
   dependencies=$(dependencies_of "$1")
   if [ -n "$compiled" ] && [[ " $dependencies " == *" g++ "* ]]; then
      return 0
   fi
   quietly inside apt-get install -y --no-install-recommends $dependencies
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
   # All of them, also those that no test needs.
   quietly inside apt-get install -y --no-install-recommends ostra libmlagostra-dev
   local name
   for name in $(sed -n 's/^Tests: //p' "$root/debian/tests/control"); do
      run_test "$name"
   done
   # All that it calls is there.
   quietly systemd-analyze verify --root="$fresh" ostra.service
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
say "lintian is content"
unable=
[ "$(id -u)" = 0 ] || unable="only root can make a root"
[ -n "$unable" ] || find_archive || unable="Debian's archive cannot be reached"
if [ -n "$unable" ]; then
   [ -n "$compiled" ] || die "the packages are not installed: $unable"
   echo "left out: the packages are not installed, as $unable"
   exit 0
fi
check_root
say "the packages are good"
