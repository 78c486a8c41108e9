// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The release of held ports: by class, and early when MLAG's configuration or state makes
// the delay pointless.

#include <Mlag/SmQuestions>

namespace Mlag::Ostra {

void
MlagErrdisableSm::handleMlagConfig() {
   trace( 8, __PRETTY_FUNCTION__ );
   auto const config = mlagConfig();
   bool const configured = !config->domainId().empty() && config->localInterface() &&
      config->peerAddress() && config->peerLinkIntf() && config->enabled();
   if ( !configured ) {
      doClearErrdisableIntfStatus();
   }
}

void
MlagErrdisableSm::handleMlagState() {
   MlagState const state = mlagStatus()->mlagState();
   trace( 8, __PRETTY_FUNCTION__, " state is ", state );
   if ( state == MlagState::mlagSecondary ) {
      secondaryPrevIs( true );
   }
   bool const primary = state == MlagState::mlagPrimary;
   bool const freeSecondary =
      state == MlagState::mlagSecondary && !mlagProtoStatus_->holdInSecondary();
   bool const formerSecondary = state == MlagState::mlagInactive && secondaryPrev_ &&
      mlagProtoStatus_->portsErrdisabled();
   if ( primary || freeSecondary || formerSecondary ) {
      doClearErrdisableIntfStatus();
   }
}

void
MlagErrdisableSm::doClearErrdisableIntfStatus() {
   trace( 8, __PRETTY_FUNCTION__ );
   doClearErrdisableMlagIntfStatus();
   doClearErrdisableNonMlagIntfStatus();
}

void
MlagErrdisableSm::releaseClass( PortClass ports ) {
   if ( ports == PortClass::mlag ) {
      doClearErrdisableMlagIntfStatus();
   } else {
      doClearErrdisableNonMlagIntfStatus();
   }
}

void
MlagErrdisableSm::doClearErrdisableMlagIntfStatus() {
   trace( 8, __PRETTY_FUNCTION__ );
   bool const left = doClearErrdisableMlagIntfStatus_();
   auto const config = mlagConfig();
   bool const endless = config->reloadDelayNonMlagConfigured() &&
      Ryx::isInfinite( config->reloadDelayNonMlag() );
   if ( left && Ryx::isInfinite( wakeTime( PortClass::nonMlag ) ) && !endless ) {
      doClearErrdisableNonMlagIntfStatus();
   }
}

bool
MlagErrdisableSm::doClearErrdisableMlagIntfStatus_() {
   bool const left = releasePorts( PortClass::mlag );
   for ( auto it = lagsInStandbyIterator(); it; ++it ) {
      Kovel::IntfId const portChannel = it.key();
      trace( 8, "releasing stayInStandby for ", portChannel );
      writes_.endStandby( portChannel );
   }
   wakeTimeIs( PortClass::mlag, Ryx::never );
   mlagPortsErrdisabledIs( false );
   doCheckErrdisable();
   return left;
}

void
MlagErrdisableSm::doClearErrdisableNonMlagIntfStatus() {
   trace( 8, __PRETTY_FUNCTION__ );
   releasePorts( PortClass::nonMlag );
   wakeTimeIs( PortClass::nonMlag, Ryx::never );
   nonMlagPortsErrdisabledIs( false );
   doCheckErrdisable();
}

bool
MlagErrdisableSm::releasePorts( PortClass ports ) {
   bool left = false;
   for ( auto it = mlagissuCause_->intfStatusIteratorConst(); it; ++it ) {
      Kovel::IntfId const intfId = it.key();
      if ( classOf( membershipOf( intfId ) ) == ports ) {
         writes_.release( intfId );
         maybeTrackIntfStatus( intfId );
      } else {
         left = true;
      }
   }
   return left;
}

void
MlagErrdisableSm::doCheckErrdisable() {
   trace(
      8,
      __PRETTY_FUNCTION__,
      " mlag ",
      mlagPortsErrdisabled_,
      " non-mlag ",
      nonMlagPortsErrdisabled_ );
   if ( mlagPortsErrdisabled_ || nonMlagPortsErrdisabled_ ) {
      return;
   }
   trace( 8, "Clearing errdisabled state " );
   mlagProtoStatus_->portsErrdisabledIs( false );
   mlagProtoStatus_->portsErrdisabledWhenIs( Ryx::never );
}

} // namespace Mlag::Ostra
