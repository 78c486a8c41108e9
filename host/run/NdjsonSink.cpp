// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/NdjsonSink>

#include <host/base/Milliseconds>

namespace ostra {

namespace {

Json
record( Milliseconds at, char const* type ) {
   return { { "t", toJson( secondsOf( at ) ) }, { "type", type } };
}

} // namespace

void
NdjsonSink::start( StartRecord const&, StateView const& state ) {
   state_ = &state;
}

void
NdjsonSink::write( long long at, WriteRecord const& write ) {
   Json json = record( at, "write" );
   appendMember( json, "path", write.path );
   appendMember( json, "value", write.value );
   line( json );
}

void
NdjsonSink::event( long long at, EventRecord const& event ) {
   Json json = record( at, "event" );
   appendMember( json, "index", event.index );
   line( json );
}

void
NdjsonSink::log( long long at, LogMessageRecord const& message ) {
   Json json = record( at, "log" );
   appendMember( json, "id", message.id );
   appendMember( json, "severity", message.severity );
   appendMember( json, "text", message.text );
   line( json );
}

void
NdjsonSink::trace( long long at, TraceLineRecord const& trace ) {
   Json json = record( at, "trace" );
   appendMember( json, "handle", trace.handle );
   appendMember( json, "level", trace.level );
   appendMember( json, "file", trace.file );
   appendMember( json, "line", trace.line );
   appendMember( json, "function", trace.function );
   appendMember( json, "text", trace.text );
   line( json );
}

void
NdjsonSink::end( long long at, EndRecord const& ) {
   Json json = record( at, "end" );
   appendMember( json, "state", state_->at( {} ) );
   line( json );
}

void
NdjsonSink::line( Json const& json ) {
   // A text that is no UTF-8 must not end the run.
   out_ << json.dump( -1, ' ', false, Json::error_handler_t::replace ) << '\n';
}

} // namespace ostra
