// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The main function of every benchmark program. With BENCH_SECOND_THREAD in the environment
// the process has had a second thread, as a host that is not single-threaded has.

#include <Ryx/PtrInterface>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <thread>

int
main( int argc, char** argv ) {
   if ( std::getenv( "BENCH_SECOND_THREAD" ) ) {
      std::thread( [] {} ).join();
   }
   benchmark::AddCustomContext(
      "single_threaded", Ryx::singleThreaded() ? "true" : "false" );
   benchmark::AddCustomContext( "compiler", __VERSION__ );
   benchmark::Initialize( &argc, argv );
   if ( benchmark::ReportUnrecognizedArguments( argc, argv ) ) {
      return 1;
   }
   benchmark::RunSpecifiedBenchmarks();
   return 0;
}
