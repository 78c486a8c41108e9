// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Kovel/EthAddr>

#include <Kovel/Text>

#include <optional>
#include <ostream>

namespace Kovel {

namespace {

using EthAddrText = FixedText< std::string_view( "00:00:00:00:00:00" ).size() >;

// Groups of `digits` hexadecimal digits each, divided by `divider`, 12 digits in all.
std::optional< std::uint64_t >
readGroups( std::string_view text, std::size_t digits, char divider ) {
   std::uint64_t bits = 0;
   std::size_t read = 0;
   bool const good = allParts( text, divider, [ & ]( std::string_view part ) {
      auto const group = wholeNumber( part, 16 );
      if ( part.size() != digits || !group ) {
         return false;
      }
      bits = bits << 4 * digits | *group;
      read += digits;
      return true;
   } );
   return good && read == 12 ? std::optional( bits ) : std::nullopt;
}

std::optional< std::uint64_t >
readAddress( std::string_view text ) {
   if ( text.find( '.' ) != std::string_view::npos ) {
      return readGroups( text, 4, '.' );
   }
   bool const dashed = text.find( '-' ) != std::string_view::npos;
   return readGroups( text, 2, dashed ? '-' : ':' );
}

EthAddrText
addressText( std::uint64_t bits ) noexcept {
   EthAddrText text;
   for ( unsigned shift = 48; shift != 0; shift -= 8 ) {
      if ( shift != 48 ) {
         text.append( ':' );
      }
      text.appendNumber( bits >> ( shift - 4 ) & 0xf, 16 );
      text.appendNumber( bits >> ( shift - 8 ) & 0xf, 16 );
   }
   return text;
}

} // namespace

EthAddr::EthAddr( std::string_view text ) {
   auto const bits = readAddress( text );
   if ( !bits ) {
      throwBadText(
         text,
         "an Ethernet address",
         "six pairs of hexadecimal digits divided by \":\" or \"-\", such as "
         "02:00:00:00:10:01, or three groups of four divided by \".\"" );
   }
   bits_ = *bits;
}

Ryx::String8
EthAddr::string() const {
   return Ryx::String8( addressText( bits_ ).view() );
}

std::ostream&
operator<<( std::ostream& out, EthAddr const& address ) {
   return out << addressText( address.bits_ ).view();
}

} // namespace Kovel
