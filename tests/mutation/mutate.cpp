// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The mutants of a source:
//
//   mutate list FILE                   one line each
//   mutate one FILE NUMBER             the source with that mutant
//   mutate all FILE FIRST [WITHOUT...] the source with all of them to choose from at run
//                                      time, numbered from FIRST, but for those given
//
// A line of the list has five columns with tabs between them: the mutant's number, the line
// it begins in, `body` or `alone` (if it cannot be chosen at run time), and the text of the
// lines before and after.

#include "Mutants"
#include "Variants"

#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace {

std::string
contentOf( std::string const& path ) {
   std::ifstream file( path, std::ios::binary );
   std::ostringstream content;
   content << file.rdbuf();
   if ( !file ) {
      throw std::runtime_error( path + ": cannot be read" );
   }
   return content.str();
}

// The texts tell mutants apart, also when lines are added above: those of a line that
// occurs again are numbered.
void
list( std::string const& source ) {
   std::map< std::string, unsigned > seen;
   std::size_t number = 0;
   for ( Mutation::Mutant const& mutant : Mutation::mutantsOf( source ) ) {
      std::string const texts = mutant.before( source ) + '\t' + mutant.after( source );
      std::cout << number++ << '\t' << mutant.lineIn( source ) << '\t'
                << ( mutant.inBody ? "body" : "alone" ) << '\t' << texts;
      if ( unsigned const times = ++seen[ texts ]; times > 1 ) {
         std::cout << " (" << times << ')';
      }
      std::cout << '\n';
   }
}

void
run( std::vector< std::string > const& arguments ) {
   std::string const& step = arguments.at( 0 );
   std::string const& file = arguments.at( 1 );
   std::string const source = contentOf( file );
   if ( step == "list" ) {
      list( source );
   } else if ( step == "one" ) {
      auto const number = std::stoul( arguments.at( 2 ) );
      std::cout << Mutation::mutantsOf( source ).at( number ).appliedTo( source );
   } else if ( step == "all" ) {
      std::set< std::size_t > without;
      for ( std::size_t i = 3; i < arguments.size(); ++i ) {
         without.insert( std::stoul( arguments[ i ] ) );
      }
      auto const first = std::stoul( arguments.at( 2 ) );
      std::cout << Mutation::withAllMutants( source, file, first, without );
   } else {
      throw std::runtime_error( "no such step: " + step );
   }
}

} // namespace

int
main( int argc, char** argv ) {
   try {
      run( { argv + 1, argv + argc } );
   } catch ( std::exception const& e ) {
      std::cerr << "mutate: " << e.what() << '\n';
      return 1;
   }
   return 0;
}
