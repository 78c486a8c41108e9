// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/Diagnostics>

#include <utility>

namespace ostra {

namespace {

constexpr char allHandles[] = "*";

} // namespace

Diagnostics::Diagnostics( RecordSink& sink, Time time, std::optional< int > traceLevel )
      : sink_( sink ), time_( std::move( time ) ) {
   Ryx::logSinkIs( this );
   Ryx::traceSinkIs( this );
   Ryx::traceEnabledIs( allHandles, traceLevel.has_value() );
   for ( int level = 0; level < int( Ryx::TraceHandle::levels ); ++level ) {
      Ryx::traceLevelIs( allHandles, level, level <= traceLevel.value_or( 0 ) );
   }
}

Diagnostics::~Diagnostics() {
   Ryx::traceEnabledIs( allHandles, false );
   Ryx::traceSinkIs( nullptr );
   Ryx::logSinkIs( nullptr );
}

void
Diagnostics::log( Ryx::LogRecord const& record ) {
   sink_.log(
      time_(), { record.identifier, static_cast< int >( record.severity ), record.text } );
}

void
Diagnostics::trace( Ryx::TraceRecord const& record ) {
   sink_.trace(
      time_(),
      { record.handleName,
        record.level,
        record.file,
        record.line,
        record.function,
        record.text } );
}

} // namespace ostra
