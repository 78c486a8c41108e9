// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <instructions/Measure>

#include <cstdlib>
#include <iostream>

void
bench::dump( std::string const& name, std::size_t operations, std::size_t allocated ) {
   std::string const text =
      name + " " + std::to_string( operations ) + " " + std::to_string( allocated );
   CALLGRIND_DUMP_STATS_AT( text.c_str() );
}

void
bench::expect( bool done, char const* what ) {
   if ( !done ) {
      std::cerr << "bench_instructions: expected " << what << "\n";
      std::exit( 1 );
   }
}

int
main() {
   bench::expect( RUNNING_ON_VALGRIND, "to be run by bench/instructions/run" );
   bench::measureDelivery();
   bench::measureMap();
   bench::measurePtr();
   bench::measureClock();
   bench::measureDiagnostics();
   bench::measureReload();
   return 0;
}
