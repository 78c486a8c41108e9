// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The interfaces' configurations and statuses.

#include <types/AttributeLists>

#include <Interface/EthLagIntfConfig>
#include <Interface/EthLagIntfStatus>
#include <Interface/EthPhyIntfStatus>
#include <Interface/PeerIntfStatus>
#include <Interface/VlanIntfConfig>

#include <gtest/gtest.h>

#include <sstream>

namespace {

using types::Names;
using types::slots;
using types::operator+;

TEST( InterfaceIntfConfig, DeclaresItsAttributesInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Interface::IntfConfig" ),
      ( Names{ "isNondestructing",
               "defaultConfig",
               "description",
               "linkStatusLogging",
               "adminEnabledStateLocal",
               "enabledStateLocal",
               "enabledStateReason",
               "loadInterval",
               "requestor",
               "mtu" } ) );
}

TEST( InterfaceIntfConfig, CallbacksStandInTheOrderOfTheAttributes ) {
   using N = Interface::IntfConfig::NotifieeConst;
   auto const callbacks = slots( &N::onDefaultConfig ) + slots( &N::onDescription ) +
      slots( &N::onLinkStatusLogging ) + slots( &N::onAdminEnabledStateLocal ) +
      slots( &N::onEnabledStateLocal ) + slots( &N::onEnabledStateReason ) +
      slots( &N::onLoadInterval ) +
      slots( &N::onRequestor, &N::onRequestorryxImmediate, &N::onRequestor ) +
      slots( &N::onMtu );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 11 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Interface::IntfConfig >() );
}

TEST( InterfaceIntfConfig, IsNamedAfterItsInterfaceAndStartsUnset ) {
   auto const config = Ryx::make< Interface::IntfConfig >( Kovel::IntfId( "Ethernet3" ) );
   EXPECT_EQ( config->intfId(), Kovel::IntfId( "Ethernet3" ) );
   EXPECT_EQ( config->name(), Ryx::Name( "Ethernet3" ) );
   EXPECT_FALSE( config->defaultConfig() );
   EXPECT_EQ(
      config->adminEnabledStateLocal(), Interface::IntfEnabledState::unknownEnabledState );
}

TEST( InterfaceIntfConfig, IsTheBaseOfLagAndVlanConfigurationsThatDeclareNothing ) {
   for ( char const* name :
         { "Interface::EthLagIntfConfig", "Interface::VlanIntfConfig" } ) {
      EXPECT_EQ( types::ownAttributes( name ), Names() ) << name;
      EXPECT_EQ(
         types::inheritedAttributes( name ),
         types::ownAttributes( "Interface::IntfConfig" ) )
         << name;
   }
}

TEST( InterfaceIntfStatus, DeclaresItsAttributesInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Interface::IntfStatus" ),
      ( Names{ "isNondestructing",
               "intfConfig",
               "deviceName",
               "forwardingModel",
               "forwardingModelInputs",
               "mtu",
               "maxMtu",
               "operStatus",
               "operStatusChange",
               "operStatusUpdatedByAgent",
               "active" } ) );
}

TEST( InterfaceIntfStatus, CallbacksStandInTheOrderOfTheAttributes ) {
   using N = Interface::IntfStatus::NotifieeConst;
   auto const callbacks = slots( &N::onIntfConfig ) + slots( &N::onDeviceName ) +
      slots( &N::onForwardingModel ) +
      slots( &N::onForwardingModelInputs,
             &N::onForwardingModelInputsryxImmediate,
             &N::onForwardingModelInputs ) +
      slots( &N::onMtu ) + slots( &N::onMaxMtu ) + slots( &N::onOperStatus ) +
      slots( &N::onOperStatusChange ) + slots( &N::onOperStatusUpdatedByAgent ) +
      slots( &N::onActive );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 12 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Interface::IntfStatus >() );
}

TEST( InterfaceEthIntfStatus, AddsItsAttributesInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Interface::EthIntfStatus" ),
      ( Names{ "addr",
               "routedAddr",
               "rawLinkStatus",
               "linkStatus",
               "lastLinkStatusChangeTime",
               "linkStatusChanges",
               "portId",
               "l2Mtu",
               "macRxRemoteFault",
               "macRxRemoteFaultChanges",
               "lastMacRxRemoteFaultChange",
               "macRxLocalFault",
               "macRxLocalFaultChanges",
               "lastMacRxLocalFaultChange",
               "macLayerAdditionalStatus" } ) );
   EXPECT_EQ(
      types::inheritedAttributes( "Interface::EthIntfStatus" ),
      types::ownAttributes( "Interface::IntfStatus" ) );
}

