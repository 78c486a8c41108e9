// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/JsonSink>

namespace ostra {

namespace {

void
append( Json& json, WriteRecord const& write ) {
   appendMember( json, "type", "write" );
   appendMember( json, "path", write.path );
   appendMember( json, "value", write.value );
}

void
append( Json& json, EventRecord const& event ) {
   appendMember( json, "type", "event" );
   appendMember( json, "index", event.index );
}

void
append( Json& json, LogMessageRecord const& message ) {
   appendMember( json, "type", "log" );
   appendMember( json, "id", message.id );
   appendMember( json, "severity", message.severity );
   appendMember( json, "text", message.text );
}

void
append( Json& json, TraceLineRecord const& trace ) {
   appendMember( json, "type", "trace" );
   appendMember( json, "handle", trace.handle );
   appendMember( json, "level", trace.level );
   appendMember( json, "file", trace.file );
   appendMember( json, "line", trace.line );
   appendMember( json, "function", trace.function );
   appendMember( json, "text", trace.text );
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
   Json json = head( at );
   append( json, record );
   put( json );
}

} // namespace ostra
