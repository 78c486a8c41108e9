// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/SyntaxError>

#include <host/base/Failure>
#include <host/input/Foreign>
#include <host/input/SourceLine>

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace ostra {

namespace {

using Offset = DocumentTree::Offset;

constexpr char tabs[] = "a tab: expected spaces for indentation";

class Explanation {
 public:
   Explanation( SyntaxError const& error, DocumentTree const& tree )
         : error_( error ),
           tree_( tree ),
           text_( tree.text() ),
           line_( SourceLine::at( text_, error.problemOffset ) ) {}

   // The library has no codes for what it finds, and its states say less than its words.
   // Each of these has a case in the tests of refused documents, which fails when the library
   // finds other words.
   [[noreturn]] void fail() const {
      struct Case {
         std::string_view problem;
         void ( Explanation::*explain )() const;
      };
      static constexpr std::array< Case, 16 > cases = { {
         { "found unexpected end of stream", &Explanation::endOfQuote },
         { "found unexpected document indicator", &Explanation::endOfQuote },
         { "found character that cannot start any token", &Explanation::strangeStart },
         { "mapping values are not allowed", &Explanation::secondColon },
         { "could not find expected ':'", &Explanation::noColon },
         { "did not find expected key", &Explanation::noKey },
         { "did not find expected '-' indicator", &Explanation::noKey },
         { "did not find expected ','", &Explanation::openBracket },
         { "did not find expected node content", &Explanation::noValue },
         { "did not find expected alphabetic", &Explanation::strangeName },
         { "did not find expected comment", &Explanation::noLineEnd },
         { "found an indentation indicator", &Explanation::noIndentation },
         { "did not find expected <document start>", &Explanation::behindDocument },
         { "found undefined tag handle", &Explanation::tag },
         { "found duplicate", &Explanation::directive },
         { "found incompatible", &Explanation::directive },
      } };
      if ( error_.context.ends_with( "directive" ) ) {
         directive();
      } else if ( error_.context.ends_with( "tag" ) ) {
         tag();
      }
      auto const known =
         std::find_if( cases.begin(), cases.end(), [ this ]( Case const& entry ) {
            return error_.problem.starts_with( entry.problem );
         } );
      if ( known != cases.end() ) {
         ( this->*known->explain )();
      }
      explainInWords();
      say(
         error_.problemOffset,
         "{}{}{}",
         error_.problem,
         error_.context.empty() ? "" : " ",
         error_.context );
   }

 private:
   // Where the problem alone tells it all.
   void explainInWords() const {
      using Words = std::pair< std::string_view, char const* >;
      static constexpr std::array< Words, 7 > problems = { {
         { "found a tab character", tabs },
         { "found unexpected ':'", "a colon without a space behind it: expected one" },
         { "mapping keys are not allowed", "\"?\": expected a key without it" },
         { "block sequence entries are not allowed",
           "\"-\": expected the items of a list in lines of their own" },
         { "found unknown escape character",
           "an escape that is none: expected \"\\\\\" for a backslash" },
         { "did not find expected hexdecimal number",
           "an escape without all its digits: expected 2 behind \"\\x\", 4 behind \"\\u\" "
           "and 8 behind \"\\U\"" },
         { "found invalid Unicode character",
           "an escape for no character: expected one up to \\U0010ffff, and none of "
           "\\ud800 "
           "to \\udfff alone" },
      } };
      for ( auto const& [ problem, words ] : problems ) {
         if ( error_.problem.starts_with( problem ) ) {
            say( error_.problemOffset, "{}", words );
         }
      }
   }

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

   bool isAtEnd( Offset offset ) const {
      return text_.find_first_not_of( " \t\r\n", offset ) == text_.npos;
   }
   bool isAtEnd() const { return isAtEnd( error_.problemOffset ); }

   // What stands there, as a message calls it.
   std::string found( Offset offset ) const {
      if ( isAtEnd( offset ) ) {
         return "the end of the file";
      }
      std::string_view const rest = text_.substr( offset );
      bool const isQuote = rest.front() == '"' || rest.front() == '\'';
      std::size_t const close = isQuote ? rest.find( rest.front(), 1 ) : rest.npos;
      if ( close < rest.find_first_of( "\r\n" ) ) {
         return inQuotes( rest.substr( 1, close - 1 ) );
      }
      std::size_t const end =
         std::min( rest.find_first_of( " \t\r\n,:[]{}" ), rest.size() );
      return inQuotes( rest.substr( 0, std::max< std::size_t >( end, 1 ) ) );
   }
   std::string found() const { return found( error_.problemOffset ); }

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

   // A colon too far behind what would be its key is none to the parser.
   void longKey( SourceLine const& line, Offset key, Offset colon ) const {
      std::string_view const written = line.text.substr( key - line.begin, colon - key );
      if ( text_[ colon ] == ':' && written.size() > longestKey ) {
         refuseLongKey( tree_, key, found( key ) );
      }
   }

   void tightColonIn( SourceLine const& line ) const {
      if ( auto const colon = line.tightColon() ) {
         say( *colon, "a colon without a space behind it: expected one" );
      }
   }

   // To the parser the bracket or quote behind the colon is part of the key's text.
   void tightBracketIn( SourceLine const& line ) const {
      auto const colon = line.tightColon();
      if ( colon && std::string_view( "{[\"'" ).find( text_[ *colon + 1 ] ) < 4 ) {
         tightColonIn( line );
      }
   }

   void endOfQuote() const {
      if ( error_.context == "while scanning a quoted scalar" ) {
         say( error_.contextOffset, "a quote without an end: expected it to be closed" );
      }
   }

   void strangeStart() const {
      char const c = text_[ error_.problemOffset ];
      if ( c == '\t' ) {
         say( error_.problemOffset, "{}", tabs );
      }
      say(
         error_.problemOffset,
         "a text that begins with {}: expected it in quotes",
         inQuotes( std::string_view( &c, 1 ) ) );
   }

   void secondColon() const {
      longKey( line_, line_.keyBegin( error_.problemOffset ), error_.problemOffset );
      std::string_view const before =
         line_.text.substr( 0, error_.problemOffset - line_.begin );
      if ( before.find( ": " ) != before.npos ) {
         say(
            error_.problemOffset,
            "a second colon: expected a text with a colon and a space in quotes, or one "
            "key a line" );
      }
      auto const above = line_.above( text_ );
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
      SourceLine const line = SourceLine::at( text_, error_.contextOffset );
      tightColonIn( line );
      std::string_view const rest = line.text.substr( error_.contextOffset - line.begin );
      std::size_t const colon = rest.find( ':', longestKey );
      if ( colon != rest.npos ) {
         longKey(
            line,
            error_.contextOffset,
            error_.contextOffset + static_cast< Offset >( colon ) );
      }
      say(
         error_.contextOffset,
         "{}: expected a key with a colon and a space behind it",
         inQuotes( rest ) );
   }

   void noKey() const {
      longQuote();
      if ( !isFirstInLine() || isAtEnd() ) {
         tightBracketIn( line_ );
         say( error_.problemOffset, "{}: expected the end of the line", found() );
      }
      tightColonIn( line_ );
      SourceLine const around = SourceLine::at( text_, error_.contextOffset );
      std::size_t const outer = error_.contextOffset - around.begin;
      auto const above = line_.above( text_ );
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
      foreignComment();
      bool const isColon = text_[ error_.problemOffset ] == ':';
      Offset const at =
         isColon ? line_.keyBegin( error_.problemOffset ) : error_.problemOffset;
      if ( isColon ) {
         longKey( line_, at, error_.problemOffset );
      } else if ( open == '{' && lacksValue() ) {
         say( at, "{}: expected a colon before it", found() );
      }
      say(
         at,
         "{}: expected \",\" or \"{}\", for the \"{}\" in line {}",
         found( at ),
         closed,
         open,
         lineNumber( error_.contextOffset ) );
   }

   // Whether the last thing that was read is a key without a value.
   bool lacksValue() const {
      DocumentTree::Index const last = tree_.size() - 1;
      return tree_.size() != 0 && tree_.cell( last ).kind == NodeKind::null &&
         tree_.contents( last ).empty();
   }

   // As other languages begin one: the parser takes it for a text, or stops at it.
   void foreignComment() const {
      Offset offset = error_.problemOffset;
      // The last scalar may be a key, whose value is missing behind it.
      for ( DocumentTree::Index i = tree_.size(); i > 0 && i + 2 > tree_.size(); --i ) {
         DocumentTree::Cell const& cell = tree_.cell( i - 1 );
         bool const isText = cell.isPlain && cell.kind == NodeKind::text;
         if ( isText && isForeignComment( text_.substr( cell.offset ) ) ) {
            offset = cell.offset;
         }
      }
      std::string_view const rest = text_.substr( offset );
      if ( isForeignComment( rest ) ) {
         say(
            offset,
            "a comment that begins with \"{}\": expected \"#\"",
            rest.substr( 0, 2 ) );
      }
   }

   void noValue() const {
      if ( !isAtEnd() && text_[ error_.problemOffset ] == ':' ) {
         say(
            error_.problemOffset,
            "a text that begins with \":\" between brackets: expected it in quotes" );
      }
      say( error_.problemOffset, "{}: expected a value", found() );
   }

   void noLineEnd() const {
      say( error_.problemOffset, "{}: expected the end of the line", found() );
   }

   void noIndentation() const {
      say( error_.problemOffset, "{}: expected an indentation of 1 to 9", found() );
   }

   void directive() const {
      refuseDirective(
         tree_, error_.context.empty() ? error_.problemOffset : error_.contextOffset );
   }

   void tag() const {
      bool const isScanned = error_.context.ends_with( "tag" );
      Offset const offset = isScanned ? error_.contextOffset : error_.problemOffset;
      tree_.fail( offset, fmt::format( "tag {}: expected none", found( offset ) ) );
   }

   // The document was over already.
   void behindDocument() const {
      auto const above = line_.above( text_ );
      if ( isFirstInLine() && above && above->text.starts_with( "..." ) ) {
         tree_.fail( error_.problemOffset, secondDocument );
      }
      if ( isFirstInLine() && above && above->text.starts_with( "%" ) ) {
         say( error_.problemOffset, "{}: expected \"---\" behind directives", found() );
      }
      if ( isFirstInLine() && above && above->indent() > line_.indent() ) {
         say(
            error_.problemOffset,
            "indented by {}: expected {}, as a line above is",
            line_.indent(),
            firstIndent() );
      }
      say( error_.problemOffset, "{}: expected the end of the file", found() );
   }

   // Of the lines above, the one that is indented least.
   std::size_t firstIndent() const {
      std::size_t least = text_.size();
      for ( auto line = line_.above( text_ ); line; line = line->above( text_ ) ) {
         least = std::min( least, line->indent() );
      }
      return least;
   }

   void strangeName() const {
      constexpr std::string_view blanks = " \t\r\n";
      if ( isAtEnd() || blanks.find( text_[ error_.problemOffset ] ) != blanks.npos ) {
         say( error_.problemOffset, "an anchor or alias without a name: expected one" );
      }
      say(
         error_.problemOffset,
         "{} in the name of an anchor or alias: expected letters, digits, - and _",
         found() );
   }

   SyntaxError const& error_;
   DocumentTree const& tree_;
   std::string_view const text_;
   SourceLine const line_;
};

} // namespace

void
SyntaxError::fail( DocumentTree const& tree ) const {
   Explanation( *this, tree ).fail();
}

} // namespace ostra
