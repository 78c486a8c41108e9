// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The end of the hold: by time, by configuration, by MLAG state.

#include <model/Machine>

namespace model {

void
Machine::release( bool mlag ) {
   if ( mlag ) {
      releaseMlag();
   } else {
      releaseNonMlag();
   }
}

void
Machine::releaseAll() {
   releaseMlag();
   releaseNonMlag();
}

bool
Machine::releaseMlagPorts() {
   bool left = false;
   // A copy: what is walked is what shrinks.
   for ( auto const& [ port, when ] : Table< double >( env_.mounts.mlagissuCause ) ) {
      if ( mlagLink( port ) ) {
         env_.causeDel( port );
         maybeTrackIntfStatus( port );
      } else {
         left = true;
      }
   }
   for ( auto const& [ portChannel, isStanding ] : lagsInStandby_ ) {
      if ( env_.mounts.lacpConfig.contains( portChannel ) ) {
         env_.stayInStandbyIs( portChannel, false );
      }
   }
   lagsInStandby_.clear();
   mlag_.timer.wakeIs( never );
   mlag_.held = false;
   checkErrdisable();
   return left;
}

void
Machine::releaseMlag() {
   auto const& config = env_.mounts.mlagConfig;
   if (
      releaseMlagPorts() && isNever( nonMlag_.timer.wake ) &&
      ( !config.reloadDelayNonMlagConfigured || !isNever( config.reloadDelayNonMlag ) ) ) {
      releaseNonMlag();
   }
}

void
Machine::releaseNonMlag() {
   for ( auto const& [ port, when ] : Table< double >( env_.mounts.mlagissuCause ) ) {
      if ( !mlagLink( port ) ) {
         env_.causeDel( port );
         maybeTrackIntfStatus( port );
      }
   }
   nonMlag_.timer.wakeIs( never );
   nonMlag_.held = false;
   checkErrdisable();
}

void
Machine::checkErrdisable() {
   if ( !mlag_.held && !nonMlag_.held ) {
      env_.portsErrdisabledIs( false );
      env_.portsErrdisabledWhenIs( never );
   }
}

void
Machine::onMlagState() {
   int const state = env_.mounts.mlagState;
   if ( state == 4 ) {
      secondaryPrev_ = true;
   }
   if (
      state == 3 || ( state == 4 && !env_.mounts.holdInSecondary ) ||
      ( state == 2 && secondaryPrev_ && env_.mounts.portsErrdisabled ) ) {
      releaseAll();
   }
}

void
Machine::onMlagConfig() {
   auto const& config = env_.mounts.mlagConfig;
   bool const isConfigured = !config.domainId.empty() && config.localInterface &&
      config.peerAddress != "0.0.0.0" && config.peerLinkIntf && config.enabled;
   if ( !isConfigured ) {
      releaseAll();
   }
}

} // namespace model
