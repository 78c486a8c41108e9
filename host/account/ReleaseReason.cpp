// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/ReleaseReason>

#include <host/account/PortStanding>
#include <host/base/Words>

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

// The entries of a collection that the patch removes, or of which `ends` holds.
template< class Ends >
Ids
entriesOf( Json const& patch, char const* collection, Ends ends ) {
   Ids ids;
   Json::json_pointer const path( collection );
   if ( patch.is_object() && patch.contains( path ) ) {
      for ( auto const& [ key, value ] : patch.at( path ).items() ) {
         if ( value.is_null() || ends( value ) ) {
            ids.emplace( key );
         }
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
   ended_[ 0 ] =
      entriesOf( event, "/mlagissuCause/intfStatus", []( Json const& ) { return false; } );
   ended_[ 1 ] =
      entriesOf( event, "/lacpConfig/portChannel", []( Json const& portChannel ) {
         return !portChannel.value( "stayInStandby", true );
      } );
}

std::string
ReleaseReason::of( Hold const& hold ) const {
   bool const isStandby = hold.kind == HoldKind::standby;
   if ( ended_[ isStandby ].contains( hold.id ) ) {
      return "by the event";
   }
   if ( isStandby ) {
      return common_;
   }
   if ( touches( "ethPhyIntfStatus" ) && !facts_.isPresent( hold.id ) ) {
      return "interface gone";
   }
   if ( touches( "lacpOverride" ) ) {
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
