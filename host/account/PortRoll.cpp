// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/PortRoll>

#include <host/state/MountTable>

#include <optional>
#include <utility>

namespace ostra {

using Kovel::IntfId;
using Kind = PortStanding::Kind;

namespace {

// What a port of that kind is, for which it is never held; null for others.
char const*
neverHeldRole( Kind kind ) {
   switch ( kind ) {
   case Kind::internal:
      return "internal";
   case Kind::management:
      return "for management";
   case Kind::peerLink:
      return "in the peer link";
   case Kind::held:
   case Kind::standby:
   case Kind::notHeld:
      break;
   }
   return nullptr;
}

} // namespace

void
PortRoll::event( Milliseconds at, Json const& patch ) {
   appearing_.clear();
   std::optional< Standings > standings;
   Json const& statuses = memberAt( patch, { mount::ethPhyIntfStatus, "intfStatus" } );
   for ( auto const& [ key, value ] : statuses.items() ) {
      IntfId const port( key );
      if ( value.is_null() && facts_.isPresent( port ) ) {
         depart(
            at,
            standings ? *standings : standings.emplace( facts_, ledger_, false ),
            port );
      } else if ( value.is_null() ) {
         told_.erase( port );
         endHeld( port );
      } else if ( !facts_.isPresent( port ) ) {
         appearing_.push_back( port );
      }
   }
}

// Whether the port was held.
bool
PortRoll::endHeld( IntfId port ) {
   bool const wasHeld = held_.erase( port ) > 0;
   if ( wasHeld ) {
      heldBefore_.insert( port );
   }
   return wasHeld;
}

void
PortRoll::depart( Milliseconds at, Standings const& standings, IntfId port ) {
   Departure departure{ at, standings.classOf( port ), facts_.portChannelOf( port ) };
   auto const told = told_.find( port );
   bool const wasHeld = endHeld( port );
   if ( told != told_.end() ) {
      departure.whyNever =
         wasHeld || told->second.kind != Kind::notHeld ? "" : told->second.why;
      told_.erase( told );
   }
   departures_.insert_or_assign( port, std::move( departure ) );
}

void
PortRoll::hold( Hold const& hold ) {
   if ( hold.kind != HolderKind::standby ) {
      if ( !ledger_.isErrdisabled( hold.id ) ) {
         releasedNow_.insert( hold.id );
      }
      // One that has just gone comes back as another port.
      ( facts_.isPresent( hold.id ) ? held_ : heldBefore_ ).insert( hold.id );
      told_.erase( hold.id );
   }
}

PortRoll::Ports
PortRoll::portsToTell( bool isFirst ) {
   bool const isThere = facts_.isMachineThere();
   isStart_ = !std::exchange( wasMachineThere_, isThere ) && isThere;
   Ports appearing = std::exchange( appearing_, {} );
   return isStart_ || isFirst ? facts_.ports() : appearing;
}

// Of a port that was held nobody says that it never is.
PortStanding
PortRoll::standingOf( Standings const& standings, IntfId port ) const {
   PortStanding standing = standings.of( port );
   char const* const role = neverHeldRole( standing.kind );
   return role && wasEverHeld( port )
      ? PortStanding{ Kind::notHeld, standing.portChannel, role }
      : standing;
}

PortCensus
PortRoll::call( bool isFirst ) {
   PortCensus census;
   // To clear it would be to go through all buckets of the largest batch, each time.
   auto const releasedNow = std::exchange( releasedNow_, {} );
   Ports const ports = portsToTell( isFirst );
   if ( !ports.empty() ) {
      Standings const standings( facts_, ledger_, isStart_ );
      for ( IntfId const port : ports ) {
         PortStanding const standing = standingOf( standings, port );
         if ( standing.kind == Kind::held || releasedNow.contains( port ) ) {
            continue;
         }
         auto const [ told, isNew ] = told_.try_emplace( port, standing );
         if ( isNew || told->second != standing ) {
            told->second = standing;
            census.add( port, standing );
         }
      }
   }
   return census;
}

PortCensus
PortRoll::neverHeld() const {
   Standings const standings( facts_, ledger_, false );
   PortCensus census;
   for ( IntfId const port : facts_.ports() ) {
      auto const found = told_.find( port );
      bool const wasHeld = found == told_.end() || held_.contains( port );
      if ( wasHeld || standings.of( port ).kind != Kind::notHeld ) {
         continue;
      }
      PortStanding const& told = found->second;
      if ( told.kind == Kind::notHeld ) {
         census.add( port, told );
      } else if ( told.kind == Kind::peerLink ) {
         census.add( port, { Kind::notHeld, {}, "in the peer link before" } );
      } else if ( ledger_.isInStandby( told.portChannel ) ) {
         census.add(
            port, { Kind::notHeld, {}, "its port-channel in LACP standby before" } );
      }
   }
   return census;
}

} // namespace ostra
