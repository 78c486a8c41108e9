// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/ValueToString>

#include <sstream>

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
   std::ostringstream text;
   text << value;
   return text.str();
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
