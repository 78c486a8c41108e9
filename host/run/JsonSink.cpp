// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/JsonSink>

namespace ostra {

namespace {

void
append( ObjectLine& line, WriteRecord const& write ) {
   line.add( "type", "write" );
   line.add( "path", write.path );
   line.add( "value", write.value );
}

void
append( ObjectLine& line, EventRecord const& event ) {
   line.add( "type", "event" );
   line.add( "index", static_cast< std::int64_t >( event.index ) );
}

void
append( ObjectLine& line, LogMessageRecord const& message ) {
   line.add( "type", "log" );
   line.add( "id", message.id );
   line.add( "severity", message.severity );
   line.add( "text", message.text );
}

void
append( ObjectLine& line, TraceLineRecord const& trace ) {
   line.add( "type", "trace" );
   line.add( "handle", trace.handle );
   line.add( "level", trace.level );
   line.add( "file", trace.file );
   line.add( "line", trace.line );
   line.add( "function", trace.function );
   line.add( "text", trace.text );
}

} // namespace

void
JsonSink::write( Milliseconds at, WriteRecord const& record ) {
   tell( at, record );
}

void
JsonSink::event( Milliseconds at, EventRecord const& record ) {
   tell( at, record );
}

void
JsonSink::log( Milliseconds at, LogMessageRecord const& record ) {
   tell( at, record );
}

void
JsonSink::trace( Milliseconds at, TraceLineRecord const& record ) {
   tell( at, record );
}

template< class Record >
void
JsonSink::tell( Milliseconds at, Record const& record ) {
   ObjectLine line = head( at );
   append( line, record );
   put( line.take() );
}

} // namespace ostra
