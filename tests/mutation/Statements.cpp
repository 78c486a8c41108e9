// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Statements"

#include <optional>

namespace Mutation {

namespace {

// Braces around statements, outside of any other such.
bool
opensFunction( std::vector< Token > const& tokens, std::size_t i ) {
   return tokens[ i ].is( "{" ) && tokens[ i ].scope == Scope::declarations &&
      tokens[ i + 1 ].scope == Scope::statements;
}

bool
isConstexpr( std::vector< Token > const& tokens, std::size_t body ) {
   std::size_t i = body;
   while ( i > 0 && !tokens[ i - 1 ].is( ";" ) && !tokens[ i - 1 ].is( "{" ) &&
           !tokens[ i - 1 ].is( "}" ) ) {
      --i;
      if ( tokens[ i ].is( "constexpr" ) ) {
         return true;
      }
   }
   return false;
}

class Finder {
 public:
   Finder( std::string const& source, std::vector< Token > const& tokens )
         : source_( source ), tokens_( tokens ) {}

   std::vector< Statement > statements() {
      for ( std::size_t i = 0; i < tokens_.size(); ++i ) {
         if ( opensFunction( tokens_, i ) ) {
            block( i, 0 );
            i = tokens_[ i ].partner;
         }
      }
      return std::move( found_ );
   }

 private:
   bool is( std::size_t i, std::string_view text ) const { return tokens_[ i ].is( text ); }

   // All statements between the braces. A depth of 0 is a function's own body.
   void block( std::size_t open, unsigned depth ) {
      std::optional< std::size_t > previous;
      std::size_t i = open + 1;
      while ( i < tokens_[ open ].partner ) {
         std::size_t const known = found_.size();
         std::size_t const last = statement( i, depth );
         bool const expression = found_.size() == known + 1 &&
            found_.back().kind == Statement::expression && found_.back().first == i;
         if ( expression && previous ) {
            found_[ *previous ].next = last;
         }
         previous = expression ? std::optional( known ) : std::nullopt;
         i = last + 1;
      }
   }

   std::size_t blockAt( std::size_t open, unsigned depth ) {
      block( open, depth );
      return tokens_[ open ].partner;
   }

   // One statement; returns the index of its last token.
   std::size_t statement( std::size_t first, unsigned depth ) {
      if ( is( first, "{" ) ) {
         return blockAt( first, depth + 1 );
      }
      if ( is( first, "if" ) || is( first, "while" ) || is( first, "for" ) ) {
         return conditional( first, depth );
      }
      // As deep as what is around it: nothing need follow a return in there.
      if ( is( first, "try" ) ) {
         return blockAt( first + 1, depth );
      }
      if ( is( first, "catch" ) ) {
         return blockAt( tokens_[ first + 1 ].partner + 1, depth );
      }
      return simple( first, depth );
   }

   std::size_t conditional( std::size_t keyword, unsigned depth ) {
      std::size_t const open = keyword + 1;
      std::size_t const close = tokens_[ open ].partner;
      std::size_t first = open + 1;
      std::size_t last = close - 1;
      if ( is( keyword, "for" ) ) {
         first = endOf( first ) + 1;
         last = endOf( first ) - 1;
      }
      found_.push_back( { Statement::condition, first, last } );
      std::size_t end = statement( close + 1, depth + 1 );
      if ( is( end + 1, "else" ) ) {
         std::size_t const otherwise = end + 1;
         end = statement( otherwise + 1, depth + 1 );
         found_.push_back( { Statement::otherwise, otherwise, end } );
      }
      return end;
   }

   // The semicolon that ends what begins at a token.
   std::size_t endOf( std::size_t i ) const {
      while ( !is( i, ";" ) ) {
         i = 1 + ( tokens_[ i ].partner > i ? tokens_[ i ].partner : i );
      }
      return i;
   }

   std::size_t simple( std::size_t first, unsigned depth ) {
      std::size_t const last = endOf( first );
      if ( is( first, "return" ) ) {
         if ( depth > 0 ) {
            found_.push_back( { Statement::earlyReturn, first, last } );
         }
      } else if ( is( first, "throw" ) || is( first, "using" ) ) {
         // Nothing that could be left out.
      } else if ( !declares( first, last ) ) {
         found_.push_back( { Statement::expression, first, last } );
      } else if ( isGuard( first, last ) ) {
         found_.push_back( { Statement::guard, first, last } );
      }
      return last;
   }

   // A name follows a type: a word, a template's bracket, or a pointer or reference sign.
   bool declares( std::size_t first, std::size_t last ) const {
      for ( std::size_t i = first; i < last; ++i ) {
         Token const& next = tokens_[ i + 1 ];
         if ( next.kind == Kind::word && endsType( i, first ) ) {
            return true;
         }
         if ( tokens_[ i ].partner > i && !is( i, "<" ) ) {
            i = tokens_[ i ].partner;
         } else if ( is( i, "<" ) && tokens_[ i ].partner > i ) {
            i = tokens_[ i ].partner - 1;
         }
      }
      return false;
   }

   bool endsType( std::size_t i, std::size_t first ) const {
      Token const& token = tokens_[ i ];
      bool const glued = i > first && tokens_[ i - 1 ].end() == token.at;
      return token.kind == Kind::word || ( token.is( ">" ) && token.partner != 0 ) ||
         ( ( token.is( "&" ) || token.is( "*" ) ) && glued );
   }

   bool isGuard( std::size_t first, std::size_t last ) const {
      std::string const text =
         source_.substr( tokens_[ first ].at, tokens_[ last ].at - tokens_[ first ].at );
      return is( last - 1, ")" ) && text.find( '=' ) == std::string::npos;
   }

   std::string const& source_;
   std::vector< Token > const& tokens_;
   std::vector< Statement > found_;
};

} // namespace

std::vector< Body >
bodiesOf( std::vector< Token > const& tokens ) {
   std::vector< Body > bodies;
   for ( std::size_t i = 0; i < tokens.size(); ++i ) {
      if ( opensFunction( tokens, i ) && !isConstexpr( tokens, i ) ) {
         bodies.push_back( { i, tokens[ i ].partner } );
      }
   }
   return bodies;
}

std::vector< Statement >
statementsOf( std::string const& source, std::vector< Token > const& tokens ) {
   return Finder( source, tokens ).statements();
}

} // namespace Mutation
