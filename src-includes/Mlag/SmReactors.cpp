// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which handler each notification of the state machine's reactors calls.

#include <Mlag/MlagErrdisableSm>
#include <Mlag/Scout>
#include <Mlag/SmDiagnostics>

namespace Mlag::Ostra {

using Sm = MlagErrdisableSm;

void
SmReactors::RyxClockMlag::onTime() {
   forward( &Sm::handleClockMlag );
}

void
SmReactors::RyxClockMlag::handleNotifier() {
   forward( &Sm::handleClockMlag );
}

void
SmReactors::RyxClockNonMlag::onTime() {
   forward( &Sm::handleClockNonMlag );
}

void
SmReactors::RyxClockNonMlag::handleNotifier() {
   forward( &Sm::handleClockNonMlag );
}

void
SmReactors::RyxMlagConfig::onEnabled() {
   forward( &Sm::handleMlagConfig );
}

void
SmReactors::RyxMlagConfig::onDomainId() {
   forward( &Sm::handleMlagConfig );
}

void
SmReactors::RyxMlagConfig::onLocalInterface() {
   forward( &Sm::handleMlagConfig );
}

void
SmReactors::RyxMlagConfig::onPeerAddress() {
   forward( &Sm::handleMlagConfig );
}

void
SmReactors::RyxMlagConfig::onPeerLinkIntf() {
   forward( &Sm::handleMlagConfig );
}

void
SmReactors::RyxMlagConfig::onIntfConfig( Kovel::IntfId intfId ) {
   forward( &Sm::handleMlagIntfConfig, intfId );
}

void
SmReactors::RyxMlagConfig::onIntfConfigryxImmediate() {}

void
SmReactors::RyxMlagConfig::onReloadDelay() {
   forward( &Sm::handleReloadDelay );
}

void
SmReactors::RyxMlagConfig::onReloadDelayNonMlag() {
   forward( &Sm::handleReloadDelayNonMlag );
}

void
SmReactors::RyxMlagConfig::handleNotifier() {
   forward( &Sm::handleMlagConfig );
   forward( &Sm::handleReloadDelay );
   forward( &Sm::handleReloadDelayNonMlag );
}

void
SmReactors::RyxMlagStatus::onMlagState() {
   forward( &Sm::handleMlagState );
}

void
SmReactors::RyxMlagStatus::handleNotifier() {
   forward( &Sm::handleMlagState );
}

void
SmReactors::RyxEthPhyIntfStatus::onIntfStatus( Kovel::IntfId intfId ) {
   forward(
      static_cast< void ( Sm::* )( Kovel::IntfId ) >( &Sm::handleIntfStatus ), intfId );
}

void
SmReactors::RyxEthPhyIntfStatus::onIntfStatusryxImmediate() {}

void
SmReactors::RyxEthPhyIntfStatus::handleNotifier() {}

void
SmReactors::RyxEthPhyIntfConfig::onIntfConfig( Kovel::IntfId intfId ) {
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
SmReactors::RyxEthPhyIntfConfig::onIntfConfigryxImmediate() {
   handleNotifier();
}

void
SmReactors::RyxEthPhyIntfConfig::handleNotifier() {
   auto const directory = notifier();
   if ( !directory || !live() ) {
      return;
   }
   Ryx::Ptr< Sm > const machine( owner() );
   std::size_t const size = directory->intfConfigSize();
   machine->intfConfigReserve( size );
   Scout scout( directory->intfConfigIteratorConst(), size );
   // A handler of a reactor that is re-pointed may take this one from the machine.
   for ( auto it = directory->intfConfigIteratorConst(); it && live(); ++it ) {
      scout.step();
      machine->intfConfigIs( it->value() );
   }
}

void
SmReactors::RyxLagInputIntfStatus::handleNotifier() {}

void
SmReactors::RyxLacpOverride::onLagIdConfig( Kovel::IntfId intfId ) {
   forward( &Sm::handleLagIdConfig, intfId );
}

void
SmReactors::RyxLacpOverride::onLagIdConfigryxImmediate() {}

void
SmReactors::RyxLacpOverride::handleNotifier() {}

void
SmReactors::RyxIntfConfig::onAdminEnabledStateLocal() {
   if ( live() ) {
      Ryx::Ptr< Sm > const machine( owner() );
      handleAdminEnabledStateLocal();
   }
}

void
SmReactors::RyxIntfConfig::handleNotifier() {
   onAdminEnabledStateLocal();
}

void
SmReactors::RyxIntfConfig::handleAdminEnabledStateLocal() {
   // A reader of the trace may remove this reactor.
   Sm& machine = *Ryx::forcePointerAccess( owner() );
   Kovel::IntfId const intfId = watched() ? watched()->intfId() : Kovel::IntfId();
   trace(
      8,
      "void Mlag::Ostra::MlagErrdisableSm::RyxIntfConfig::handleAdminEnabledStateLocal()",
      " for ",
      intfId );
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
SmReactors::RyxLagIntfStatus::onLinkStatus() {
   if ( live() ) {
      Ryx::Ptr< Sm > const machine( owner() );
      handleLagLinkStatus();
   }
}

void
SmReactors::RyxLagIntfStatus::handleNotifier() {
   onLinkStatus();
}

void
SmReactors::RyxLagIntfStatus::handleLagLinkStatus() {
   // The last step lets go of this reactor.
   Sm& machine = *Ryx::forcePointerAccess( owner() );
   Kovel::IntfId const portChannel = watched() ? watched()->intfId() : Kovel::IntfId();
   auto const link =
      watched() ? watched()->linkStatus() : Interface::LinkStatus::linkUnknown;
   trace(
      8,
      "void Mlag::Ostra::MlagErrdisableSm::RyxLagIntfStatus::handleLagLinkStatus()",
      " for ",
      portChannel,
      "  ",
      link );
   if ( link == Interface::LinkStatus::linkUp ) {
      machine.igmpsnoopingConfig()->forceEnabledPortsDel( portChannel );
   }
   machine.lagIntfStatusDel( portChannel );
}

} // namespace Mlag::Ostra
