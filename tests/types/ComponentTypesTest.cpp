// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The state types of link aggregation, LACP, errdisable and IGMP snooping.

#include <types/AttributeLists>

#include <Bridging/IgmpSnooping/Config>
#include <Errdisable/CauseStatus>
#include <Lacp/Config>
#include <Lag/Input/Config>
#include <Lag/Input/LacpOverrideDir>

#include <gtest/gtest.h>

#include <sstream>

namespace {

using Kovel::IntfId;
using types::Names;
using types::slots;
using types::operator+;

TEST( ErrdisableCauseStatus, DeclaresItsAttributesAndCallbacksInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Errdisable::CauseStatus" ),
      ( Names{ "isNondestructing", "intfStatus" } ) );
   using N = Errdisable::CauseStatus::NotifieeConst;
   auto const callbacks =
      slots( &N::onIntfStatus, &N::onIntfStatusryxImmediate, &N::onIntfStatus );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 3 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Errdisable::CauseStatus >() );
}

TEST( ErrdisableCauseStatus, KeepsTheTimeOfEachInterface ) {
   auto const cause = Ryx::make< Errdisable::CauseStatus >( "cause" );
   IntfId const id( "Ethernet1" );
   cause->intfStatusIs( id, 12.5 );
   EXPECT_TRUE( cause->intfStatusHas( id ) );
   EXPECT_EQ( cause->intfStatus( id ).when, 12.5 );
   cause->intfStatusIs( id, 13 );
   EXPECT_EQ( cause->intfStatus( id ).when, 13 );
   EXPECT_EQ( cause->intfStatusDel( id ).when, 13 );
   EXPECT_FALSE( cause->intfStatusHas( id ) );
}

// Counts what it hears of the cause.
class CauseCounter final : public Errdisable::CauseStatus::NotifieeConst {
 public:
   using NotifieeConst::onIntfStatus;
   void onIntfStatus( IntfId ) override { ++heard; }
   unsigned heard = 0;
};

TEST( ErrdisableCauseStatus, AnEntryThatWasTakenOutIsNotPutBackOverAnother ) {
   auto const cause = Ryx::make< Errdisable::CauseStatus >( "cause" );
   IntfId const id( "Ethernet1" );
   cause->intfStatusIs( id, 1 );
   auto const taken = cause->intfStatusTake( id );
   cause->intfStatusIs( id, 2 );
   cause->intfStatusPut( taken );
   EXPECT_EQ( cause->intfStatus( id ).when, 2 );
   cause->intfStatusDel( id );
   cause->intfStatusPut( taken );
   EXPECT_EQ( cause->intfStatus( id ).when, 1 );
}

TEST( ErrdisableCauseStatus, ASpotServesToAskAndToStoreWhateverHasHappenedMeanwhile ) {
   auto const cause = Ryx::make< Errdisable::CauseStatus >( "cause" );
   auto const counter = Ryx::make< CauseCounter >();
   counter->notifierIs( cause );
   counter->isRegisteredNotifieeIs( true );
   IntfId const id( "Ethernet1" );
   auto const spot = cause->intfStatusSpot( id );
   EXPECT_EQ( spot.member(), nullptr );
   cause->intfStatusIs( spot, id, 12.5 );
   EXPECT_EQ( cause->intfStatus( id ).when, 12.5 );
   EXPECT_EQ( counter->heard, 1u );
   EXPECT_NE( cause->intfStatusSpot( id ).member(), nullptr );
   // The first spot is out of date.
   cause->intfStatusIs( spot, id, 12.5 );
   EXPECT_EQ( counter->heard, 1u );
   cause->intfStatusIs( spot, id, 13 );
   EXPECT_EQ( cause->intfStatus( id ).when, 13 );
   EXPECT_EQ( counter->heard, 2u );
   for ( int i = 2; i < 100; ++i ) {
      cause->intfStatusIs( IntfId( "Ethernet" + std::to_string( i ) ), i );
   }
   cause->intfStatusDel( id );
   cause->intfStatusIs( spot, id, 14 );
   EXPECT_EQ( cause->intfStatus( id ).when, 14 );
   EXPECT_EQ( cause->intfStatusSize(), 99u );
}

TEST( ErrdisableCauseStatus, DeletionOfAnAbsentInterfaceChangesNothing ) {
   auto const cause = Ryx::make< Errdisable::CauseStatus >( "cause" );
   cause->intfStatusIs( IntfId( "Ethernet1" ), 1 );
   auto const counter = Ryx::make< CauseCounter >();
   counter->notifierIs( cause );
   counter->isRegisteredNotifieeIs( true );
   EXPECT_EQ(
      cause->intfStatusDel( IntfId( "Ethernet2" ) ), Errdisable::CauseIntfStatus() );
   EXPECT_EQ( counter->heard, 0u );
   EXPECT_TRUE( cause->intfStatusHas( IntfId( "Ethernet1" ) ) );
   cause->intfStatusDel( IntfId( "Ethernet1" ) );
   EXPECT_EQ( counter->heard, 1u );
}

TEST( IgmpSnoopingConfig, DeclaresItsAttributesAndCallbacksInOrder ) {
   using Config = Bridging::IgmpSnooping::Config;
   EXPECT_EQ(
      types::ownAttributes( "Bridging::IgmpSnooping::Config" ),
      ( Names{ "isNondestructing", "forceEnabledPorts" } ) );
   using N = Config::NotifieeConst;
   auto const callbacks = slots(
      &N::onForceEnabledPorts,
      &N::onForceEnabledPortsryxImmediate,
      &N::onForceEnabledPorts );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 3 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Config >() );
}

