// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Mutants"

#include "Statements"
#include "Tokens"

#include <algorithm>
#include <cctype>
#include <map>

namespace Mutation {

namespace {

// The lines that a mutant touches, from the start of the first to the end of the last.
struct Lines {
   std::size_t begin;
   std::size_t end;
};

Lines
linesOf( Mutant const& mutant, std::string const& source ) {
   std::size_t const before = source.rfind( '\n', mutant.at );
   return { before == std::string::npos ? 0 : before + 1,
            std::min( source.find( '\n', mutant.at + mutant.length ), source.size() ) };
}

// All white space as single blanks.
std::string
oneLine( std::string const& text ) {
   std::string result;
   for ( char const c : text ) {
      bool const space = std::isspace( static_cast< unsigned char >( c ) );
      if ( !space ) {
         result += c;
      } else if ( !result.empty() && result.back() != ' ' ) {
         result += ' ';
      }
   }
   result.erase( result.find_last_not_of( ' ' ) + 1 );
   return result;
}

class Finder {
 public:
   explicit Finder( std::string const& source )
         : source_( source ), tokens_( tokensOf( source ) ) {}

   std::vector< Mutant > mutants() {
      for ( std::size_t i = 0; i < tokens_.size(); ++i ) {
         changeSign( i );
         changeConstant( i );
         negateChoice( i );
      }
      for ( Statement const& statement : statementsOf( source_, tokens_ ) ) {
         changeStatement( statement );
      }
      for ( Body const& body : bodiesOf( tokens_ ) ) {
         for ( Mutant& mutant : found_ ) {
            mutant.inBody = mutant.inBody ||
               ( tokens_[ body.open ].at < mutant.at &&
                 mutant.at < tokens_[ body.close ].at );
         }
      }
      std::stable_sort(
         found_.begin(), found_.end(), []( Mutant const& a, Mutant const& b ) {
            return a.at < b.at;
         } );
      return std::move( found_ );
   }

 private:
   void add( std::size_t begin, std::size_t end, std::string replacement ) {
      found_.push_back( { begin, end - begin, std::move( replacement ), false } );
   }

   std::string textOf( std::size_t begin, std::size_t end ) const {
      return source_.substr( begin, end - begin );
   }

   bool spaceAt( std::size_t at ) const {
      return std::isspace( static_cast< unsigned char >( source_.at( at ) ) );
   }

   // An argument of a template: a name in a table of attributes, a part of a type.
   bool inTemplate( std::size_t i ) const {
      return std::any_of( tokens_.begin(), tokens_.end(), [ & ]( Token const& token ) {
         return token.is( "<" ) && token.at < tokens_[ i ].at &&
            tokens_[ i ].at < tokens_[ token.partner ].at;
      } );
   }

   bool isBinary( Token const& token ) const {
      return spaceAt( token.at - 1 ) && spaceAt( token.end() ) && token.partner == 0;
   }

   void changeSign( std::size_t i ) {
      static std::map< std::string, std::vector< std::string > > const changes = {
         { "==", { "!=" } },      { "!=", { "==" } },     { "<", { "<=", ">=" } },
         { ">", { ">=", "<=" } }, { "<=", { "<", ">" } }, { ">=", { ">", "<" } },
         { "&&", { "||" } },      { "||", { "&&" } },     { "+", { "-" } },
         { "-", { "+" } },        { "*", { "/" } },       { "/", { "*" } }
      };
      Token const& token = tokens_[ i ];
      auto const change = changes.find( token.text );
      if ( token.kind != Kind::sign ) {
         return;
      }
      if ( change != changes.end() && isBinary( token ) ) {
         for ( std::string const& other : change->second ) {
            add( token.at, token.end(), other );
         }
      } else if ( token.is( "!" ) ) {
         add( token.at, token.end(), "" );
      } else if ( token.is( "++" ) ) {
         add( token.at, token.end(), "--" );
      }
   }

   void changeConstant( std::size_t i ) {
      Token const& token = tokens_[ i ];
      if ( token.kind == Kind::number ) {
         add( token.at, token.end(), "( " + token.text + " + 1 )" );
      } else if (
         token.kind == Kind::text && token.text.front() == '"' && !inTemplate( i ) ) {
         add( token.end() - 1, token.end() - 1, "~" );
      } else if ( token.is( "true" ) || token.is( "false" ) ) {
         add( token.at, token.end(), token.is( "true" ) ? "false" : "true" );
      } else if ( token.is( "never" ) ) {
         add( tokens_[ i - 2 ].at, token.end(), "0.0" );
      } else if ( ( token.is( "==" ) || token.is( "!=" ) ) && isBinary( token ) ) {
         changeEnumerator( i + 1 );
      }
   }

