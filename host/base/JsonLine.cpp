// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/JsonLine>

#include <host/base/Utf8>

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace ostra {

namespace {

// Line ends stand between values only: in a text they are escaped already.
bool
standsAsItIs( char c ) {
   return ( c >= 0x20 && c < 0x7f ) || c == '\n';
}

// What is escaped stands in texts only, where an escape means the same.
std::string
escaped( std::string const& text ) {
   std::string result;
   for ( std::string_view rest = text; !rest.empty(); ) {
      auto const end = std::find_if_not( rest.begin(), rest.end(), standsAsItIs );
      result.append( rest.begin(), end );
      rest.remove_prefix( static_cast< std::size_t >( end - rest.begin() ) );
      if ( rest.empty() ) {
         break;
      }
      Character const next = firstCharacter( rest );
      std::size_t const length = std::max< std::size_t >( next.length, 1 );
      if ( next.length != 0 && needsEscape( next.code ) ) {
         result += fmt::format( "\\u{:04x}", static_cast< unsigned >( next.code ) );
      } else {
         result += rest.substr( 0, length );
      }
      rest.remove_prefix( length );
   }
   return result;
}

// Whether it stands in JSON as it is, between quotes.
bool
needsQuotesAlone( std::string_view text ) {
   return std::all_of( text.begin(), text.end(), []( char c ) {
      return c >= 0x20 && c < 0x7f && c != '"' && c != '\\';
   } );
}

std::string
dumped( Json const& json, int indent ) {
   std::string text = json.dump( indent, ' ', false, Json::error_handler_t::replace );
   bool const isPlain = isAscii( text ) && text.find( '\x7f' ) == text.npos;
   return isPlain ? text : escaped( text );
}

void
append( std::string& line, std::string_view text ) {
   // Names, most of all.
   if ( needsQuotesAlone( text ) ) {
      line.append( 1, '"' ).append( text ).append( 1, '"' );
   } else {
      line += dumped( Json( text ), -1 );
   }
}

void
append( std::string& line, std::vector< std::string > const& texts ) {
   char before = '[';
   for ( std::string const& text : texts ) {
      line += before;
      append( line, text );
      before = ',';
   }
   line += texts.empty() ? "[]" : "]";
}

} // namespace

std::string
lineOf( Json const& json ) {
   auto const* const text = json.get_ptr< std::string const* >();
   return text ? lineOfText( *text ) : dumped( json, -1 );
}

std::string
lineOfText( std::string_view text ) {
   std::string line;
   append( line, text );
   return line;
}

std::string
lineOfTexts( std::vector< std::string > const& texts ) {
   std::string line;
   append( line, texts );
   return line;
}

void
ObjectLine::begin( std::string_view key ) {
   if ( text_.size() > 1 ) {
      text_ += ',';
   }
   append( text_, key );
   text_ += ':';
}

void
ObjectLine::add( std::string_view key, std::string_view text ) {
   begin( key );
   append( text_, text );
}

void
ObjectLine::add( std::string_view key, std::vector< std::string > const& texts ) {
   begin( key );
   append( text_, texts );
}

void
ObjectLine::add( std::string_view key, std::int64_t number ) {
   begin( key );
   text_ += fmt::format_int( number ).c_str();
}

void
ObjectLine::add( std::string_view key, Json const& value ) {
   begin( key );
   if ( value.is_null() ) {
      text_ += "null";
   } else {
      text_ += lineOf( value );
   }
}

void
ObjectLine::addLine( std::string_view key, std::string_view line ) {
   begin( key );
   text_ += line;
}

void
ObjectLine::add( ObjectLine const& other ) {
   std::string_view const members = std::string_view( other.text_ ).substr( 1 );
   if ( text_.size() > 1 && !members.empty() ) {
      text_ += ',';
   }
   text_ += members;
}

void
ObjectLine::add( Json const& object ) {
   for ( auto const& [ key, value ] : object.items() ) {
      add( key, value );
   }
}

std::string
ObjectLine::take() {
   text_ += '}';
   return std::exchange( text_, "{" );
}

std::string
linesOf( Json const& json ) {
   return dumped( json, 2 ) + '\n';
}

} // namespace ostra
