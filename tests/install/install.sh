#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Installs a build into a temporary prefix, component by component, and looks at what is
# there, as those do who run it and who build against it:
# install.sh BUILD_DIRECTORY SOURCE_DIRECTORY VERSION COMPILER [FLAG...]

set -euo pipefail
build=$1
source=$2
version=$3
compiler=$4
flags=("${@:5}")
consumer=$source/tests/install/consumer
minor=${version%.*}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
. "$source/tests/install/installed.sh"

expect() {
   [ -e "$prefix/$1" ] || fail "not installed: $1"
}

files() {
   (cd "$1" && find . ! -type d -printf '%P\n' | sort)
}

# The component Runtime is enough to run. Development adds what it takes to build.
cmake --install "$build" --prefix "$prefix" --component Runtime >/dev/null
for path in bin/ostra lib/libMlagOstra.so share/mlagostra/examples \
   share/doc/MlagOstra/{LICENSE,{CHANGELOG,SECURITY,THIRD-PARTY,configuration,operation,scenario,serve}.md} \
   share/man/man1/ostra.1 share/man/man5/{ostra-scenario,ostra.yaml}.5 \
   share/bash-completion/completions/ostra share/zsh/site-functions/_ostra \
   share/fish/vendor_completions.d/ostra.fish; do
   expect "$path"
done
check_links "$prefix"
check_program "$prefix"
[ ! -e "$prefix/include" ] && [ ! -e "$prefix/lib/libRyx.so" ] ||
   fail "the component Runtime has what only Development needs"
cmake --install "$build" --prefix "$prefix" --component Development >/dev/null
for path in lib/lib{Ryx,RyxTypes}.so include/{Ryx/HashMap,Kovel/IntfId,Mlag/Config} \
   include/{Mlag/MlagErrdisableSm,OstraMlag/OstraMlag} \
   share/doc/MlagOstra/{debug.md,extend.md,host.md,types.md,example/host.cpp} \
   share/gdb/auto-load"$prefix"/lib/lib{Ryx,RyxTypes,MlagOstra}.so."$version"-gdb.py \
   share/mlagostra/gdb/{load.py,mlagostra_gdb/__init__.py} \
   share/mlagostra/types/{Mlag.yaml,machines/MlagErrdisableSm.yaml,generator/mlagostra-types}; do
   expect "$path"
done
check_links "$prefix"
cmake --install "$build" --prefix "$work/whole" >/dev/null
# What a debugger loads is found by where its library is.
diff <(files "$work/whole" | sed "s|$work/whole||") <(files "$prefix" | sed "s|$prefix||") ||
   fail "installed, and in none of the components"

# What is installed is taken away again, and nothing else.
touch "$work/whole/share/mlagostra/of-somebody-else"
cmake -D BUILD="$build" -D PREFIX="$work/whole" -P "$source/cmake/uninstall.cmake" >/dev/null
[ "$(files "$work/whole")" = share/mlagostra/of-somebody-else ] ||
   fail "left behind, or taken away from somebody else: $(files "$work/whole")"
[ "$(find "$work/whole" -mindepth 2 -type d -empty)" = "" ] ||
   fail "left behind empty: $(find "$work/whole" -mindepth 2 -type d -empty)"

# Nothing says where it was built, not even to a debugger.
if [[ ${flags[*]} != *-fsanitize* ]] && grep -rlaF -e "$build" -e "$source" "$prefix"; then
   fail "the path of the build is in these"
fi

# What the headers need is installed. That each can be included first is for headers.sh.
syntax=("$compiler" -std=c++20 "${flags[@]}" -fsyntax-only -O0 -I"$prefix/include")
(cd "$prefix/include" && find . -type f -printf '%P\n' | sort) >"$work/headers"
sed 's|.*|#include <&>|' "$work/headers" | "${syntax[@]}" -x c++ -

# Of the plug-in only what a user may include is installed, and what that includes.
printf '#include <%s>\n' OstraMlag/OstraMlag Mlag/MlagErrdisableSm | "${syntax[@]}" -M -x c++ - |
   tr ' ' '\n' | sed -n "s|^$prefix/include/||p" >"$work/included"
if grep -E '^(OstraMlag|Mlag)/' "$work/headers" | grep -vxFf "$work/included"; then
   fail "installed, though no public header includes it"
fi

# The libraries' names, the package and the plug-in promise the same.
for library in Ryx RyxTypes MlagOstra; do
   expect "lib/lib$library.so.$version"
   readelf -d "$prefix/lib/lib$library.so" | grep -q "SONAME.*\[lib$library\.so\.$minor\]" ||
      fail "the SONAME of lib$library.so does not end in $minor"
done
for other in "$((${minor%.*} + 1)).0" "${minor%.*}.$((${minor#*.} + 1))" "$version.1"; do
   ! find_the_package "$prefix" "$other" || fail "the package passes for version $other"
done

# The changelog knows the version.
grep -q "^## \[$version\]" "$prefix/share/doc/MlagOstra/CHANGELOG.md" ||
   fail "CHANGELOG.md has no heading for $version"

# The example of a host is built as its document says.
command=$(sed -n 's/^c++ -std/-std/p' "$prefix/share/doc/MlagOstra/host.md")
cp "$prefix/share/doc/MlagOstra/example/host.cpp" "$work"
(cd "$work" && export PKG_CONFIG_PATH=$prefix/lib/pkgconfig &&
   eval "'$compiler' ${flags[*]} ${command:?host.md has no command}") ||
   fail "the example of a host cannot be built as host.md says"

# A tree can be installed in one place and used in another.
mv "$prefix" "$work/elsewhere"
check_program "$work/elsewhere"
check_consumers "$work/elsewhere" lib "$minor"
