// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/JsonEscapes>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

namespace ostra {

namespace {

// The code unit whose escape, "u" and four digits behind a backslash, stands at `position`;
// 0 when none does.
unsigned
escapedCodeUnit( std::string_view text, std::size_t position ) {
   constexpr std::size_t length = 6;
   text = text.substr( std::min( position, text.size() ), length );
   unsigned unit = 0;
   char const* const end = text.data() + text.size();
   bool const isEscape = text.size() == length && text.starts_with( "\\u" ) &&
      std::from_chars( text.data() + 2, end, unit, 16 ).ptr == end;
   return isEscape ? unit : 0;
}

// Where the next text in double quotes begins, with its quote; npos if there is none. A text
// that is not JSON may have comments, single quotes, and quotes within a word.
std::size_t
nextQuote( std::string_view text, std::size_t from ) {
   constexpr std::string_view blanks = " \t\r\n";
   constexpr std::string_view brackets = ",:[]{}";
   char before = from == 0 ? ' ' : text[ from - 1 ];
   for ( std::size_t at = from; at < text.size(); ++at ) {
      char const c = text[ at ];
      bool const isBehindBlank = blanks.find( before ) != blanks.npos;
      bool const isFirst = isBehindBlank || brackets.find( before ) != brackets.npos;
      if ( c == '"' && isFirst ) {
         return at;
      }
      // Two single quotes stand for one that does not end the text.
      bool const isQuote = c == '\'' && ( isFirst || before == '\'' );
      if ( isQuote || ( c == '#' && isBehindBlank ) ) {
         at = isQuote ? text.find( '\'', at + 1 ) : text.find_first_of( "\r\n", at );
         if ( at == text.npos ) {
            return at;
         }
      }
      before = text[ at ];
   }
   return text.npos;
}

// JSON escapes characters beyond 16 bits in two halves, which YAML takes for two
// characters: puts the one escape that YAML has for them.
class Joining {
 public:
   Joining( std::string_view text, std::vector< std::uint32_t >& joints )
         : text_( text ), joints_( joints ) {
      joined_.reserve( text.size() );
   }

   std::string joined() {
      while ( done_ < text_.size() ) {
         std::size_t const quote = nextQuote( text_, done_ );
         take( quote == text_.npos ? quote : quote + 1 - done_ );
         takeQuoted();
      }
      return std::move( joined_ );
   }

 private:
   void take( std::size_t length ) {
      std::string_view const taken = text_.substr( done_, length );
      joined_ += taken;
      done_ += taken.size();
   }

   // To behind the quote at its end.
   void takeQuoted() {
      bool isOver = false;
      while ( !isOver && done_ < text_.size() ) {
         std::size_t const next = text_.find_first_of( "\\\"", done_ );
         isOver = next == text_.npos || text_[ next ] == '"';
         take( next == text_.npos ? next : next - done_ );
         if ( isOver ) {
            take( 1 );
         } else {
            takeEscape();
         }
      }
   }

   void takeEscape() {
      constexpr std::size_t half = 6;
      unsigned const high = escapedCodeUnit( text_, done_ );
      unsigned const low = escapedCodeUnit( text_, done_ + half );
      if ( high >> 10 == 0x36 && low >> 10 == 0x37 ) {
         joined_ += fmt::format(
            "\\U{:08x}", 0x10000 + ( ( high & 0x3ff ) << 10 ) + ( low & 0x3ff ) );
         joints_.push_back( static_cast< std::uint32_t >( joined_.size() ) );
         done_ += 2 * half;
      } else {
         // What follows a backslash is escaped by it.
         take( 2 );
      }
   }

   std::string_view const text_;
   std::vector< std::uint32_t >& joints_;
   std::string joined_;
   std::size_t done_ = 0;
};

// Whether there is anything to join: the halves begin with D8 to DF.
bool
hasSurrogates( std::string_view text ) {
   return text.find( "\\ud" ) != text.npos || text.find( "\\uD" ) != text.npos;
}

} // namespace

std::string
yamlEscapes( std::string text, std::vector< std::uint32_t >& joints ) {
   std::size_t const first = text.find_first_not_of( " \t\r\n" );
   bool const isJson = first != std::string::npos && text[ first ] == '{';
   return isJson && hasSurrogates( text ) ? Joining( text, joints ).joined()
                                          : std::move( text );
}

} // namespace ostra
