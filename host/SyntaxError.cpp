// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/SyntaxError>

#include <host/Failure>
#include <host/Utf8>

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace ostra {

namespace {

using Offset = DocumentTree::Offset;

constexpr std::string_view blanks = " \t";
constexpr std::string_view breaks = "\r\n";

struct Line {
   Offset begin;
   std::string_view text;

   std::size_t indent() const {
      return std::min( text.find_first_not_of( ' ' ), text.size() );
   }
   bool isEmpty() const {
      std::size_t const first = text.find_first_not_of( blanks );
      return first == text.npos || text[ first ] == '#';
   }
};

Line
lineAt( std::string_view text, Offset offset ) {
   std::size_t const before =
      offset == 0 ? text.npos : text.find_last_of( breaks, offset - 1 );
   std::size_t const begin = before == text.npos ? 0 : before + 1;
   std::size_t const end = std::min( text.find_first_of( breaks, offset ), text.size() );
   return { static_cast< Offset >( begin ), text.substr( begin, end - begin ) };
}

// The nearest line above that has something in it.
std::optional< Line >
lineAbove( std::string_view text, Line const& below ) {
   for ( Line line = below; line.begin > 0; ) {
      line = lineAt( text, line.begin - 1 );
      if ( !line.isEmpty() ) {
         return line;
      }
   }
   return std::nullopt;
}

// The colon of a key that has no space behind it: "enabled:true" at the start of a line or
// behind a dash.
std::optional< Offset >
tightColon( Line const& line ) {
   std::size_t const begin = line.text.find_first_not_of( " \t-" );
   std::size_t const colon = line.text.find_first_not_of(
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/_-",
      std::min( begin, line.text.size() ) );
   bool const isTight = colon != line.text.npos && colon > begin &&
      line.text[ colon ] == ':' && colon + 1 < line.text.size() &&
      blanks.find( line.text[ colon + 1 ] ) == blanks.npos;
   return isTight ? std::optional( line.begin + static_cast< Offset >( colon ) )
                  : std::nullopt;
}

class Explanation {
 public:
   Explanation( SyntaxError const& error, DocumentTree const& tree )
         : error_( error ),
           tree_( tree ),
           text_( tree.text() ),
           line_( lineAt( text_, error.problemOffset ) ) {}

   [[noreturn]] void fail() const {
      struct Case {
         std::string_view problem;
         void ( Explanation::*explain )() const;
      };
      static constexpr std::array< Case, 16 > cases = { {
         { "found unexpected end of stream", &Explanation::endOfQuote },
         { "found character that cannot start any token", &Explanation::strangeStart },
         { "found a tab character that violates indentation", &Explanation::tab },
         { "found a tab character where an indentation space is expected",
           &Explanation::tab },
         { "mapping values are not allowed in this context", &Explanation::secondColon },
         { "could not find expected ':'", &Explanation::noColon },
         { "did not find expected key", &Explanation::noKey },
         { "did not find expected '-' indicator", &Explanation::noKey },
         { "did not find expected ',' or '}'", &Explanation::openBracket },
         { "did not find expected ',' or ']'", &Explanation::openBracket },
         { "did not find expected node content", &Explanation::noValue },
         { "block sequence entries are not allowed in this context",
           &Explanation::misplacedDash },
         { "found unexpected ':'", &Explanation::tightColonHere },
         { "found unknown escape character", &Explanation::unknownEscape },
         { "did not find expected hexdecimal number", &Explanation::cutEscape },
         { "did not find expected alphabetic or numeric character",
           &Explanation::strangeName },
      } };
      auto const known =
         std::find_if( cases.begin(), cases.end(), [ this ]( Case const& entry ) {
            return entry.problem == error_.problem;
         } );
      if ( known != cases.end() ) {
         ( this->*known->explain )();
      }
      say(
         error_.problemOffset,
         "{}{}{}",
         error_.problem,
         error_.context.empty() ? "" : " ",
         error_.context );
   }

 private:
   template< class... Parts >
   [[noreturn]] void
   say( Offset offset, fmt::format_string< Parts... > format, Parts&&... parts ) const {
      tree_.fail(
         offset, "not YAML: " + fmt::format( format, std::forward< Parts >( parts )... ) );
   }

   std::size_t lineNumber( Offset offset ) const { return tree_.place( offset ).line; }

   bool isFirstInLine() const {
      return error_.problemOffset == line_.begin + line_.indent();
   }

   bool isAtEnd() const {
      std::string_view const rest = text_.substr( error_.problemOffset );
      return rest.find_first_not_of( " \t\r\n" ) == rest.npos;
   }

   // What stands at the problem, as a message calls it.
   std::string found() const {
      if ( isAtEnd() ) {
         return "the end of the file";
      }
      std::string_view const rest = text_.substr( error_.problemOffset );
      std::size_t const end =
         std::min( rest.find_first_of( " \t\r\n,:[]{}" ), rest.size() );
      return inQuotes( rest.substr( 0, std::max< std::size_t >( end, 1 ) ) );
   }

   // The quote that was not closed where it was meant to be ends in the line of the problem.
   void longQuote() const {
      if ( !error_.longQuote ) {
         return;
      }
      auto const [ begin, end ] = *error_.longQuote;
      if ( end >= line_.begin && end <= error_.problemOffset ) {
         say(
            begin,
            "a quote that ends in line {} and is followed by {}: expected its end in this "
            "line",
            lineNumber( end ),
            found() );
      }
   }

   void tightColonIn( Line const& line ) const {
      if ( auto const colon = tightColon( line ) ) {
         say( *colon, "a colon without a space behind it: expected one" );
      }
   }

   void endOfQuote() const {
      if ( error_.context == "while scanning a quoted scalar" ) {
         say( error_.contextOffset, "a quote without an end: expected it to be closed" );
      }
   }

   void tab() const {
      say( error_.problemOffset, "a tab: expected spaces for indentation" );
   }

   void strangeStart() const {
      char const c = text_[ error_.problemOffset ];
      if ( c == '\t' ) {
         tab();
      }
      say(
         error_.problemOffset,
         "a text that begins with {}: expected it in quotes",
         inQuotes( std::string_view( &c, 1 ) ) );
   }

   void secondColon() const {
      std::string_view const before =
         line_.text.substr( 0, error_.problemOffset - line_.begin );
      if ( before.find( ": " ) != before.npos ) {
         say(
            error_.problemOffset,
            "a second colon: expected a text with a colon and a space in quotes, or one "
            "key a line" );
      }
      auto const above = lineAbove( text_, line_ );
      if ( above ) {
         tightColonIn( *above );
      }
      if ( above && line_.indent() > above->indent() ) {
         say(
            line_.begin + static_cast< Offset >( line_.indent() ),
            "indented by {}: expected {} as in line {}, whose value is complete",
            line_.indent(),
            above->indent(),
            lineNumber( above->begin ) );
      }
      say( error_.problemOffset, "a colon: expected none here" );
   }

   void noColon() const {
      Line const line = lineAt( text_, error_.contextOffset );
      tightColonIn( line );
      std::string_view const rest = line.text.substr( error_.contextOffset - line.begin );
      say(
         error_.contextOffset,
         "{}: expected a key with a colon and a space behind it",
         inQuotes( rest ) );
   }

   void noKey() const {
      longQuote();
      if ( !isFirstInLine() || isAtEnd() ) {
         say( error_.problemOffset, "{}: expected the end of the line", found() );
      }
      tightColonIn( line_ );
      Line const around = lineAt( text_, error_.contextOffset );
      std::size_t const outer = error_.contextOffset - around.begin;
      auto const above = lineAbove( text_, line_ );
      std::size_t const inner = above ? above->indent() : outer;
      if ( line_.indent() == outer ) {
         bool const isList = error_.problem.find( '-' ) != error_.problem.npos;
         say(
            error_.problemOffset,
            "{}: expected {} as above",
            found(),
            isList ? "\"-\"" : "a key" );
      }
      say(
         error_.problemOffset,
         "indented by {}: expected {}{}, as a line above is",
         line_.indent(),
         outer,
         inner == outer ? "" : fmt::format( " or {}", inner ) );
   }

   void openBracket() const {
      char const open = text_[ error_.contextOffset ];
      char const closed = open == '{' ? '}' : ']';
      longQuote();
      if ( isAtEnd() ) {
         say(
            error_.contextOffset, "\"{}\" without an end: expected \"{}\"", open, closed );
      }
      say(
         error_.problemOffset,
         "{}: expected \",\" or \"{}\", for the \"{}\" in line {}",
         found(),
         closed,
         open,
         lineNumber( error_.contextOffset ) );
   }

   void noValue() const {
      if ( !isAtEnd() && text_[ error_.problemOffset ] == ':' ) {
         say(
            error_.problemOffset,
            "a text that begins with \":\" between brackets: expected it in quotes" );
      }
      say( error_.problemOffset, "{}: expected a value", found() );
   }

   void misplacedDash() const {
      say(
         error_.problemOffset,
         "\"-\": expected the items of a list in lines of their own" );
   }

   void tightColonHere() const {
      say( error_.problemOffset, "a colon without a space behind it: expected one" );
   }

   void unknownEscape() const {
      say(
         error_.problemOffset,
         "an escape that is none: expected \"\\\\\" for a backslash" );
   }

   void cutEscape() const {
      say(
         error_.problemOffset,
         "an escape without all its digits: expected 2 behind \"\\x\", 4 behind \"\\u\" "
         "and 8 "
         "behind \"\\U\"" );
   }

   void strangeName() const {
      say(
         error_.problemOffset,
         "{} in the name of an anchor or alias: expected letters, digits, - and _",
         found() );
   }

   SyntaxError const& error_;
   DocumentTree const& tree_;
   std::string_view const text_;
   Line const line_;
};

} // namespace

void
SyntaxError::fail( DocumentTree const& tree ) const {
   Explanation( *this, tree ).fail();
}

void
failAtCharacter( DocumentTree const& tree, std::size_t offset ) {
   std::string_view const text = tree.text();
   auto at = static_cast< Offset >( std::min( offset, text.size() ) );
   if ( text.starts_with( "\xff\xfe" ) || text.starts_with( "\xfe\xff" ) ) {
      tree.fail( 0, "UTF-16: expected UTF-8" );
   }
   // The parser's place is where it misses an octet; what is wrong begins before it.
   while ( at > 0 && at < text.size() && text[ at ] >= ' ' && text[ at ] <= '~' ) {
      --at;
   }
   Character const character = firstCharacter( text.substr( at ) );
   if ( character.length == 0 && at < text.size() ) {
      tree.fail(
         at,
         fmt::format(
            "byte \\x{:02x}: expected UTF-8",
            static_cast< unsigned char >( text[ at ] ) ) );
   }
   tree.fail(
      at,
      fmt::format(
         "character U+{:04X}: expected it as an escape, in double quotes",
         static_cast< std::uint32_t >( character.code ) ) );
}

void
refuseForeignBreaks( DocumentTree const& tree ) {
   if ( isAscii( tree.text() ) ) {
      return;
   }
   for ( std::string_view const character :
         { "\xc2\x85", "\xe2\x80\xa8", "\xe2\x80\xa9" } ) {
      if ( auto const at = tree.text().find( character ); at != std::string_view::npos ) {
         failAtCharacter( tree, at );
      }
   }
}

} // namespace ostra
