// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextReport>

#include <host/account/PortRoll>
#include <host/account/ReleaseReason>
#include <host/base/Words>
#include <host/state/MountTable>
#include <host/text/EventText>
#include <host/text/TextBatch>
#include <host/text/TextHeading>
#include <host/text/TextSummary>

#include <fmt/format.h>

#include <filesystem>
#include <set>
#include <string>
#include <utility>

namespace ostra {

struct TextReport::Run {
   explicit Run( StateView const& view )
         : state( view ), facts( view ), roll( facts, ledger ), batch( facts, ledger ) {
      batch.begin();
      auto const ids = facts.keys( { mount::igmpsnoopingConfig, "forceEnabledPorts" } );
      forced.insert( ids.begin(), ids.end() );
   }

   StateView const& state;
   SwitchFacts const facts;
   HoldLedger ledger;
   PortRoll roll;
   WriteBatch batch;
   // Of the batch that is not told yet.
   Milliseconds at{ 0 };
   // What the event before in the same instant does; null for none.
   Json event;
   bool isFirstBatch = true;
   std::set< Kovel::IntfId > forced;
   // See Ending.
   bool wasConfigMissing = false;
};

TextReport::TextReport( std::ostream& out, TextOptions options )
      : lines_( out, Style( options.colour ), options.width ), trace_( options.trace ) {}

TextReport::~TextReport() = default;

void
TextReport::start( StartRecord const& record, StateView const& state ) {
   run_ = std::make_unique< Run >( state );
   printHeading( lines_, record, run_->facts );
}

void
TextReport::reach( Milliseconds at ) {
   if ( at != run_->at ) {
      settle();
      run_->at = at;
      run_->event = nullptr;
   }
}

void
TextReport::settle() {
   Run& run = *run_;
   bool const first = std::exchange( run.isFirstBatch, false );
   ReleaseReason const reason( run.facts, run.ledger, run.event, first );
   for ( auto const* holds :
         { &run.batch.held(), &run.batch.released(), &run.batch.heldAgain() } ) {
      for ( auto const& hold : *holds ) {
         run.roll.hold( hold );
      }
   }
   TextBatch( lines_, run.at, run.facts, run.roll.call( first ), first )
      .print( run.batch, reason );
   keep( run.batch, reason, first );
   run.batch.clear();
}

void
TextReport::keep( WriteBatch const& batch, ReleaseReason const& reason, bool first ) {
   Run& run = *run_;
   for ( auto const& hold : batch.released() ) {
      run.ledger.close( hold, run.at, reason.of( hold ) );
   }
   if ( !batch.released().empty() || ( first && batch.held().empty() ) ) {
      run.wasConfigMissing = !run.facts.missingConfig().empty();
   }
   for ( auto const id : batch.forced().begun() ) {
      run.forced.insert( id );
   }
   for ( auto const id : batch.forced().ended() ) {
      run.forced.erase( id );
   }
}

void
TextReport::write( Milliseconds at, WriteRecord const& record ) {
   reach( at );
   run_->batch.write( at, record );
}

void
TextReport::event( Milliseconds at, EventRecord const& record ) {
   reach( at );
   settle();
   run_->event = record.patch();
   run_->roll.event( run_->event );
   std::string const label = record.label.empty() ? "" : titleText( record.label ) + ": ";
   lines_.entry(
      at,
      Ink::event,
      fmt::format( "event {}", record.index ),
      label + eventText( run_->event, run_->state ) );
}

void
TextReport::log( Milliseconds at, LogMessageRecord const& record ) {
   reach( at );
   settle();
   lines_.entry(
      at,
      record.severity <= 4 ? Ink::alarm : Ink::message,
      "log " + severityName( record.severity ),
      fmt::format( "{}: {}", record.id, record.text ) );
}

void
TextReport::trace( Milliseconds at, TraceLineRecord const& record ) {
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
TextReport::end( Milliseconds at, EndRecord const& record ) {
   reach( at );
   settle();
   Run const& run = *run_;
   Ending const ending = { at,
                           record.isTimerLeft,
                           run.ledger,
                           run.roll.neverHeld(),
                           { run.forced.begin(), run.forced.end() },
                           run.wasConfigMissing };
   printSummary( lines_, ending, run.facts );
}

} // namespace ostra
