// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/ValueToString>

#include <charconv>

namespace Ryx {

template<>
String8
valueToString( char const* const& value ) {
   return value ? value : "(null)";
}

template<>
String8
valueToString( String8 const& value ) {
   return value;
}

template<>
String8
valueToString( double const& value ) {
   // What has six digits at most and no fraction needs no search for the digits of a double.
   if ( value >= 1 && value < 1e6 ) {
      int const whole = static_cast< int >( value );
      if ( value == whole ) {
         return std::to_string( whole );
      }
   }
   // Six digits and an exponent of three are the longest.
   char text[ 16 ];
   auto const written =
      std::to_chars( text, text + sizeof text, value, std::chars_format::general, 6 );
   return String8( text, written.ptr );
}

template<>
String8
valueToString( int const& value ) {
   return std::to_string( value );
}

template<>
String8
valueToString( unsigned const& value ) {
   return std::to_string( value );
}

template<>
String8
valueToString( bool const& value ) {
   return value ? "true" : "false";
}

} // namespace Ryx