TEST( IgmpSnoopingConfig, ForceEnabledPortsIsASetFromWhichFalseRemoves ) {
   auto const config = Ryx::make< Bridging::IgmpSnooping::Config >( "snooping" );
   IntfId const id( "Port-Channel1" );
   EXPECT_FALSE( config->forceEnabledPorts( id ) );
   config->forceEnabledPortsIs( id, true );
   EXPECT_TRUE( config->forceEnabledPorts( id ) );
   config->forceEnabledPortsIs( id, false );
   EXPECT_FALSE( config->forceEnabledPorts( id ) );
   EXPECT_FALSE( config->forceEnabledPortsIteratorConst() );
   EXPECT_FALSE( config->forceEnabledPortsDel( id ) );
}

TEST( LacpConfig, DeclaresItsAttributesAndCallbacksInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Lacp::Config" ),
      ( Names{ "isNondestructing", "portChannel" } ) );
   using N = Lacp::Config::NotifieeConst;
   auto const callbacks =
      slots( &N::onPortChannel, &N::onPortChannelryxImmediate, &N::onPortChannel );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 3 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Lacp::Config >() );
}

TEST( LacpPCConfig, DeclaresItsAttributesAndStartsOutOfStandby ) {
   EXPECT_EQ(
      types::ownAttributes( "Lacp::LacpPCConfig" ),
      ( Names{ "isNondestructing", "stayInStandby" } ) );
   using N = Lacp::LacpPCConfig::NotifieeConst;
   EXPECT_EQ( slots( &N::onStayInStandby ), support::slotsFrom( types::firstSlot(), 1 ) );
   EXPECT_EQ( slots( &N::onStayInStandby ), types::tableSlots< Lacp::LacpPCConfig >() );
   auto const config = Ryx::make< Lacp::LacpPCConfig >( IntfId( "Port-Channel1" ) );
   EXPECT_FALSE( config->stayInStandby() );
   EXPECT_EQ( config->name(), Ryx::Name( "Port-Channel1" ) );
}

TEST( LagInputConfig, DeclaresItsAttributesAndCallbacksInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Lag::Input::Config" ),
      ( Names{ "isNondestructing", "phyIntf" } ) );
   using N = Lag::Input::Config::NotifieeConst;
   auto const callbacks = slots( &N::onPhyIntf, &N::onPhyIntfryxImmediate, &N::onPhyIntf );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 3 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Lag::Input::Config >() );
}

TEST( LagEthPhyIntfLagConfig, DeclaresItsAttributesAndStartsInNoPortChannel ) {
   EXPECT_EQ(
      types::ownAttributes( "Lag::EthPhyIntfLagConfig" ),
      ( Names{ "isNondestructing", "lag", "mode" } ) );
   using N = Lag::EthPhyIntfLagConfig::NotifieeConst;
   EXPECT_EQ(
      slots( &N::onLag ) + slots( &N::onMode ),
      support::slotsFrom( types::firstSlot(), 2 ) );
   EXPECT_EQ(
      slots( &N::onLag ) + slots( &N::onMode ),
      types::tableSlots< Lag::EthPhyIntfLagConfig >() );
   auto const config = Ryx::make< Lag::EthPhyIntfLagConfig >( IntfId( "Ethernet1" ) );
   EXPECT_FALSE( config->lag() );
   EXPECT_EQ( config->mode(), Lag::LacpMode::lacpOff );
   EXPECT_EQ( config->name(), Ryx::Name( "Ethernet1" ) );
}

TEST( LagLacpMode, HasItsEnumeratorsFromZeroAndPrintsThem ) {
   EXPECT_EQ( static_cast< int >( Lag::LacpMode::lacpOff ), 0 );
   EXPECT_EQ( static_cast< int >( Lag::LacpMode::lacpPassive ), 1 );
   EXPECT_EQ( static_cast< int >( Lag::LacpMode::lacpActive ), 2 );
   EXPECT_EQ(
      support::type( "Lag::LacpMode" ).enumerators(),
      ( std::vector< Ryx::Name >{ "lacpOff", "lacpPassive", "lacpActive" } ) );
   std::ostringstream out;
   out << Lag::LacpMode::lacpPassive;
   EXPECT_EQ( out.str(), "lacpPassive" );
}

TEST( LagLacpOverrideDir, DeclaresItsAttributesAndCallbacksInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Lag::Input::LacpOverrideDir" ),
      ( Names{ "isNondestructing", "lagIdConfig", "lacpRemoteLagId" } ) );
   using N = Lag::Input::LacpOverrideDir::NotifieeConst;
   auto const callbacks =
      slots( &N::onLagIdConfig, &N::onLagIdConfigryxImmediate, &N::onLagIdConfig ) +
      slots(
         &N::onLacpRemoteLagId, &N::onLacpRemoteLagIdryxImmediate, &N::onLacpRemoteLagId );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 6 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Lag::Input::LacpOverrideDir >() );
}

TEST( LagLacpOverrideDir, AnAbsentPortChannelHasTheZeroAddress ) {
   auto const dir = Ryx::make< Lag::Input::LacpOverrideDir >( "override" );
   IntfId const id( "Port-Channel1" );
   EXPECT_EQ( dir->lagIdConfig( id ), Kovel::EthAddr() );
   dir->lagIdConfigIs( id, Kovel::EthAddr( "02:00:00:00:00:01" ) );
   EXPECT_EQ( dir->lagIdConfig( id ), Kovel::EthAddr( "02:00:00:00:00:01" ) );
}

} // namespace
