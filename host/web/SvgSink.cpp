// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/SvgSink>

#include <host/account/RunAccount>
#include <host/web/TimeLine>

#include <fmt/format.h>

#include <utility>

namespace ostra {

class SvgSink::Run {
 public:
   Run( std::string name, StateView const& state, EventWords words )
         : state_( state ), words_( words ), account_( state ) {
      line_.name = std::move( name );
   }

   void settle() { account_.settle(); }

   void write( Milliseconds at, WriteRecord const& record ) {
      account_.write( at, record );
   }

   void event( Milliseconds at, EventRecord const& record ) {
      Json const patch = record.patch();
      account_.event( at, patch );
      line_.marks.push_back( { at, true, words_( record.label, patch, state_ ) } );
   }

   void log( Milliseconds at, LogMessageRecord const& record ) {
      line_.marks.push_back(
         { at, false, fmt::format( "{}: {}", record.id, record.text ) } );
   }

   TimeLine const& end( Milliseconds at ) {
      account_.reach( at );
      account_.settle();
      line_.end = at;
      line_.holds = account_.ledger().spans();
      line_.periods = { account_.periods( PortClass::mlag ),
                        account_.periods( PortClass::nonMlag ) };
      return line_;
   }

 private:
   StateView const& state_;
   EventWords const words_;
   RunAccount account_;
   TimeLine line_;
};

SvgSink::SvgSink( std::ostream& out, EventWords words ) : out_( out ), words_( words ) {}

SvgSink::~SvgSink() = default;

void
SvgSink::start( StartRecord const& record, StateView const& state ) {
   run_ = std::make_unique< Run >( record.name, state, words_ );
}

void
SvgSink::write( Milliseconds at, WriteRecord const& record ) {
   run_->write( at, record );
}

void
SvgSink::event( Milliseconds at, EventRecord const& record ) {
   run_->event( at, record );
}

void
SvgSink::log( Milliseconds at, LogMessageRecord const& record ) {
   run_->log( at, record );
}

void
SvgSink::trace( Milliseconds, TraceLineRecord const& ) {}

void
SvgSink::end( Milliseconds at, EndRecord const& ) {
   drawTimeLine( out_, run_->end( at ) );
}

void
SvgSink::settle() {
   run_->settle();
}

} // namespace ostra
