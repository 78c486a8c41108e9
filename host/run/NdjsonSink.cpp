// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/NdjsonSink>

#include <host/base/Milliseconds>
#include <host/run/RecordJson>

namespace ostra {

namespace {

Json
timed( Milliseconds at ) {
   return { { "t", toJson( secondsOf( at ) ) } };
}

} // namespace

void
NdjsonSink::start( StartRecord const&, StateView const& state ) {
   state_ = &state;
}

void
NdjsonSink::write( Milliseconds at, WriteRecord const& write ) {
   line( at, write );
}

void
NdjsonSink::event( Milliseconds at, EventRecord const& event ) {
   line( at, event );
}

void
NdjsonSink::log( Milliseconds at, LogMessageRecord const& message ) {
   line( at, message );
}

void
NdjsonSink::trace( Milliseconds at, TraceLineRecord const& trace ) {
   line( at, trace );
}

void
NdjsonSink::end( Milliseconds at, EndRecord const& ) {
   Json json = timed( at );
   appendMember( json, "type", "end" );
   appendMember( json, "state", state_->at( {} ) );
   out_ << lineOf( json ) << '\n';
}

template< class Record >
void
NdjsonSink::line( Milliseconds at, Record const& record ) {
   Json json = timed( at );
   append( json, record );
   out_ << lineOf( json ) << '\n';
}

} // namespace ostra
