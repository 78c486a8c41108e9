// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <fuzz/plugin/Switch>

#include <Kovel/InternalIntfId>
#include <Kovel/MgmtIntfId>
#include <Mlag/SmReactors>
#include <Ryx/Activity>

#include <algorithm>
#include <cmath>

namespace fuzz {

Switch::Switch()
      : peerIntfStatusDir( Ryx::make< Interface::PeerIntfStatusDir >( "peer" ) ),
        ethIntfStatusDir( Ryx::make< Interface::EthIntfStatusDir >( "eth" ) ),
        allIntfStatusDir( Ryx::make< Interface::AllIntfStatusDir >( "all" ) ) {
   Ryx::timeSourceIs( this );
}

Switch::~Switch() {
   onInstant = nullptr;
   stopAgent();
   Ryx::timeSourceIs( nullptr );
}

void
Switch::advance( std::int64_t ms ) {
   auto const clock = Ryx::activityManager()->clock();
   std::int64_t const target = ms_ + ms;
   double const last = static_cast< double >( target ) / 1000.0;
   for ( Ryx::Seconds due; ( due = clock->nextTimeMin() ) <= last; ) {
      auto at = static_cast< std::int64_t >( std::floor( due * 1000.0 ) ) - 1;
      while ( static_cast< double >( at ) / 1000.0 < due ) {
         ++at;
      }
      ms_ = std::max( ms_, at );
      clock->handleTime();
      if ( onInstant ) {
         onInstant();
      }
   }
   ms_ = std::max( ms_, target );
}

Ryx::Ptr< Machine >
Switch::machine() const {
   return agent ? agent->mlagErrdisableSm() : nullptr;
}

void
Switch::startMachine() {
   if ( !agent ) {
      agent = OstraMlag::agentFactory( "agent" );
   }
   // Kept, so that a new machine is not taken for it.
   auto const before = machine();
   starting = true;
   auto const after = setIn( *agent );
   starting = false;
   if ( before != after ) {
      nonMlagTimerIsOld = false;
      ++generation;
   }
}

void
Switch::stopMachine() {
   if ( agent ) {
      agent->mlagErrdisableSmDel();
      ++generation;
   }
}

void
Switch::startPeerReactor() {
   if ( !agent ) {
      agent = OstraMlag::agentFactory( "agent" );
   }
   agent->ethPeerIntfStatusReactorIs(
      peerIntfStatusDir, ethIntfStatusDir, allIntfStatusDir );
}

void
Switch::stopAgent() {
   agent = nullptr;
   ++generation;
}

bool
Switch::isExempt( Kovel::IntfId id ) {
   return Kovel::InternalIntfId::isInternalIntfId( id ) ||
      Kovel::MgmtIntfId::isMgmtIntfId( id );
}

bool
Switch::isPresent( Kovel::IntfId id ) const {
   return bool( ethPhyIntfStatus->intfStatus( id ) );
}

Kovel::IntfId
Switch::portChannelOf( Kovel::IntfId id ) const {
   auto const member = lagInputConfig->phyIntf( id );
   return member && member->lag() ? member->lag()->intfId() : Kovel::IntfId();
}

bool
Switch::isPeerLink( Kovel::IntfId id ) const {
   auto const link = mlagConfig->peerLinkIntf();
   return link && ( link->intfId() == id || link->intfId() == portChannelOf( id ) );
}

bool
Switch::isMlag( Kovel::IntfId id ) const {
   Kovel::IntfId const portChannel = portChannelOf( id );
   return !mlagConfig->intfConfig( portChannel ? portChannel : id ).mlagId.empty();
}

Ryx::Seconds
Switch::delay( bool mlag ) const {
   return !mlag && mlagConfig->reloadDelayNonMlagConfigured()
      ? mlagConfig->reloadDelayNonMlag()
      : mlagConfig->reloadDelay();
}

Ryx::Seconds
Switch::wakeTime( Machine& machine, bool mlag ) {
   Ryx::Seconds wake = 0;
   machine.forEachReactor( [ & ]( auto& reactor ) {
      using R = std::remove_cvref_t< decltype( reactor ) >;
      if constexpr ( std::is_same_v< R, Machine::RyxClockMlag > ) {
         wake = mlag ? reactor.timeMin() : wake;
      } else if constexpr ( std::is_same_v< R, Machine::RyxClockNonMlag > ) {
         wake = mlag ? wake : reactor.timeMin();
      }
   } );
   return wake;
}

bool
Switch::isHeld( Machine& machine, bool mlag ) {
   return mlag ? machine.mlagPortsErrdisabled() : machine.nonMlagPortsErrdisabled();
}

} // namespace fuzz
