// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Kovel/Text>

#include <Ryx/Exception>
#include <Ryx/String8>

namespace Kovel {

namespace {

void
appendPrintable( Ryx::String8& out, char c ) {
   constexpr std::string_view hexDigits = "0123456789abcdef";
   auto const code = static_cast< unsigned char >( c );
   if ( code >= 0x20 && code != 0x7f ) {
      out += c;
      return;
   }
   out += "\\x";
   out += hexDigits[ code >> 4 ];
   out += hexDigits[ code & 0xf ];
}

} // namespace

std::optional< std::uint32_t >
wholeNumber( std::string_view digits, int base ) noexcept {
   std::uint32_t number = 0;
   char const* const end = digits.data() + digits.size();
   auto const result = std::from_chars( digits.data(), end, number, base );
   if ( result.ec != std::errc{} || result.ptr != end ) {
      return std::nullopt;
   }
   return number;
}

void
throwBadText( std::string_view text, std::string_view what, std::string_view expected ) {
   Ryx::String8 message = "\"";
   for ( char c : text ) {
      appendPrintable( message, c );
   }
   message.append( "\" is not " ).append( what ).append( ": expected " );
   for ( char c : expected ) {
      appendPrintable( message, c );
   }
   Ryx::throwRangeException( message );
}

} // namespace Kovel
