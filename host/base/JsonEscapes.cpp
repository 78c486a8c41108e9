// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/JsonEscapes>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace ostra {

namespace {

// The code unit whose escape, "u" and four digits behind a backslash, stands at `position`;
// 0 when none does.
unsigned
escapedCodeUnit( std::string_view text, std::size_t position ) {
   constexpr std::size_t length = 6;
   text = text.substr( std::min( position, text.size() ), length );
   unsigned unit = 0;
   char const* const end = text.data() + text.size();
   bool const isEscape = text.size() == length && text.starts_with( "\\u" ) &&
      std::from_chars( text.data() + 2, end, unit, 16 ).ptr == end;
   return isEscape ? unit : 0;
}

// JSON escapes characters beyond 16 bits in two halves, which YAML takes for two
// characters: puts the one escape that YAML has for them.
std::string
joinedSurrogates( std::string_view text, std::vector< std::uint32_t >& joints ) {
   std::string joined;
   joined.reserve( text.size() );
   std::size_t done = 0;
   for ( ;; ) {
      std::size_t const slash = text.find( '\\', done );
      joined.append( text, done, slash - done );
      if ( slash == std::string_view::npos ) {
         return joined;
      }
      unsigned const high = escapedCodeUnit( text, slash );
      unsigned const low = escapedCodeUnit( text, slash + 6 );
      if ( high >> 10 == 0x36 && low >> 10 == 0x37 ) {
         joined += fmt::format(
            "\\U{:08x}", 0x10000 + ( ( high & 0x3ff ) << 10 ) + ( low & 0x3ff ) );
         joints.push_back( static_cast< std::uint32_t >( joined.size() ) );
         done = slash + 12;
      } else {
         // What follows a backslash is escaped by it.
         joined.append( text, slash, 2 );
         done = std::min( slash + 2, text.size() );
      }
   }
}

// Whether there is anything to join: the halves begin with D8 to DF.
bool
hasSurrogates( std::string_view text ) {
   return text.find( "\\ud" ) != text.npos || text.find( "\\uD" ) != text.npos;
}

} // namespace

std::string
yamlEscapes( std::string text, std::vector< std::uint32_t >& joints ) {
   std::size_t const first = text.find_first_not_of( " \t\r\n" );
   bool const isJson = first != std::string::npos && text[ first ] == '{';
   return isJson && hasSurrogates( text ) ? joinedSurrogates( text, joints )
                                          : std::move( text );
}

} // namespace ostra
