// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Failure>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

constexpr std::size_t longestQuote = 60;

bool
isContinuationByte( char c ) {
   return ( static_cast< unsigned char >( c ) & 0xc0 ) == 0x80;
}

} // namespace

std::string
oneLine( std::string_view text ) {
   std::string line;
   for ( char c : text ) {
      auto const byte = static_cast< unsigned char >( c );
      if ( byte < 0x20 || byte == 0x7f ) {
         line += fmt::format( "\\x{:02x}", byte );
      } else {
         line += c;
      }
   }
   return line;
}

std::string
inQuotes( std::string_view text ) {
   if ( text.size() <= longestQuote ) {
      return fmt::format( "\"{}\"", text );
   }
   std::size_t end = longestQuote;
   while ( end > 0 && isContinuationByte( text[ end ] ) ) {
      --end;
   }
   return fmt::format( "\"{}...\"", text.substr( 0, end ) );
}

} // namespace ostra
