// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextReport>

#include <host/account/PortRoll>
#include <host/account/ReleaseReason>
#include <host/base/Words>
#include <host/text/EventText>
#include <host/text/TextHeading>
#include <host/text/TextMoment>
#include <host/text/TextSummary>

#include <fmt/format.h>

#include <filesystem>
#include <set>
#include <string>
#include <utility>

namespace ostra {

struct TextReport::Run {
   explicit Run( StateView const& view )
         : state( view ), facts( view ), roll( facts, ledger ), moment( facts, ledger ) {
      moment.begin();
      auto const ids = facts.keys( { "igmpsnoopingConfig", "forceEnabledPorts" } );
      forced.insert( ids.begin(), ids.end() );
   }

   StateView const& state;
   SwitchFacts const facts;
   HoldLedger ledger;
   PortRoll roll;
   Moment moment;
   // Of the moment that is not told yet.
   long long at = 0;
   // What the event before in the same instant does; null for none.
   Json event;
   bool isFirstMoment = true;
   std::set< Kovel::IntfId > forced;
   // See Ending.
   std::vector< std::string > missingConfig;
};

TextReport::TextReport( std::ostream& out, TextOptions options )
      : lines_( out, Style( options.colour ), options.width ), trace_( options.trace ) {}

TextReport::~TextReport() = default;

void
TextReport::start( StartRecord const& record, StateView const& state ) {
   run_ = std::make_unique< Run >( state );
   printHeading( lines_, record.name, run_->facts );
}

void
TextReport::reach( long long at ) {
   if ( at != run_->at ) {
      settle();
      run_->at = at;
      run_->event = nullptr;
   }
}

void
TextReport::settle() {
   Run& run = *run_;
   bool const first = std::exchange( run.isFirstMoment, false );
   ReleaseReason const reason( run.facts, run.ledger, run.event, first );
   for ( auto const* holds :
         { &run.moment.held(), &run.moment.released(), &run.moment.heldAgain() } ) {
      for ( auto const& hold : *holds ) {
         run.roll.hold( hold );
      }
   }
   TextMoment( lines_, run.at, run.facts, run.roll.call( first ), first )
      .print( run.moment, reason );
   keep( run.moment, reason, first );
   run.moment.clear();
}

void
TextReport::keep( Moment const& moment, ReleaseReason const& reason, bool first ) {
   Run& run = *run_;
   for ( auto const& hold : moment.released() ) {
      run.ledger.close( hold, run.at, reason.of( hold ) );
   }
   if ( !moment.released().empty() || ( first && moment.held().empty() ) ) {
      run.missingConfig = run.facts.missingConfig();
   }
   for ( auto const id : moment.forced().begun() ) {
      run.forced.insert( id );
   }
   for ( auto const id : moment.forced().ended() ) {
      run.forced.erase( id );
   }
}

void
TextReport::write( long long at, WriteRecord const& record ) {
   reach( at );
   run_->moment.write( at, record );
}

void
TextReport::event( long long at, EventRecord const& record ) {
   reach( at );
   settle();
   run_->event = record.patch();
   run_->roll.event( run_->event );
   std::string const text = eventText( run_->event, run_->state );
   lines_.entry( at, Ink::event, fmt::format( "event {}", record.index ), text );
}

void
TextReport::log( long long at, LogMessageRecord const& record ) {
   reach( at );
   settle();
   lines_.entry(
      at,
      record.severity <= 4 ? Ink::alarm : Ink::message,
      "log " + severityName( record.severity ),
      fmt::format( "{}: {}", record.id, record.text ) );
}

void
TextReport::trace( long long at, TraceLineRecord const& record ) {
   reach( at );
   if ( trace_ ) {
      lines_.faintEntry(
         at,
         fmt::format( "trace {}", record.level ),
         fmt::format(
            "{} {}:{} {}: {}",
            record.handle,
            std::filesystem::path( record.file ).filename().string(),
            record.line,
            record.function,
            record.text ) );
   }
}

void
TextReport::end( long long at, EndRecord const& record ) {
   reach( at );
   settle();
   Run const& run = *run_;
   Ending const ending = { at,
                           record.isTimerLeft,
                           run.ledger,
                           run.roll.neverHeld(),
                           { run.forced.begin(), run.forced.end() },
                           run.missingConfig };
   printSummary( lines_, ending, run.facts );
}

} // namespace ostra
