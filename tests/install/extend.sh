#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Does what docs/extend.md says, from an empty folder and an installation, and compares what
# is printed with what the page shows:
# extend.sh BUILD_DIRECTORY SOURCE_DIRECTORY COMPILER [FLAG...]

set -euo pipefail
build=$1
source=$2
page=$source/docs/extend.md
compiler=$3
flags=("${@:4}")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. "$source/tests/install/installed.sh"

# The page's blocks: one behind "`NAME`:" is that file, those that are sh are the commands,
# the one without a language is what they print.
mkdir "$work/folder"
awk -v folder="$work/folder" '
   /^`[^`]+`:$/ { name = substr( $0, 2, length( $0 ) - 3 ) }
   /^```/ && inside { inside = 0; name = ""; next }
   /^```/ {
      inside = 1
      file = name != "" ? name : $0 == "```sh" ? "commands" : "printed"
      next
   }
   inside { print > ( folder "/" file ) }' "$page"
for file in optics.yaml main.cpp CMakeLists.txt commands printed; do
   [ -s "$work/folder/$file" ] || fail "the page does not show $file"
done

cmake --install "$build" --prefix "$work/prefix" >/dev/null
cd "$work/folder"
export PREFIX=$work/prefix CXX=$compiler CXXFLAGS=${flags[*]} CMAKE_GENERATOR=Ninja
bash -e commands >"$work/output" 2>&1 || { cat "$work/output" >&2; exit 1; }
tail -n "$(wc -l <printed)" "$work/output" | diff printed -

# What is beside the namespaces' directories cannot be one of them.
[ -z "$(find build/mlagostra-types/optics -maxdepth 1 -type f ! -name '.*')" ] ||
   fail "a namespace could be called like a file beside it"

# A schema that changed is written again, and one that did not is left alone.
cmake --build build >"$work/again"
grep -q "no work to do" "$work/again" || fail "a build with nothing to do does something"
sed -i 's/vendor/maker/' optics.yaml
cmake --build build >/dev/null
grep -q makerIs build/mlagostra-types/optics/Optics/Transceiver ||
   fail "the schema changed and the header did not"

# The machine that the page sends to gives the header that is installed.
types=$work/prefix/share/mlagostra/types
machine=$(sed -n 's|.*`share/mlagostra/types/\(machines/[^`]*\)`.*|\1|p' "$page")
"$types/generator/mlagostra-types" --output "$work/machine" \
   $(printf -- '--uses %s ' "$types"/*.yaml) "$types/$machine"
diff "$work/machine/Mlag/Ostra/SmInputs" "$work/prefix/include/Mlag/Ostra/SmInputs"

# All that a schema can say compiles.
everything=$source/tests/generator
"$types/generator/mlagostra-types" --output "$work/all" $(printf -- '--uses %s ' "$types"/*.yaml) \
   "$everything/everything.yaml"
syntax=("$compiler" -std=c++20 -Wall -Wextra -Wshadow -Wconversion -Wnon-virtual-dtor -Werror
   "${flags[@]}" -fsyntax-only -I"$work/prefix/include" -I"$everything/include" -I"$work/all")
"${syntax[@]}" "$work/all/Test/Everything.cpp"
(cd "$work/all" && find . -type f ! -name '*.cpp' -printf '#include <%P>\n') | while read -r include; do
   printf '%s\n' "$include" | "${syntax[@]}" -x c++ -
done

# The namespaces of the plug-in belong to it.
cp optics.yaml "$work/optics.yaml"
sed -i 's/^namespace: .*/namespace: Mlag::Ostra/' optics.yaml
! cmake -B build >"$work/refused" 2>&1 || fail "a namespace of the plug-in is accepted"
grep -q "optics.yaml:[0-9]*: namespace: Mlag::Ostra has a schema already: " "$work/refused" ||
   { cat "$work/refused" >&2; exit 1; }
cp "$work/optics.yaml" optics.yaml

# What is wrong in a schema is said in one line.
sed -i 's/type: double/type: decimal/' optics.yaml
! cmake -B build >"$work/refused" 2>&1 || fail "a type that is not known is accepted"
grep -q "optics.yaml:9: Transceiver.temperature: decimal is not known as a type$" "$work/refused" || { cat "$work/refused" >&2; exit 1; }
