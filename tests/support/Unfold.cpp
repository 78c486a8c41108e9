// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <support/Unfold>

#include <sstream>

namespace support {

namespace {

using Texts = std::vector< std::string >;

Texts
split( std::string const& text, char divider ) {
   Texts parts;
   std::istringstream in( text );
   for ( std::string part; std::getline( in, part, divider ); ) {
      parts.push_back( part );
   }
   return parts;
}

// "7" or "1-18".
Texts
numbersOf( std::string const& range ) {
   std::size_t const dash = range.find( '-' );
   unsigned long const first = std::stoul( range );
   unsigned long const last =
      dash == std::string::npos ? first : std::stoul( range.substr( dash + 1 ) );
   Texts numbers;
   for ( unsigned long number = first; number <= last; ++number ) {
      numbers.push_back( std::to_string( number ) );
   }
   return numbers;
}

// Every name that begins with one of `names` and ends with one number of the range.
Texts
pairs( Texts const& names, char const* divider, std::string const& range ) {
   Texts all;
   for ( std::string const& name : names ) {
      for ( std::string const& number : numbersOf( range ) ) {
         all.push_back( name + divider + number );
      }
   }
   return all;
}

} // namespace

std::vector< std::string >
unfolded( std::string const& ranges ) {
   Texts names;
   std::string prefix;
   for ( std::string piece : split( ranges, ',' ) ) {
      piece.erase( 0, piece.find_first_not_of( ' ' ) );
      std::size_t const digits = piece.find_first_of( "0123456789" );
      prefix = digits == 0 ? prefix : piece.substr( 0, digits );
      Texts some = { prefix };
      char const* divider = "";
      for ( std::string const& range : split( piece.substr( digits ), '/' ) ) {
         some = pairs( some, divider, range );
         divider = "/";
      }
      names.insert( names.end(), some.begin(), some.end() );
   }
   return names;
}

} // namespace support
