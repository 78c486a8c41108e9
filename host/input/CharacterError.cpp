// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/CharacterError>

#include <host/base/Utf8>

#include <fmt/format.h>

namespace ostra {

namespace {

using Offset = DocumentTree::Offset;

} // namespace

void
failAtCharacter( DocumentTree const& tree, std::size_t offset ) {
   std::string_view const text = tree.text();
   if ( text.starts_with( "\xff\xfe" ) || text.starts_with( "\xfe\xff" ) ) {
      tree.fail( 0, "UTF-16: expected UTF-8" );
   }
   // The parser may be where it misses an octet, behind what is wrong.
   for ( std::size_t at = 0; at < text.size(); ) {
      Character const character = firstCharacter( text.substr( at ) );
      if ( character.length == 0 ) {
         tree.fail(
            static_cast< Offset >( at ),
            fmt::format(
               "byte \\x{:02x}: expected UTF-8",
               static_cast< unsigned char >( text[ at ] ) ) );
      }
      if ( at >= offset ) {
         tree.fail(
            static_cast< Offset >( at ),
            fmt::format(
               "character U+{:04X}: expected it as an escape, in double quotes",
               static_cast< std::uint32_t >( character.code ) ) );
      }
      at += character.length;
   }
   tree.fail( static_cast< Offset >( text.size() ), "the end of the file: expected UTF-8" );
}

void
refuseForeignBreaks( DocumentTree const& tree ) {
   if ( isAscii( tree.text() ) ) {
      return;
   }
   for ( std::string_view const character :
         { "\xc2\x85", "\xe2\x80\xa8", "\xe2\x80\xa9" } ) {
      if ( auto const at = tree.text().find( character ); at != std::string_view::npos ) {
         failAtCharacter( tree, at );
      }
   }
}

} // namespace ostra
