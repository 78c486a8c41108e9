// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which handler each notification of the state machine's reactors calls.

#include <Mlag/MlagErrdisableSm>
#include <Mlag/SmDiagnostics>

namespace Mlag::Ostra {

using Sm = MlagErrdisableSm;

void
Sm::intfConfigNotify( Kovel::IntfId, Ryx::Ptr< RyxIntfConfig > const& removed ) {
   removed->ryxDoZombieReactors( true );
   removed->mlagErrdisableSmIs( nullptr );
}

void
Sm::lagIntfStatusNotify( Kovel::IntfId, Ryx::Ptr< RyxLagIntfStatus > const& removed ) {
   removed->ryxDoZombieReactors( true );
   removed->mlagErrdisableSmIs( nullptr );
}

void
Sm::RyxClockMlag::onTime() {
   forward( &Sm::handleClockMlag );
}

void
Sm::RyxClockMlag::handleNotifier() {
   forward( &Sm::handleClockMlag );
}

void
Sm::RyxClockNonMlag::onTime() {
   forward( &Sm::handleClockNonMlag );
}

void
Sm::RyxClockNonMlag::handleNotifier() {
   forward( &Sm::handleClockNonMlag );
}

void
Sm::RyxMlagConfig::onEnabled() {
   forward( &Sm::handleMlagConfig );
}

void
Sm::RyxMlagConfig::onDomainId() {
   forward( &Sm::handleMlagConfig );
}

void
Sm::RyxMlagConfig::onLocalInterface() {
   forward( &Sm::handleMlagConfig );
}

void
Sm::RyxMlagConfig::onPeerAddress() {
   forward( &Sm::handleMlagConfig );
}

void
Sm::RyxMlagConfig::onPeerLinkIntf() {
   forward( &Sm::handleMlagConfig );
}

void
Sm::RyxMlagConfig::onIntfConfig( Kovel::IntfId intfId ) {
   forward( &Sm::handleMlagIntfConfig, intfId );
}

void
Sm::RyxMlagConfig::onIntfConfigryxImmediate() {}

void
Sm::RyxMlagConfig::onReloadDelay() {
   forward( &Sm::handleReloadDelay );
}

void
Sm::RyxMlagConfig::onReloadDelayNonMlag() {
   forward( &Sm::handleReloadDelayNonMlag );
}

void
Sm::RyxMlagConfig::handleNotifier() {
   forward( &Sm::handleMlagConfig );
   forward( &Sm::handleReloadDelay );
   forward( &Sm::handleReloadDelayNonMlag );
}

void
Sm::RyxMlagStatus::onMlagState() {
   forward( &Sm::handleMlagState );
}

void
Sm::RyxMlagStatus::handleNotifier() {
   forward( &Sm::handleMlagState );
}

void
Sm::RyxEthPhyIntfStatus::onIntfStatus( Kovel::IntfId intfId ) {
   forward(
      static_cast< void ( Sm::* )( Kovel::IntfId ) >( &Sm::handleIntfStatus ), intfId );
}

void
Sm::RyxEthPhyIntfStatus::onIntfStatusryxImmediate() {}

void
Sm::RyxEthPhyIntfStatus::handleNotifier() {}

void
Sm::RyxEthPhyIntfConfig::onIntfConfig( Kovel::IntfId intfId ) {
   if ( !watched() ) {
      return;
   }
   if ( auto const config = watched()->intfConfig( intfId ) ) {
      forward( &Sm::intfConfigIs, config );
   } else {
      forward( &Sm::intfConfigDel, intfId );
   }
}

void
Sm::RyxEthPhyIntfConfig::onIntfConfigryxImmediate() {
   handleNotifier();
}

void
Sm::RyxEthPhyIntfConfig::handleNotifier() {
   auto const directory = notifier();
   if ( !directory ) {
      return;
   }
   for ( auto it = directory->intfConfigIteratorConst(); it; ++it ) {
      forward( &Sm::intfConfigIs, it->value() );
   }
}

void
Sm::RyxLagInputIntfStatus::handleNotifier() {}

void
Sm::RyxLacpOverride::onLagIdConfig( Kovel::IntfId intfId ) {
   forward( &Sm::handleLagIdConfig, intfId );
}

void
Sm::RyxLacpOverride::onLagIdConfigryxImmediate() {}

void
Sm::RyxLacpOverride::handleNotifier() {}

void
Sm::RyxIntfConfig::onAdminEnabledStateLocal() {
   if ( live() ) {
      Ryx::Ptr< Sm > const machine( owner() );
      handleAdminEnabledStateLocal();
   }
}

void
Sm::RyxIntfConfig::handleNotifier() {
   onAdminEnabledStateLocal();
}

void
Sm::RyxIntfConfig::handleAdminEnabledStateLocal() {
   // A reader of the trace may remove this reactor.
   Sm& machine = *Ryx::forcePointerAccess( owner() );
   Kovel::IntfId const intfId = watched() ? watched()->intfId() : Kovel::IntfId();
   trace( 8, __PRETTY_FUNCTION__, " for ", intfId );
   if (
      isManagementOrInternalInterface( intfId ) || !watched() ||
      !adminDisabled( *watched() ) ) {
      return;
   }
   if ( Kovel::IntfId const portChannel = machine.mlagPortChannelByMember( intfId ) ) {
      machine.igmpsnoopingConfig()->forceEnabledPortsDel( portChannel );
   }
}

void
Sm::RyxLagIntfStatus::onLinkStatus() {
   if ( live() ) {
      Ryx::Ptr< Sm > const machine( owner() );
      handleLagLinkStatus();
   }
}

void
Sm::RyxLagIntfStatus::handleNotifier() {
   onLinkStatus();
}

void
Sm::RyxLagIntfStatus::handleLagLinkStatus() {
   // The last step lets go of this reactor.
   Sm& machine = *Ryx::forcePointerAccess( owner() );
   Kovel::IntfId const portChannel = watched() ? watched()->intfId() : Kovel::IntfId();
   auto const link =
      watched() ? watched()->linkStatus() : Interface::LinkStatus::linkUnknown;
   trace( 8, __PRETTY_FUNCTION__, " for ", portChannel, "  ", link );
   if ( link == Interface::LinkStatus::linkUp ) {
      machine.igmpsnoopingConfig()->forceEnabledPortsDel( portChannel );
   }
   machine.lagIntfStatusDel( portChannel );
}

} // namespace Mlag::Ostra
