// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/web/SvgSink>

#include <host/account/ReleaseReason>
#include <host/account/WriteBatch>
#include <host/web/TimeLine>

#include <fmt/format.h>

#include <utility>

namespace ostra {

class SvgSink::Run {
 public:
   Run( std::string name, StateView const& state, EventWords words )
         : state_( state ), words_( words ), facts_( state ), batch_( facts_, ledger_ ) {
      line_.name = std::move( name );
      batch_.begin();
   }

   void reach( Milliseconds at ) {
      if ( at != at_ ) {
         settle();
         at_ = at;
         event_ = nullptr;
      }
   }

   void settle() {
      bool const isFirst = std::exchange( isFirst_, false );
      ReleaseReason const reason( facts_, ledger_, event_, isFirst );
      for ( Hold const& hold : batch_.released() ) {
         ledger_.close( hold, at_, reason.of( hold ) );
      }
      batch_.clear();
      tellPeriod( PortClass::mlag, line_.periods[ 0 ] );
      tellPeriod( PortClass::nonMlag, line_.periods[ 1 ] );
   }

   void write( WriteRecord const& record ) { batch_.write( at_, record ); }

   void event( Json patch ) {
      settle();
      event_ = std::move( patch );
      line_.marks.push_back( { at_, true, words_( event_, state_ ) } );
   }

   void log( LogMessageRecord const& record ) {
      line_.marks.push_back(
         { at_, false, fmt::format( "{}: {}", record.id, record.text ) } );
   }

   TimeLine const& end() {
      settle();
      line_.end = at_;
      line_.holds = ledger_.spans();
      return line_;
   }

 private:
   void tellPeriod( PortClass portClass, std::vector< TimeLine::Period >& periods ) const {
      bool const isOpen = !periods.empty() && !periods.back().to;
      bool const isHeld = facts_.isHeld( portClass );
      if ( isHeld && !isOpen ) {
         periods.push_back( { at_, std::nullopt } );
      } else if ( !isHeld && isOpen ) {
         periods.back().to = at_;
      }
   }

   StateView const& state_;
   EventWords const words_;
   SwitchFacts const facts_;
   HoldLedger ledger_;
   WriteBatch batch_;
   Milliseconds at_{ 0 };
   bool isFirst_ = true;
   // What the event before in the same instant does; null for none.
   Json event_;
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
   run_->reach( at );
   run_->write( record );
}

void
SvgSink::event( Milliseconds at, EventRecord const& record ) {
   run_->reach( at );
   run_->event( record.patch() );
}

void
SvgSink::log( Milliseconds at, LogMessageRecord const& record ) {
   run_->reach( at );
   run_->log( record );
}

void
SvgSink::trace( Milliseconds, TraceLineRecord const& ) {}

void
SvgSink::end( Milliseconds at, EndRecord const& ) {
   run_->reach( at );
   drawTimeLine( out_, run_->end() );
}

void
SvgSink::settle() {
   run_->settle();
}

} // namespace ostra
