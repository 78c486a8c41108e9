// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Strep>

#include <Ryx/Exception>

#include <cmath>

namespace Ryx {

namespace {

bool
isDigit( char c ) {
   return c >= '0' && c <= '9';
}

bool
isWordCharacter( char c ) {
   return ( c >= 'a' && c <= 'z' ) || ( c >= 'A' && c <= 'Z' ) || isDigit( c ) || c == '_';
}

// The name or the number that the text begins with: a number ends where its digits do.
std::string_view
firstWord( std::string_view text ) {
   bool const isNumber = !text.empty() && isDigit( text.front() );
   auto const end =
      std::find_if_not( text.begin(), text.end(), isNumber ? isDigit : isWordCharacter );
   return text.substr( 0, static_cast< std::size_t >( end - text.begin() ) );
}

} // namespace

void
cannotConvert( std::string_view text, std::string_view type, std::string_view expected ) {
   throwRangeException(
      "cannot convert \"" + String8( text ) + "\" to " + String8( type ) + ": expected " +
      String8( expected ) );
}

void
throwJunk( std::size_t column, std::string_view text ) {
   throwRangeException(
      "junk at column " + std::to_string( column ) + " deserializing " + String8( text ) );
}

bool
ValueTraits< bool >::parse( std::string_view text, std::size_t& column ) {
   std::string_view const word = firstWord( text );
   column = word.size();
   if ( word == "true" || word == "1" ) {
      return true;
   }
   if ( word == "false" || word == "0" ) {
      return false;
   }
   cannotConvert( text, name, "true or false" );
}

String8
ValueTraits< double >::print( double value ) {
   char buffer[ 32 ];
   auto const end = std::to_chars( buffer, buffer + sizeof buffer, value ).ptr;
   return String8( buffer, end );
}

double
ValueTraits< double >::parse( std::string_view text, std::size_t& column ) {
   double value = 0;
   auto const [ end, error ] =
      std::from_chars( text.data(), text.data() + text.size(), value );
   if ( error != std::errc() || std::isnan( value ) ) {
      cannotConvert( text, name, "a number or inf" );
   }
   column = static_cast< std::size_t >( end - text.data() );
   return value;
}

String8
ValueTraits< void* >::print( void* value ) {
   char buffer[ 2 + 2 * sizeof value ] = { '0', 'x' };
   auto const end = std::to_chars(
      buffer + 2, buffer + sizeof buffer, reinterpret_cast< std::uintptr_t >( value ), 16 );
   return String8( buffer, end.ptr );
}

void*
ValueTraits< void* >::parse( std::string_view text, std::size_t& ) {
   cannotConvert( text, name, "nothing: an address cannot be read from a text" );
}

unsigned
parseEnumerator(
   std::string_view text,
   std::size_t& column,
   std::string_view type,
   std::string_view const* names,
   std::size_t count ) {
   std::string_view const word = firstWord( text );
   column = word.size();
   String8 expected = "a number from 0 to " + std::to_string( count - 1 ) + " or one of";
   for ( std::size_t i = 0; i < count; ++i ) {
      if ( word == names[ i ] || word == std::to_string( i ) ) {
         return static_cast< unsigned >( i );
      }
      expected += ( i == 0 ? " " : ", " ) + String8( names[ i ] );
   }
   cannotConvert( text, type, expected );
}

} // namespace Ryx
