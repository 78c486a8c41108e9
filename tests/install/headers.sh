#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Each header of the libraries can be included first, and alone: headers.sh ROOT COMPILER. They
# are the files without an extension beside the sources. Most of the host's have a source that
# includes them first.

set -euo pipefail
cd "$1"
flags=(-std=c++20 -Wall -Wextra -Wshadow -Wconversion -Wnon-virtual-dtor -Werror -fsyntax-only
   -I. -Itypes -Isrc-includes -IOstraMlag/installed)

find Ryx types src-includes OstraMlag -path types/generator -prune -o \
   -type f ! -name '*.*' -print | sort | xargs -P 2 -I{} sh -c 'header=$1; shift
      printf "#include \"%s\"\n" "$header" | "$@" -x c++ - || {
         echo "$header cannot be included alone" >&2
         exit 255
      }' include {} "$2" "${flags[@]}"
