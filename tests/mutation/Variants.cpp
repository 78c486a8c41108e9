// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Variants"

#include "Mutants"
#include "Statements"
#include "Tokens"

#include <sstream>

namespace Mutation {

namespace {

// A body's text, without the braces.
struct Text {
   std::size_t begin;
   std::size_t end;

   bool has( Mutant const& mutant ) const {
      return mutant.inBody && begin <= mutant.at && mutant.at < end;
   }
};

std::string
bodyOf( Mutant const& mutant, std::string const& source, Text text ) {
   return source.substr( text.begin, text.end - text.begin )
      .replace( mutant.at - text.begin, mutant.length, mutant.replacement );
}

} // namespace

std::string
withAllMutants(
   std::string const& source,
   std::string const& name,
   std::size_t first,
   std::set< std::size_t > const& without ) {
   auto const mutants = mutantsOf( source );
   auto const tokens = tokensOf( source );
   std::ostringstream out;
   std::size_t at = 0;
   for ( Body const& body : bodiesOf( tokens ) ) {
      Text const text = { tokens[ body.open ].end(), tokens[ body.close ].at };
      out << source.substr( at, text.begin - at );
      for ( std::size_t i = 0; i < mutants.size(); ++i ) {
         std::size_t const number = first + i;
         if ( text.has( mutants[ i ] ) && without.count( number ) == 0 ) {
            out << "\nif ( Mutation::isActive( " << number << " ) ) {\n#line 1 \"mutant-"
                << number << "\"\n"
                << bodyOf( mutants[ i ], source, text ) << "\n} else";
         }
      }
      Mutant const original = { text.begin, 0, "", true };
      out << " {\n#line " << original.lineIn( source ) << " \"" << name << "\"\n"
          << source.substr( text.begin, text.end - text.begin ) << '}';
      at = text.end;
   }
   out << source.substr( at );
   return out.str();
}

} // namespace Mutation
