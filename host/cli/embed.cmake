# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Writes a source that holds a file's bytes as ostra::builtinScenario:
# cmake -D INPUT=file -D OUTPUT=source.cpp -P embed.cmake

file( READ ${INPUT} bytes HEX )
string( REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}" )
string( REPEAT "." 60 line )
string( REGEX REPLACE "(${line})" "\\1\n   " bytes "${bytes}" )
file( WRITE ${OUTPUT}
"#include <host/cli/BuiltinScenario>

namespace ostra {

namespace {

constexpr unsigned char bytes[] = {
   ${bytes}
};

} // namespace

std::string_view
builtinScenario() {
   return { reinterpret_cast< char const* >( bytes ), sizeof bytes };
}

} // namespace ostra
" )
