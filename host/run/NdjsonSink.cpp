// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/NdjsonSink>

#include <host/base/JsonLine>
#include <host/base/Milliseconds>

namespace ostra {

void
NdjsonSink::start( StartRecord const&, StateView const& state ) {
   state_ = &state;
}

void
NdjsonSink::end( Milliseconds at, EndRecord const& ) {
   Json json = head( at );
   appendMember( json, "type", "end" );
   appendMember( json, "state", state_->at( {} ) );
   put( json );
}

Json
NdjsonSink::head( Milliseconds at ) const {
   return { { "t", toJson( secondsOf( at ) ) } };
}

void
NdjsonSink::put( Json const& json ) {
   out_ << lineOf( json ) << '\n';
}

} // namespace ostra
