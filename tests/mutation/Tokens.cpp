// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Tokens"

#include <algorithm>
#include <array>
#include <cctype>
#include <stdexcept>
#include <string_view>

namespace Mutation {

namespace {

constexpr std::array< std::string_view, 17 > longSigns = {
   "...", "->*", "<<", "<=", ">=", "==", "!=", "&&", "||",
   "->",  "::",  "++", "--", "+=", "-=", "*=", "/="
};

bool
isWord( char c ) {
   return std::isalnum( static_cast< unsigned char >( c ) ) || c == '_';
}

bool
isDigit( char c ) {
   return std::isdigit( static_cast< unsigned char >( c ) );
}

bool
isSpace( char c ) {
   return std::isspace( static_cast< unsigned char >( c ) );
}

class Reader {
 public:
   explicit Reader( std::string const& source ) : source_( source ) {}

   std::vector< Token > tokens() {
      while ( skipToToken() ) {
         add();
      }
      return std::move( tokens_ );
   }

 private:
   bool startsWith( std::string_view what ) const {
      return source_.compare( at_, what.size(), what ) == 0;
   }

   bool startsLine() const {
      std::size_t const before = source_.find_last_not_of( " \t", at_ - 1 );
      return at_ == 0 || before == std::string::npos || source_[ before ] == '\n';
   }

   bool skipToToken() {
      while ( at_ < source_.size() ) {
         if ( startsWith( "//" ) || ( source_[ at_ ] == '#' && startsLine() ) ) {
            at_ = std::min( source_.find( '\n', at_ ), source_.size() );
         } else if ( isSpace( source_[ at_ ] ) ) {
            ++at_;
         } else {
            return true;
         }
      }
      return false;
   }

   template< class Belongs >
   std::size_t lengthWhile( Belongs belongs ) const {
      auto const begin = source_.begin() + static_cast< std::ptrdiff_t >( at_ );
      auto const end = std::find_if_not( begin, source_.end(), belongs );
      return static_cast< std::size_t >( end - begin );
   }

   std::size_t quotedLength() const {
      std::size_t end = at_ + 1;
      while ( end < source_.size() && source_[ end ] != source_[ at_ ] ) {
         end += source_[ end ] == '\\' ? 2 : 1;
      }
      return end + 1 - at_;
   }

   std::size_t signLength() const {
      auto const* const found = std::find_if(
         longSigns.begin(), longSigns.end(), [ this ]( std::string_view sign ) {
            return startsWith( sign );
         } );
      return found == longSigns.end() ? 1 : found->size();
   }

   void add() {
      char const first = source_[ at_ ];
      if ( isDigit( first ) ) {
         push(
            Kind::number, lengthWhile( []( char c ) { return isWord( c ) || c == '.'; } ) );
      } else if ( isWord( first ) ) {
         push( Kind::word, lengthWhile( isWord ) );
      } else if ( first == '"' || first == '\'' ) {
         push( Kind::text, quotedLength() );
      } else {
         push( Kind::sign, signLength() );
      }
   }

   void push( Kind kind, std::size_t length ) {
      tokens_.push_back( { kind, source_.substr( at_, length ), at_ } );
      at_ += length;
   }

   std::string const& source_;
   std::size_t at_ = 0;
   std::vector< Token > tokens_;
};

// Finds the partner of every bracket, and what every pair of braces holds.
class Brackets {
 public:
   explicit Brackets( std::vector< Token >& tokens ) : tokens_( tokens ) {}

   void match() {
      for ( std::size_t i = 0; i < tokens_.size(); ++i ) {
         tokens_[ i ].scope = scope();
         if ( opens( i ) ) {
            open_.push_back( { i, tokens_[ i ].is( "{" ) ? scopeOf( i ) : scope() } );
         } else if ( closes( i ) ) {
            close( i );
         }
      }
      if ( !open_.empty() ) {
         throw std::runtime_error( "a bracket stays open" );
      }
   }

 private:
   struct Open {
      std::size_t index;
      Scope scope;
   };

   Scope scope() const { return open_.empty() ? Scope::declarations : open_.back().scope; }

   bool opens( std::size_t i ) const {
      Token const& token = tokens_[ i ];
      bool const named = i > 0 && tokens_[ i - 1 ].end() == token.at;
      return token.is( "(" ) || token.is( "[" ) || token.is( "{" ) ||
         ( token.is( "<" ) && named );
   }

   bool closes( std::size_t i ) const {
      Token const& token = tokens_[ i ];
      bool const inTemplate = !open_.empty() && tokens_[ open_.back().index ].is( "<" );
      return token.is( ")" ) || token.is( "]" ) || token.is( "}" ) ||
         ( token.is( ">" ) && inTemplate );
   }

   void close( std::size_t i ) {
      if ( open_.empty() ) {
         throw std::runtime_error( "a bracket was never opened" );
      }
      tokens_[ i ].partner = open_.back().index;
      tokens_[ open_.back().index ].partner = i;
      open_.pop_back();
   }

   Scope scopeOf( std::size_t brace ) const {
      static constexpr std::array< std::string_view, 7 > beforeStatements = {
         ")", "const", "noexcept", "override", "else", "try", "do"
      };
      std::string_view const before = tokens_[ brace - 1 ].text;
      bool const body =
         std::find( beforeStatements.begin(), beforeStatements.end(), before ) !=
         beforeStatements.end();
      if ( body ) {
         return Scope::statements;
      }
      bool const block = before == ";" || before == "{" || before == "}";
      if ( scope() == Scope::statements && block ) {
         return Scope::statements;
      }
      bool const value = before == "=" || scope() != Scope::declarations;
      return value ? Scope::initialiser : Scope::declarations;
   }

   std::vector< Token >& tokens_;
   std::vector< Open > open_;
};

} // namespace

std::vector< Token >
tokensOf( std::string const& source ) {
   auto tokens = Reader( source ).tokens();
   Brackets( tokens ).match();
   return tokens;
}

} // namespace Mutation
