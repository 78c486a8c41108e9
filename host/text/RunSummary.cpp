// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/RunSummary>

namespace ostra {

void
SummarySink::start( StartRecord const& record, StateView const& state ) {
   summary_.name = record.name;
   summary_.startTime = record.startTime;
   account_ = std::make_unique< RunAccount >( state );
}

void
SummarySink::write( Milliseconds at, WriteRecord const& record ) {
   account_->write( at, record );
}

void
SummarySink::event( Milliseconds at, EventRecord const& record ) {
   account_->event( at, record.patch() );
}

void
SummarySink::log( Milliseconds at, LogMessageRecord const& record ) {
   summary_.announcements.emplace_back( at, record );
}

void
SummarySink::trace( Milliseconds, TraceLineRecord const& ) {}

RunSummary::Waiting
SummarySink::waiting( PortClass portClass ) const {
   return { account_->facts().delay( portClass ), account_->periods( portClass ) };
}

void
SummarySink::end( Milliseconds at, EndRecord const& record ) {
   account_->reach( at );
   account_->settle();
   SwitchFacts const& facts = account_->facts();
   summary_.end = at;
   summary_.isTimerLeft = record.isTimerLeft;
   summary_.mlag = waiting( PortClass::mlag );
   summary_.nonMlag = waiting( PortClass::nonMlag );
   summary_.interfaces = portAccounts( *account_, record.isTimerLeft );
   if ( account_->wasConfigMissing() ) {
      summary_.missingConfig = facts.missingConfig();
   }
   summary_.forced = account_->forced();
}

void
SummarySink::alarmsAre( std::vector< Alarm > alarms ) {
   summary_.alarms = std::move( alarms );
   print_( summary_ );
}

} // namespace ostra
