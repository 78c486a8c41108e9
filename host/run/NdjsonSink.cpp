// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/NdjsonSink>

#include <host/base/Milliseconds>

namespace ostra {

void
NdjsonSink::start( StartRecord const&, StateView const& state ) {
   state_ = &state;
}

void
NdjsonSink::end( Milliseconds at, EndRecord const& ) {
   ObjectLine line = head( at );
   line.add( "type", "end" );
   std::string text = line.take();
   text.back() = ',';
   // The state may be as long as the scenario was: it is not kept as a text.
   out_ << text << "\"state\":";
   state_->putLine( out_ );
   out_ << "}\n";
}

ObjectLine
NdjsonSink::head( Milliseconds at ) {
   ObjectLine line;
   line.add( "t", toJson( secondsOf( at ) ) );
   return line;
}

void
NdjsonSink::put( std::string line ) {
   out_ << line << '\n';
}

} // namespace ostra
