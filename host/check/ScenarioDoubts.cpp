// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is odd about a scenario when all of it is known.

#include <host/check/ScenarioReview>

#include <host/base/IntfRanges>
#include <host/check/IntfKinds>
#include <host/state/MountTable>

#include <fmt/format.h>

#include <iterator>
#include <utility>

namespace ostra {

namespace {

std::string
absence( std::string const& names, std::size_t = 1 ) {
   return fmt::format( "no status in {}: {}", mount::ethPhyIntfStatus, names );
}

} // namespace

std::vector< Doubt >
ScenarioReview::doubts() {
   checkSettings();
   checkStatuses();
   checkPeerLinks();
   checkConfigurations();
   checkPresence();
   checkMlagIds();
   checkNonMlagDelay();
   return std::move( doubts_ );
}

bool
ScenarioReview::exists( Id id ) const {
   return joined_.count( id ) || peerLinks_.count( id ) || isSeen( lags, id ) ||
      isSeen( ports, id );
}

// Those of the collection of which `isOdd` holds, in one at the first of them. `what` takes
// their names, and how many they are.
template< class IsOdd, class What >
void
ScenarioReview::doubtTogether( Collection collection, IsOdd isOdd, What what ) {
   std::vector< Id > odd;
   for ( auto const& [ id, patch ] : seen_[ collection ] ) {
      if ( isOdd( id ) ) {
         odd.push_back( id );
      }
   }
   if ( !odd.empty() ) {
      Id const first = odd.front();
      doubtKey(
         seen_[ collection ].at( first ),
         collection,
         first,
         what( intfRanges( odd ), odd.size() ) );
   }
}

void
ScenarioReview::checkSettings() {
   for ( int i = 0; i < collectionCount; ++i ) {
      Keys const& keys = collections[ std::size_t( i ) ];
      if ( !keys.isSetting ) {
         continue;
      }
      for ( bool const areLags : { false, true } ) {
         doubtTogether(
            Collection( i ),
            [ & ]( Id id ) {
               return isPortChannel( id ) == areLags && keys.takes( id ) && !exists( id );
            },
            [ & ]( std::string const& names, std::size_t count ) {
               return areLags
                  ? fmt::format(
                       "no port is a member of {}, and {} does not have {}",
                       names,
                       mount::lagInputIntfStatus,
                       count == 1 ? "it" : "them" )
                  : fmt::format( "{} {} never present", names, count == 1 ? "is" : "are" );
            } );
      }
   }
}

void
ScenarioReview::checkStatuses() {
   auto const isAlone = [ this ]( Id id ) {
      bool const isNamed = joined_.count( id ) || peerLinks_.count( id ) ||
         isSeen( mlags, id ) || isSeen( overrides, id ) || isSeen( lacps, id ) ||
         isSeen( snooped, id );
      return !isNamed && isPortChannel( id );
   };
   doubtTogether( lags, isAlone, []( std::string const& names, std::size_t count ) {
      return fmt::format(
         "no port is a member of {}, and nothing else has {}",
         names,
         count == 1 ? "it" : "them" );
   } );
}

// A port-channel that has members and no MLAG id may be the one that was meant.
void
ScenarioReview::checkPeerLinks() {
   std::vector< Id > likely;
   for ( auto const& [ id, patch ] : joined_ ) {
      if ( isPortChannel( id ) && !isSeen( mlags, id ) && !peerLinks_.count( id ) ) {
         likely.push_back( id );
      }
   }
   for ( auto const& [ id, patch ] : peerLinks_ ) {
      Path const path{ mount::mlagConfig, "peerLinkIntf" };
      if ( isSeen( mlags, id ) ) {
         doubt( patch, path, fmt::format( "{} has an MLAG id, too", id.string() ) );
      }
      if ( isPortChannel( id ) && !joined_.count( id ) && !likely.empty() ) {
         doubt(
            patch,
            path,
            fmt::format(
               "no port is a member of {}; with members and without an MLAG id: {}",
               id.string(),
               intfRanges( likely ) ) );
      }
   }
}

void
ScenarioReview::checkConfigurations() {
   auto const isWithout = [ this ]( Id id ) {
      return id.kind() == Id::Kind::ethernet && !isSeen( portConfigs, id );
   };
   doubtTogether( ports, isWithout, []( std::string const& names, std::size_t ) {
      return fmt::format( "no configuration in {}: {}", mount::ethPhyIntfConfig, names );
   } );
}

// Ports that are named and never become present, in one for each place where they are.
void
ScenarioReview::checkPresence() {
   auto const isAbsent = [ this ]( Id id ) { return isPort( id ) && !isSeen( ports, id ); };
   for ( Collection const collection : { portConfigs, lagConfigs, causes } ) {
      doubtTogether( collection, isAbsent, absence );
   }
   for ( auto const& [ id, patch ] : peerLinks_ ) {
      if ( isAbsent( id ) ) {
         doubt( patch, { mount::mlagConfig, "peerLinkIntf" }, absence( id.string() ) );
      }
   }
}

// An id pairs one port-channel here with one of the peer.
void
ScenarioReview::checkMlagIds() {
   for ( auto const& [ mlagId, ids ] : mlagIds_ ) {
      std::vector< Id > const others( std::next( ids.begin() ), ids.end() );
      if ( !others.empty() ) {
         std::string const first = ids.begin()->string();
         doubt(
            Doubt::mounts,
            { mount::mlagConfig, "intfConfig", others.front().string(), "mlagId" },
            others.size() == 1
               ? fmt::format( "{} has the same MLAG id", first )
               : fmt::format( "{} have the MLAG id of {}", intfRanges( others ), first ) );
      }
   }
}

void
ScenarioReview::checkNonMlagDelay() {
   if ( !nonMlagConfigured_ && !nonMlagDelays_.empty() ) {
      doubt(
         nonMlagDelays_.front(),
         { mount::mlagConfig, "reloadDelayNonMlag" },
         "has no effect without reloadDelayNonMlagConfigured" );
   }
}

} // namespace ostra
