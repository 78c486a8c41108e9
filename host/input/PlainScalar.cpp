// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/Document>

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <limits>

namespace ostra {

namespace {

constexpr std::string_view digits = "0123456789";

bool
isOneOf( std::string_view text, std::initializer_list< std::string_view > words ) {
   return std::find( words.begin(), words.end(), text ) != words.end();
}

// Takes the digits at the start of the text away and tells how many there were.
std::size_t
takeDigits( std::string_view& text ) {
   std::size_t const count = std::min( text.find_first_not_of( digits ), text.size() );
   text.remove_prefix( count );
   return count;
}

bool
takeOneOf( std::string_view& text, std::string_view characters ) {
   bool const found = !text.empty() && characters.find( text.front() ) != text.npos;
   text.remove_prefix( found ? 1 : 0 );
   return found;
}

bool
isDecimal( std::string_view text ) {
   bool const leadingZero = text.size() > 1 && text[ 0 ] == '0' && text[ 1 ] != '.' &&
      text[ 1 ] != 'e' && text[ 1 ] != 'E';
   std::size_t count = takeDigits( text );
   if ( takeOneOf( text, "." ) ) {
      count += takeDigits( text );
   }
   if ( count == 0 || leadingZero ) {
      return false;
   }
   if ( takeOneOf( text, "eE" ) ) {
      takeOneOf( text, "+-" );
      return takeDigits( text ) > 0 && text.empty();
   }
   return text.empty();
}

// Takes the sign at the start of the text away.
double
takeSign( std::string_view& text ) {
   double const sign = text.starts_with( '-' ) ? -1 : 1;
   takeOneOf( text, "+-" );
   return sign;
}

bool
isInfinity( std::string_view text ) {
   return isOneOf( text, { ".inf", ".Inf", ".INF" } );
}

bool
isNumber( std::string_view text ) {
   if ( isOneOf( text, { ".nan", ".NaN", ".NAN" } ) ) {
      return true;
   }
   takeSign( text );
   return isDecimal( text ) || isInfinity( text );
}

} // namespace

NodeKind
plainKind( std::string_view text ) noexcept {
   // Only a text that begins with one of these can be null, a boolean or a number.
   constexpr std::string_view beginnings = "0123456789+-.~nNtTfF";
   if ( text.empty() ) {
      return NodeKind::null;
   }
   if ( beginnings.find( text.front() ) == beginnings.npos ) {
      return NodeKind::text;
   }
   if ( isOneOf( text, { "null", "~", "Null", "NULL" } ) ) {
      return NodeKind::null;
   }
   if ( isOneOf( text, { "true", "True", "TRUE", "false", "False", "FALSE" } ) ) {
      return NodeKind::boolean;
   }
   return isNumber( text ) ? NodeKind::number : NodeKind::text;
}

double
plainNumber( std::string_view text ) noexcept {
   double const sign = takeSign( text );
   if ( isInfinity( text ) ) {
      return sign * std::numeric_limits< double >::infinity();
   }
   double value = 0;
   auto const [ end, error ] =
      std::from_chars( text.data(), text.data() + text.size(), value );
   // Out of range: too great, or too small to tell from 0. Neither is a number here.
   return error == std::errc() ? sign * value : std::numeric_limits< double >::quiet_NaN();
}

} // namespace ostra
