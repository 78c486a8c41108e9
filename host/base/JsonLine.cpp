// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/JsonLine>

#include <host/base/Utf8>

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace ostra {

namespace {

// Line ends stand between values only: in a text they are escaped already.
bool
standsAsItIs( char c ) {
   return ( c >= 0x20 && c < 0x7f ) || c == '\n';
}

// What is escaped stands in texts only, where an escape means the same.
std::string
escaped( std::string const& text ) {
   std::string result;
   for ( std::string_view rest = text; !rest.empty(); ) {
      auto const end = std::find_if_not( rest.begin(), rest.end(), standsAsItIs );
      result.append( rest.begin(), end );
      rest.remove_prefix( static_cast< std::size_t >( end - rest.begin() ) );
      if ( rest.empty() ) {
         break;
      }
      Character const next = firstCharacter( rest );
      std::size_t const length = std::max< std::size_t >( next.length, 1 );
      if ( next.length != 0 && needsEscape( next.code ) ) {
         result += fmt::format( "\\u{:04x}", static_cast< unsigned >( next.code ) );
      } else {
         result += rest.substr( 0, length );
      }
      rest.remove_prefix( length );
   }
   return result;
}

// Whether it stands in JSON as it is, between quotes.
bool
needsQuotesAlone( std::string const& text ) {
   return std::all_of( text.begin(), text.end(), []( char c ) {
      return c >= 0x20 && c < 0x7f && c != '"' && c != '\\';
   } );
}

std::string
dumped( Json const& json, int indent ) {
   std::string text = json.dump( indent, ' ', false, Json::error_handler_t::replace );
   bool const isPlain = isAscii( text ) && text.find( '\x7f' ) == text.npos;
   return isPlain ? text : escaped( text );
}

} // namespace

std::string
lineOf( Json const& json ) {
   // Names, most of all.
   auto const* const text = json.get_ptr< std::string const* >();
   return text && needsQuotesAlone( *text ) ? '"' + *text + '"' : dumped( json, -1 );
}

std::string
linesOf( Json const& json ) {
   return dumped( json, 2 ) + '\n';
}

} // namespace ostra
