// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Utf8>

#include <array>
#include <cstdint>
#include <cstring>

namespace ostra {

namespace {

// The least character that takes that many octets, and how the first of them is marked.
struct Form {
   char32_t least;
   unsigned mask;
   unsigned mark;
};
constexpr std::array< Form, 4 > forms = { {
   { 0, 0x80, 0 },
   { 0x80, 0xe0, 0xc0 },
   { 0x800, 0xf0, 0xe0 },
   { 0x10000, 0xf8, 0xf0 },
} };

bool
isCharacter( char32_t code ) {
   return code <= 0x10ffff && ( code < 0xd800 || code > 0xdfff );
}

} // namespace

bool
isAscii( std::string_view text ) noexcept {
   std::uint64_t all = 0;
   while ( text.size() >= sizeof all ) {
      std::uint64_t octets = 0;
      std::memcpy( &octets, text.data(), sizeof octets );
      all |= octets;
      text.remove_prefix( sizeof all );
   }
   for ( char const c : text ) {
      all |= static_cast< unsigned char >( c );
   }
   return ( all & 0x8080808080808080 ) == 0;
}

Character
firstCharacter( std::string_view text ) noexcept {
   constexpr Character none{ 0, 0 };
   unsigned const first = text.empty() ? 0xff : static_cast< unsigned char >( text[ 0 ] );
   for ( std::size_t i = 0; i < forms.size(); ++i ) {
      if ( ( first & forms[ i ].mask ) != forms[ i ].mark ) {
         continue;
      }
      if ( text.size() <= i ) {
         return none;
      }
      char32_t code = first & ~forms[ i ].mask;
      for ( std::size_t k = 1; k <= i; ++k ) {
         if ( !isContinuationByte( text[ k ] ) ) {
            return none;
         }
         code = code << 6 | ( static_cast< unsigned char >( text[ k ] ) & 0x3f );
      }
      return code >= forms[ i ].least && isCharacter( code ) ? Character{ i + 1, code }
                                                             : none;
   }
   return none;
}

void
dropByteOrderMark( std::string& text ) noexcept {
   if ( text.starts_with( byteOrderMark ) ) {
      text.erase( 0, byteOrderMark.size() );
   }
}

bool
needsEscape( char32_t code ) noexcept {
   bool const isOfLines = code == 0x2028 || code == 0x2029;
   bool const isOfDirection =
      ( code >= 0x202a && code <= 0x202e ) || ( code >= 0x2066 && code <= 0x2069 );
   bool const isNone = code == 0xfeff || code == 0xfffe || code == 0xffff;
   return code < 0x20 || ( code >= 0x7f && code < 0xa0 ) || isOfLines || isOfDirection ||
      isNone;
}

} // namespace ostra