TEST( InterfaceEthIntfStatus, CallbacksStandBehindThoseOfItsBase ) {
   using Base = Interface::IntfStatus::NotifieeConst;
   using N = Interface::EthIntfStatus::NotifieeConst;
   auto const callbacks = slots( &N::onAddr ) + slots( &N::onRoutedAddr ) +
      slots( &N::onRawLinkStatus ) + slots( &N::onLinkStatus ) +
      slots( &N::onLastLinkStatusChangeTime ) + slots( &N::onLinkStatusChanges ) +
      slots( &N::onPortId ) + slots( &N::onL2Mtu ) + slots( &N::onMacRxRemoteFault ) +
      slots( &N::onMacRxRemoteFaultChanges ) + slots( &N::onLastMacRxRemoteFaultChange ) +
      slots( &N::onMacRxLocalFault ) + slots( &N::onMacRxLocalFaultChanges ) +
      slots( &N::onLastMacRxLocalFaultChange ) +
      slots( &N::onMacLayerAdditionalStatus,
             &N::onMacLayerAdditionalStatusryxImmediate,
             &N::onMacLayerAdditionalStatus );
   EXPECT_EQ( callbacks, support::slotsFrom( support::slotOf( &Base::onActive ) + 1, 17 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Interface::EthIntfStatus >() );
}

TEST( InterfaceEthLagIntfStatus, AddsItsAttributesInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Interface::EthLagIntfStatus" ),
      ( Names{ "member",
               "membersAreActive",
               "speed",
               "localDeviceName",
               "fallbackEnabled",
               "debugFallbackSmState",
               "minLinks",
               "maxBundle" } ) );
   EXPECT_EQ(
      types::inheritedAttributes( "Interface::EthLagIntfStatus" ),
      types::ownAttributes( "Interface::EthIntfStatus" ) );
}

TEST( InterfaceEthLagIntfStatus, CallbacksStandBehindThoseOfItsBase ) {
   using Base = Interface::EthIntfStatus::NotifieeConst;
   using N = Interface::EthLagIntfStatus::NotifieeConst;
   void ( Base::*const last )() = &Base::onMacLayerAdditionalStatus;
   auto const callbacks = slots( &N::onMember, &N::onMemberryxImmediate, &N::onMember ) +
      slots( &N::onMembersAreActive ) + slots( &N::onSpeed ) +
      slots( &N::onLocalDeviceName ) + slots( &N::onFallbackEnabled ) +
      slots( &N::onDebugFallbackSmState ) + slots( &N::onMinLinks ) +
      slots( &N::onMaxBundle );
   EXPECT_EQ( callbacks, support::slotsFrom( support::slotOf( last ) + 1, 10 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Interface::EthLagIntfStatus >() );
}

TEST( InterfaceEthIntfStatus, IsTheBaseOfPeerAndPhysicalStatusesThatDeclareNothing ) {
   for ( char const* name :
         { "Interface::PeerIntfStatus", "Interface::EthPhyIntfStatus" } ) {
      EXPECT_EQ( types::ownAttributes( name ), Names() ) << name;
      EXPECT_EQ(
         types::inheritedAttributes( name ),
         types::ownAttributes( "Interface::EthIntfStatus" ) )
         << name;
   }
}

TEST( InterfaceEthIntfStatus, StartsWithAnUnknownLink ) {
   Kovel::IntfId const id( "Port-Channel7" );
   auto const status = Ryx::make< Interface::EthLagIntfStatus >( id );
   EXPECT_EQ( status->linkStatus(), Interface::LinkStatus::linkUnknown );
   EXPECT_EQ( status->intfId(), id );
   EXPECT_EQ( status->name(), Ryx::Name( "Port-Channel7" ) );
}

TEST( InterfaceLinkStatus, HasItsEnumeratorsFromZeroAndPrintsThem ) {
   EXPECT_EQ( static_cast< int >( Interface::LinkStatus::linkUnknown ), 0 );
   EXPECT_EQ( static_cast< int >( Interface::LinkStatus::linkDown ), 1 );
   EXPECT_EQ( static_cast< int >( Interface::LinkStatus::linkUp ), 2 );
   EXPECT_EQ(
      support::type( "Interface::LinkStatus" ).enumerators(),
      ( std::vector< Ryx::Name >{ "linkUnknown", "linkDown", "linkUp" } ) );
   std::ostringstream out;
   out << Interface::LinkStatus::linkUp;
   EXPECT_EQ( out.str(), "linkUp" );
}

TEST( InterfaceIntfEnabledState, HasItsEnumeratorsFromZeroAndPrintsThem ) {
   EXPECT_EQ( static_cast< int >( Interface::IntfEnabledState::unknownEnabledState ), 0 );
   EXPECT_EQ( static_cast< int >( Interface::IntfEnabledState::enabled ), 1 );
   EXPECT_EQ( static_cast< int >( Interface::IntfEnabledState::shutdown ), 2 );
   EXPECT_EQ(
      support::type( "Interface::IntfEnabledState" ).enumerators(),
      ( std::vector< Ryx::Name >{ "unknownEnabledState", "enabled", "shutdown" } ) );
   std::ostringstream out;
   out << Interface::IntfEnabledState::shutdown;
   EXPECT_EQ( out.str(), "shutdown" );
}

} // namespace