   // A qualified name that something is compared with becomes the next enumerator.
   void changeEnumerator( std::size_t first ) {
      std::size_t last = first;
      while ( tokens_[ last + 1 ].is( "::" ) ) {
         last += 2;
      }
      bool const call = tokens_[ last + 1 ].is( "(" ) || tokens_[ last + 1 ].is( "{" );
      if ( last == first || call ) {
         return;
      }
      std::string const name = textOf( tokens_[ first ].at, tokens_[ last ].end() );
      add(
         tokens_[ first ].at,
         tokens_[ last ].end(),
         "decltype( " + name + " )( int( " + name + " ) + 1 )" );
   }

   void negate( std::size_t first, std::size_t last ) {
      std::size_t const begin = tokens_[ first ].at;
      std::size_t const end = tokens_[ last ].end();
      add( begin, end, "!( " + textOf( begin, end ) + " )" );
   }

   // The condition of `condition ? this : that` begins after what cannot be part of it.
   void negateChoice( std::size_t i ) {
      if ( !tokens_[ i ].is( "?" ) ) {
         return;
      }
      static std::vector< std::string > const ends = { "=", "return", ",", ";",
                                                       "(", "{",      "}" };
      std::size_t first = i;
      while ( std::find( ends.begin(), ends.end(), tokens_[ first - 1 ].text ) ==
              ends.end() ) {
         --first;
         if ( tokens_[ first ].partner != 0 ) {
            first = tokens_[ first ].partner;
         }
      }
      negate( first, i - 1 );
   }

   // Changing the one sign of a condition negates it already.
   bool changedAsSign( std::size_t first, std::size_t last ) const {
      static std::vector< std::string > const comparisons = { "==", "!=", "<",
                                                              ">",  "<=", ">=" };
      bool changed = tokens_[ first ].is( "!" );
      for ( std::size_t i = first; i <= last; ++i ) {
         Token const& token = tokens_[ i ];
         if ( token.is( "&&" ) || token.is( "||" ) ) {
            return false;
         }
         if ( token.partner > i ) {
            i = token.partner;
         } else if ( token.partner == 0 ) {
            changed = changed ||
               std::find( comparisons.begin(), comparisons.end(), token.text ) !=
                  comparisons.end();
         }
      }
      return changed;
   }

   // The condition of an if, a while or a for; a declared variable is tested after it.
   void negateCondition( std::size_t first, std::size_t last ) {
      bool const declares = std::any_of(
         tokens_.begin() + static_cast< std::ptrdiff_t >( first ),
         tokens_.begin() + static_cast< std::ptrdiff_t >( last ),
         []( Token const& token ) { return token.is( "=" ); } );
      if ( !declares ) {
         if ( !changedAsSign( first, last ) ) {
            negate( first, last );
         }
         return;
      }
      std::size_t variable = first;
      while ( !tokens_[ variable + 1 ].is( "=" ) ) {
         ++variable;
      }
      std::size_t const end = tokens_[ last ].end();
      add( end, end, "; !" + tokens_[ variable ].text );
   }

   void changeStatement( Statement const& statement ) {
      switch ( statement.kind ) {
      case Statement::condition:
         negateCondition( statement.first, statement.last );
         break;
      case Statement::expression:
         leaveOut( statement );
         swapWithNext( statement );
         break;
      case Statement::guard:
      case Statement::otherwise:
      case Statement::earlyReturn:
         leaveOut( statement );
         break;
      }
   }

   void leaveOut( Statement const& statement ) {
      add( tokens_[ statement.first ].at, tokens_[ statement.last ].end(), "" );
   }

   void swapWithNext( Statement const& statement ) {
      if ( statement.next == 0 ) {
         return;
      }
      std::size_t const begin = tokens_[ statement.first ].at;
      std::size_t const end = tokens_[ statement.last ].end();
      std::size_t const nextBegin = tokens_[ statement.last + 1 ].at;
      std::size_t const nextEnd = tokens_[ statement.next ].end();
      std::string const mine = textOf( begin, end );
      std::string const other = textOf( nextBegin, nextEnd );
      if ( mine != other ) {
         add( begin, nextEnd, other + " " + mine );
      }
   }

   std::string const& source_;
   std::vector< Token > const tokens_;
   std::vector< Mutant > found_;
};

} // namespace

std::string
Mutant::appliedTo( std::string const& source ) const {
   return std::string( source ).replace( at, length, replacement );
}

std::size_t
Mutant::lineIn( std::string const& source ) const {
   auto const end = source.begin() + static_cast< std::ptrdiff_t >( at );
   return 1 + static_cast< std::size_t >( std::count( source.begin(), end, '\n' ) );
}

std::string
Mutant::before( std::string const& source ) const {
   Lines const lines = linesOf( *this, source );
   return oneLine( source.substr( lines.begin, lines.end - lines.begin ) );
}

std::string
Mutant::after( std::string const& source ) const {
   Lines const lines = linesOf( *this, source );
   std::size_t const end = at + length;
   return oneLine(
      source.substr( lines.begin, at - lines.begin ) + replacement +
      source.substr( end, lines.end - end ) );
}

std::vector< Mutant >
mutantsOf( std::string const& source ) {
   return Finder( source ).mutants();
}

} // namespace Mutation
