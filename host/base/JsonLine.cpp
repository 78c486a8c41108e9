// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/JsonLine>

#include <host/base/Utf8>

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace ostra {

std::string
lineOf( Json const& json ) {
   std::string text = json.dump( -1, ' ', false, Json::error_handler_t::replace );
   if ( isAscii( text ) && text.find( '\x7f' ) == text.npos ) {
      return text;
   }
   // What else there is stands in texts only, where an escape means the same.
   auto const isPlain = []( char c ) { return c >= 0x20 && c < 0x7f; };
   std::string line;
   for ( std::string_view rest = text; !rest.empty(); ) {
      auto const end = std::find_if_not( rest.begin(), rest.end(), isPlain );
      line.append( rest.begin(), end );
      rest.remove_prefix( static_cast< std::size_t >( end - rest.begin() ) );
      if ( rest.empty() ) {
         break;
      }
      Character const next = firstCharacter( rest );
      std::size_t const length = std::max< std::size_t >( next.length, 1 );
      if ( next.length != 0 && isControl( next.code ) ) {
         line += fmt::format( "\\u{:04x}", static_cast< unsigned >( next.code ) );
      } else {
         line += rest.substr( 0, length );
      }
      rest.remove_prefix( length );
   }
   return line;
}

} // namespace ostra
