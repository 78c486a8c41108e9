// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/ReleaseReason>

#include <host/account/PortStanding>
#include <host/base/Words>
#include <host/state/MountTable>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

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

namespace {

using Ids = std::set< Kovel::IntfId >;

// The entries that the patch of a collection removes, or of which `ends` holds.
template< class Ends >
Ids
entriesOf( Json const& patch, Ends ends ) {
   Ids ids;
   for ( auto const& [ key, value ] : patch.items() ) {
      if ( value.is_null() || ends( value ) ) {
         ids.emplace( key );
      }
   }
   return ids;
}

} // namespace

ReleaseReason::ReleaseReason(
   SwitchFacts const& facts, HoldLedger const& ledger, Json const& event, bool starting )
      : facts_( facts ),
        ledger_( ledger ),
        event_( event ),
        starting_( starting ),
        common_( ofAll() ) {
   ended_[ 0 ] = entriesOf(
      memberAt( event, { mount::mlagissuCause, "intfStatus" } ),
      []( Json const& ) { return false; } );
   ended_[ 1 ] = entriesOf(
      memberAt( event, { mount::lacpConfig, "portChannel" } ),
      []( Json const& portChannel ) {
         return !portChannel.value( "stayInStandby", true );
      } );
}

std::string
ReleaseReason::of( Hold const& hold ) const {
   bool const isStandby = hold.kind == HolderKind::standby;
   if ( ended_[ isStandby ].contains( hold.id ) ) {
      return "by the event";
   }
   if ( isStandby ) {
      return common_;
   }
   if ( touches( mount::ethPhyIntfStatus ) && !facts_.isPresent( hold.id ) ) {
      return "interface gone";
   }
   if ( touches( mount::lacpOverride ) ) {
      Kovel::IntfId const portChannel = facts_.portChannelOf( hold.id );
      if ( portChannel && facts_.isMeantForStandby( portChannel ) ) {
         return ledger_.isInStandby( portChannel ) ? "in LACP standby instead"
                                                   : whyNotInStandby( facts_, portChannel );
      }
   }
   return common_;
}

bool
ReleaseReason::touchesDelay() const {
   if ( !touches( mount::mlagConfig ) ) {
      return false;
   }
   auto const& config = event_.at( mount::mlagConfig ).items();
   return std::any_of( config.begin(), config.end(), []( auto const& item ) {
      return item.key().starts_with( "reloadDelay" );
   } );
}

std::string
ReleaseReason::ofAll() const {
   if ( starting_ || touches( agentKey ) ) {
      auto const why = whyStateReleases( facts_ );
      return why.empty() ? "delay was over" : why;
   }
   return event_.is_null() ? "delay over" : ofEvent();
}

std::string
ReleaseReason::ofEvent() const {
   if ( touches( mount::mlagConfig ) && !facts_.missingConfig().empty() ) {
      return "MLAG not configured";
   }
   if ( touches( mount::mlagStatus ) ) {
      return "MLAG became " + mlagStateName( facts_.mlagState() );
   }
   return touchesDelay() ? "delay changed" : "by the event";
}

} // namespace ostra
