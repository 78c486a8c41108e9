#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# What debian/ says agrees with the project, so that nobody finds out at the next release:
# packaging.sh BUILD_DIRECTORY SOURCE_DIRECTORY VERSION. The packages themselves are for debian.sh.

set -euo pipefail
build=$1
debian=$2/debian
version=$3
minor=${version%.*}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

complain() {
   printf '%s\n' "$*" >&2
   status=1
}

# The version, and the packages that are called by it.
newest=$(sed -n '1s/^mlagostra (\([^-)]*\).*/\1/p' "$debian/changelog")
[ "$newest" = "$version" ] || complain "debian/changelog is for $newest instead of $version"
packages=$(sed -n 's/^Package: //p' "$debian/control")
for name in libryx libryxtypes; do
   grep -qxF "$name$minor" <<<"$packages" || complain "debian/control has no $name$minor"
done

# Whom all of it names.
sed -nE 's/^(Maintainer|Upstream-Contact): //p; s/^ -- (.*>)  .*/\1/p' \
   "$debian"/{control,copyright} <(sed '/^ -- /q' "$debian/changelog") >"$work/named"
[ "$(wc -l <"$work/named")" = 3 ] && [ "$(sort -u "$work/named" | wc -l)" = 1 ] ||
   complain "control, copyright and changelog name others: $(cat "$work/named")"

# Every installed file is in one package, and every pattern is for one.
DESTDIR=$work cmake --install "$build" --prefix /usr >/dev/null
mv "$work/usr/etc" "$work/etc"
# The documents are in the directory of a package, the libraries in that of an architecture.
mv "$work/usr/share/doc/"* "$work/usr/share/doc/ostra"
mkdir "$work/usr/lib/architecture"
mv "$work/usr/lib/"{cmake,pkgconfig,*.so*} "$work/usr/lib/architecture"
for list in "$debian"/*.install; do
   name=$(basename "$list" .install)
   grep -qxF "$name" <<<"$packages" || complain "debian/$name.install is of no package"
   while read -r pattern _; do
      (cd "$work" && compgen -G "$pattern") >"$work/found" ||
         complain "debian/$name.install: nothing is installed as $pattern"
      cat "$work/found" >>"$work/packaged"
   done <"$list"
done
grep -v '^#' "$debian/not-installed" >>"$work/packaged"
sort "$work/packaged" | uniq -d >"$work/twice"
[ ! -s "$work/twice" ] || complain "in two packages: $(cat "$work/twice")"
while read -r file; do
   while read -r packaged; do
      case $file in "$packaged" | "$packaged"/*) continue 2 ;; esac
   done <"$work/packaged"
   complain "in no package: $file"
done < <(cd "$work" && find usr etc ! -type d)

# Tests that are named are there, and the other way round.
named=$(sed -n 's/^Tests: //p' "$debian/tests/control" | sort)
[ "$named" = "$(cd "$debian/tests" && find . -type f -perm -u+x -printf '%f\n' | sort)" ] ||
   complain "debian/tests/control does not have the tests that are there"

exit "$status"
