// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextReport>

#include <host/base/Words>
#include <host/text/EventText>
#include <host/text/TextBatch>
#include <host/text/TextHeading>
#include <host/text/TextSummary>

#include <fmt/format.h>

#include <filesystem>
#include <string>

namespace ostra {

TextReport::TextReport( std::ostream& out, TextOptions options )
      : lines_( out, Style( options.colour ), options.width ),
        trace_( options.trace ),
        isNarrowed_( options.isNarrowed ) {}

void
TextReport::start( StartRecord const& record, StateView const& state ) {
   state_ = &state;
   account_ =
      std::make_unique< RunAccount >( state, [ this ]( RunAccount::Batch const& batch ) {
         TextBatch(
            lines_, batch.at, account_->facts(), batch.census, batch.isFirst, isNarrowed_ )
            .print( batch.writes, batch.reason );
      } );
   printHeading( lines_, record, account_->facts() );
}

void
TextReport::settle() {
   account_->settle();
}

void
TextReport::write( Milliseconds at, WriteRecord const& record ) {
   account_->write( at, record );
}

void
TextReport::event( Milliseconds at, EventRecord const& record ) {
   Json const patch = record.patch();
   account_->event( at, patch );
   lines_.entry(
      at,
      Ink::event,
      fmt::format( "event {}", record.index ),
      labelledEventText( record.label, patch, *state_ ) );
}

void
TextReport::log( Milliseconds at, LogMessageRecord const& record ) {
   account_->reach( at );
   settle();
   lines_.entry(
      at,
      record.severity <= 4 ? Ink::alarm : Ink::message,
      "log " + severityName( record.severity ),
      fmt::format( "{}: {}", record.id, record.text ) );
}

void
TextReport::trace( Milliseconds at, TraceLineRecord const& record ) {
   account_->reach( at );
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
   account_->reach( at );
   settle();
   Ending const ending = { at,
                           record.isTimerLeft,
                           account_->ledger(),
                           account_->neverHeld(),
                           account_->forced(),
                           account_->wasConfigMissing(),
                           isNarrowed_ };
   printSummary( lines_, ending, account_->facts() );
}

} // namespace ostra
