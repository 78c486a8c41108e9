// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/ReleaseReason>

#include <host/Words>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

// Why a switch in that state releases what it holds; empty for one that waits.
std::string
whyStateReleases( SwitchFacts const& facts ) {
   if ( !facts.missingConfig().empty() ) {
      return "MLAG not configured";
   }
   if ( facts.isPrimary() ) {
      return "MLAG is primary";
   }
   return facts.isSecondary() && !facts.holdsInSecondary() ? "secondary without hold" : "";
}

} // namespace

std::string
whyNothingIsHeld( SwitchFacts const& facts ) {
   auto const missing = facts.missingConfig();
   if ( !missing.empty() ) {
      return fmt::format(
         "MLAG is not configured, missing {}", fmt::join( missing, ", " ) );
   }
   if ( auto why = whyStateReleases( facts ); !why.empty() ) {
      return why;
   }
   return facts.isDelayRunning() ? "no port to hold is there yet" : "its delays are over";
}

ReleaseReason::ReleaseReason(
   SwitchFacts const& facts, HoldLedger const& ledger, Json const& event, bool starting )
      : facts_( facts ),
        ledger_( ledger ),
        event_( event ),
        starting_( starting ),
        common_( ofAll() ) {}

std::string
ReleaseReason::of( Hold const& hold ) const {
   bool const isPort = hold.kind != HoldKind::standby;
   if ( isPort && touches( "ethPhyIntfStatus" ) && !facts_.isPresent( hold.id ) ) {
      return "interface gone";
   }
   if ( isPort && hold.portChannel && ledger_.isHeld( hold.portChannel ) ) {
      return "in LACP standby instead";
   }
   return common_;
}

bool
ReleaseReason::touchesDelay() const {
   if ( !touches( "mlagConfig" ) ) {
      return false;
   }
   auto const& config = event_.at( "mlagConfig" ).items();
   return std::any_of( config.begin(), config.end(), []( auto const& item ) {
      return item.key().starts_with( "reloadDelay" );
   } );
}

std::string
ReleaseReason::ofAll() const {
   if ( starting_ || touches( "agent" ) ) {
      auto const why = whyStateReleases( facts_ );
      return why.empty() ? "delay was over" : why;
   }
   return event_.is_null() ? "delay over" : ofEvent();
}

std::string
ReleaseReason::ofEvent() const {
   if ( touches( "mlagConfig" ) && !facts_.missingConfig().empty() ) {
      return "MLAG not configured";
   }
   if ( touches( "mlagStatus" ) ) {
      return "MLAG became " + mlagStateName( facts_.mlagState() );
   }
   return touchesDelay() ? "delay changed" : "by the event";
}

} // namespace ostra
