// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/SourceLine>

#include <algorithm>

namespace ostra {

namespace {

using Offset = SourceLine::Offset;

constexpr std::string_view betweenWords = " \t";
constexpr std::string_view breaks = "\r\n";

} // namespace

SourceLine
SourceLine::at( std::string_view text, Offset offset ) {
   std::size_t const before =
      offset == 0 ? text.npos : text.find_last_of( breaks, offset - 1 );
   std::size_t const begin = before == text.npos ? 0 : before + 1;
   std::size_t const end = std::min( text.find_first_of( breaks, offset ), text.size() );
   return { static_cast< Offset >( begin ), text.substr( begin, end - begin ) };
}

std::optional< SourceLine >
SourceLine::above( std::string_view whole ) const {
   for ( SourceLine line = *this; line.begin > 0; ) {
      line = at( whole, line.begin - 1 );
      if ( !line.isEmpty() ) {
         return line;
      }
   }
   return std::nullopt;
}

std::size_t
SourceLine::indent() const {
   return std::min( text.find_first_not_of( ' ' ), text.size() );
}

bool
SourceLine::isEmpty() const {
   std::size_t const first = text.find_first_not_of( betweenWords );
   return first == text.npos || text[ first ] == '#';
}

std::optional< Offset >
SourceLine::tightColon() const {
   std::size_t const first = text.find_first_not_of( " \t-" );
   std::size_t const colon = text.find_first_not_of(
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/_-",
      std::min( first, text.size() ) );
   bool const isTight = colon != text.npos && colon > first && text[ colon ] == ':' &&
      colon + 1 < text.size() &&
      betweenWords.find( text[ colon + 1 ] ) == betweenWords.npos;
   return isTight ? std::optional( begin + static_cast< Offset >( colon ) ) : std::nullopt;
}

Offset
SourceLine::keyBegin( Offset colon ) const {
   std::string_view key = text.substr( 0, colon - begin );
   key = key.substr( 0, key.find_last_not_of( betweenWords ) + 1 );
   if ( key.empty() ) {
      return colon;
   }
   bool const isQuoted = key.back() == '"' || key.back() == '\'';
   std::size_t const first = isQuoted && key.size() > 1
      ? key.rfind( key.back(), key.size() - 2 )
      : key.find_last_of( " \t,[]{}" ) + 1;
   return first == key.npos ? colon : begin + static_cast< Offset >( first );
}

} // namespace ostra
