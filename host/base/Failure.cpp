// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Failure>

#include <host/base/Utf8>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

// Longer than the name of any interface.
constexpr std::size_t longestQuote = 60;

bool
isPlain( char c ) {
   return c >= 0x20 && c < 0x7f;
}

} // namespace

std::string
oneLine( std::string_view text ) {
   std::string line;
   while ( !text.empty() ) {
      // Nearly all of it is plain.
      auto const plain = std::find_if_not( text.begin(), text.end(), isPlain );
      line.append( text.begin(), plain );
      text.remove_prefix( static_cast< std::size_t >( plain - text.begin() ) );
      if ( text.empty() ) {
         break;
      }
      Character const character = firstCharacter( text );
      std::size_t const length = std::max< std::size_t >( character.length, 1 );
      if ( character.length != 0 && !needsEscape( character.code ) ) {
         line += text.substr( 0, length );
      } else {
         for ( char const c : text.substr( 0, length ) ) {
            line += fmt::format( "\\x{:02x}", static_cast< unsigned char >( c ) );
         }
      }
      text.remove_prefix( length );
   }
   return line;
}

Complaint
complaintOf( std::string_view where, std::string_view why ) {
   constexpr std::string_view separator = ": expected ";
   std::size_t const end = why.rfind( separator );
   return { oneLine( where ),
            oneLine( why.substr( 0, end ) ),
            end == why.npos ? "" : oneLine( why.substr( end + separator.size() ) ) };
}

std::string
shortened( std::string_view text ) {
   if ( text.size() <= longestQuote ) {
      return std::string( text );
   }
   std::size_t end = longestQuote;
   while ( end > 0 && isContinuationByte( text[ end ] ) ) {
      --end;
   }
   return fmt::format( "{}...", text.substr( 0, end ) );
}

std::string
inQuotes( std::string_view text ) {
   return fmt::format( "\"{}\"", shortened( text ) );
}

namespace {

// What the framework says of a text of which only a beginning is a value.
std::string
expectedBefore( std::string const& message, std::string_view text ) {
   constexpr std::string_view junk = "junk at column ";
   if ( !message.starts_with( junk ) ) {
      return message;
   }
   std::size_t const column = std::stoul( message.substr( junk.size() ) );
   return column == 0
      ? fmt::format( "\"{}\": expected a letter or a digit first", text )
      : fmt::format(
           "\"{}\": expected nothing after \"{}\"", text, text.substr( 0, column ) );
}

} // namespace

std::string
shortenedIn( std::string message, std::string_view text ) {
   message = expectedBefore( message, text );
   if ( text.size() <= longestQuote ) {
      return message;
   }
   std::string const less = shortened( text );
   for ( std::size_t at = message.find( text ); at != message.npos;
         at = message.find( text, at + less.size() ) ) {
      message.replace( at, text.size(), less );
   }
   return message;
}

} // namespace ostra
