# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Writes a source that holds a file's bytes as the function ostra::NAME, which HEADER declares:
# cmake -D INPUT=file -D OUTPUT=source.cpp -D HEADER=host/cli/Some -D NAME=some -P embed.cmake

file( READ ${INPUT} bytes HEX )
string( REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}" )
string( REPEAT "." 60 line )
string( REGEX REPLACE "(${line})" "\\1\n   " bytes "${bytes}" )
file( WRITE ${OUTPUT}
"#include <${HEADER}>

namespace ostra {

std::string_view
${NAME}() {
   static constexpr unsigned char bytes[] = {
   ${bytes}
   };
   return { reinterpret_cast< char const* >( bytes ), sizeof bytes };
}

} // namespace ostra
" )
