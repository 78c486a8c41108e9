// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Traces that are off and log messages that come too often.

#include <Ryx/Trace>
#include <instructions/CountedLog>
#include <instructions/Measure>
#include <instructions/SetTime>

namespace bench {

namespace {

void
measureTrace() {
   Ryx::TraceHandle const handle( "Instructions", false );
   measureEach( "trace/off", 10'000, [ & ]( std::size_t i ) {
      Ryx::trace( handle, "bench/instructions/Diagnostics", 8, "the number ", i );
   } );
}

void
measureLog() {
   SetTime const time( 1000 );
   CountedLog const log;
   Ryx::LogHandle handle(
      "INSTRUCTIONS_COUNTED",
      Ryx::LogSeverity::info,
      "%s counted: %s",
      "Explanation",
      Ryx::NoActionRequired,
      60.0,
      1.0,
      1 );
   Ryx::log( handle, "first", 0.5 );
   measureEach(
      "log/refused", 1000, [ & ]( std::size_t ) { Ryx::log( handle, "first", 0.5 ); } );
   expect( log.count() == 1, "all messages but the first to be refused" );
}

} // namespace

} // namespace bench

void
bench::measureDiagnostics() {
   measureTrace();
   measureLog();
}
