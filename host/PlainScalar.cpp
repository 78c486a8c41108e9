// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Document>

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

double
decimal( std::string_view text ) {
   double value = 0;
   auto const [ end, error ] =
      std::from_chars( text.data(), text.data() + text.size(), value );
   // Out of range: too great, or too small to tell from 0. Neither is a number here.
   return error == std::errc() ? value : std::numeric_limits< double >::quiet_NaN();
}

} // namespace

void
resolvePlainScalar( DocumentNode& node ) {
   std::string_view text = node.text;
   if ( isOneOf( text, { "true", "True", "TRUE", "false", "False", "FALSE" } ) ) {
      node.kind = DocumentNode::Kind::boolean;
      return;
   }
   if ( isOneOf( text, { ".nan", ".NaN", ".NAN" } ) ) {
      node.kind = DocumentNode::Kind::number;
      node.number = std::numeric_limits< double >::quiet_NaN();
      return;
   }
   double const sign = text.starts_with( '-' ) ? -1 : 1;
   takeOneOf( text, "+-" );
   if ( isOneOf( text, { ".inf", ".Inf", ".INF" } ) ) {
      node.kind = DocumentNode::Kind::number;
      node.number = sign * std::numeric_limits< double >::infinity();
   } else if ( isDecimal( text ) ) {
      node.kind = DocumentNode::Kind::number;
      node.number = sign * decimal( text );
   }
}

DocumentNode
scalarNode( std::string text ) {
   DocumentNode node;
   node.kind = DocumentNode::Kind::text;
   node.text = std::move( text );
   resolvePlainScalar( node );
   return node;
}

} // namespace ostra
