# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# What install.sh and layouts.sh ask of an installed tree. Sourced with `compiler` and the
# array `flags` set to how the libraries were built, `consumer` to the small project that
# uses them, and `work` to a directory for it.

# Where the libraries are is the installation's to say.
unset DESTDIR LD_LIBRARY_PATH PKG_CONFIG_PATH

fail() {
   printf '%s\n' "$*" >&2
   exit 1
}

# Runs a command that must print the line given and nothing else.
prints() {
   local line=$1
   shift
   [ "$("$@")" = "$line" ] || fail "expected \"$line\" from: $*"
}

# PREFIX: the installed host finds its libraries, and the plug-in that was installed with
# it, also when it is called through a link.
check_program() {
   ln -sfn "$1/bin/ostra" "$work/ostra"
   "$work/ostra" run --format ndjson >"$work/run.ndjson"
   tail -n 1 "$work/run.ndjson" | grep -q '"type":"end"' || fail "the run has no end"
   "$1/bin/ostra" types OstraMlag::Agent >"$work/types.txt"
}

# PREFIX: what the installed documents link to is installed with them.
check_links() {
   local document target file
   for document in "$1"/share/doc/MlagOstra/*.md; do
      while read -r target; do
         file=${target%%#*}
         [ -e "${document%/*}/${file:-${document##*/}}" ] ||
            fail "${document##*/} links to $target, which is not installed"
      done < <(grep -oE '\]\([^)]+\)' "$document" | sed -E 's/^..|.$//g' | grep -v '^https\?:')
   done
}

# PREFIX VERSION: configures a project that wants that version of the package.
find_the_package() {
   cmake --fresh -S "$consumer" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$1" \
      -DMLAGOSTRA_VERSION="$2" -DCMAKE_CXX_COMPILER="$compiler" \
      -DCMAKE_CXX_FLAGS="${flags[*]}" >"$work/cmake.log" 2>&1
}

# PREFIX LIBDIR VERSION: a small consumer is built and runs, once through the CMake package
# and once through pkg-config.
check_consumers() {
   local prefix=$1 libdir=$1/$2
   find_the_package "$prefix" "$3" || { cat "$work/cmake.log" >&2; exit 1; }
   cmake --build "$work/cmake" >/dev/null
   prints "consumer none true" "$work/cmake/consumer"
   "$compiler" -std=c++20 "${flags[@]}" "$consumer/consumer.cpp" -o "$work/consumer" \
      $(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --cflags --libs MlagOstra)
   prints "consumer none true" env LD_LIBRARY_PATH="$libdir" "$work/consumer"
}
