// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <types/AttributeLists>

#include <Mlag/Config>
#include <Mlag/ProtoStatus>
#include <Mlag/Status>

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace {

using types::Names;
using types::slots;
using types::operator+;

constexpr double infinity = std::numeric_limits< double >::infinity();

TEST( MlagConfig, DeclaresItsAttributesInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Mlag::Config" ),
      ( Names{ "isNondestructing",
               "enabled",
               "domainId",
               "localInterface",
               "peerAddress",
               "primaryPriority",
               "peerLinkIntf",
               "intfConfig",
               "heartbeatInterval",
               "heartbeatTimeout",
               "reloadDelay",
               "reloadDelayMlagConfigured",
               "reloadDelayNonMlagConfigured",
               "reloadDelayNonMlag",
               "lacpStandby",
               "minVersion",
               "maxVersion",
               "remountWaitSecs",
               "disabledWaitSecs",
               "unmountWaitSecs" } ) );
}

TEST( MlagConfig, CallbacksStandInTheOrderOfTheAttributes ) {
   using N = Mlag::Config::NotifieeConst;
   auto const callbacks = slots( &N::onEnabled ) + slots( &N::onDomainId ) +
      slots( &N::onLocalInterface ) + slots( &N::onPeerAddress ) +
      slots( &N::onPrimaryPriority ) + slots( &N::onPeerLinkIntf ) +
      slots( &N::onIntfConfig, &N::onIntfConfigryxImmediate, &N::onIntfConfig ) +
      slots( &N::onHeartbeatInterval ) + slots( &N::onHeartbeatTimeout ) +
      slots( &N::onReloadDelay ) + slots( &N::onReloadDelayMlagConfigured ) +
      slots( &N::onReloadDelayNonMlagConfigured ) + slots( &N::onReloadDelayNonMlag ) +
      slots( &N::onLacpStandby ) + slots( &N::onMinVersion ) + slots( &N::onMaxVersion ) +
      slots( &N::onRemountWaitSecs ) + slots( &N::onDisabledWaitSecs ) +
      slots( &N::onUnmountWaitSecs );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 21 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Mlag::Config >() );
}

TEST( MlagConfig, StartsUnconfigured ) {
   auto const config = Ryx::make< Mlag::Config >( "mlag" );
   EXPECT_FALSE( config->enabled() );
   EXPECT_EQ( config->domainId(), "" );
   EXPECT_FALSE( config->localInterface() );
   EXPECT_EQ( config->peerAddress(), Kovel::IpAddr() );
   EXPECT_FALSE( config->peerLinkIntf() );
   EXPECT_EQ( config->reloadDelay(), 0.0 );
   EXPECT_FALSE( config->reloadDelayNonMlagConfigured() );
   EXPECT_EQ( config->reloadDelayNonMlag(), 0.0 );
   EXPECT_FALSE( config->lacpStandby() );
   EXPECT_EQ( config->name(), Ryx::Name( "mlag" ) );
}

TEST( MlagConfig, IntfConfigOfAnAbsentKeyIsTheDefaultThatMarksNoMlagInterface ) {
   auto const config = Ryx::make< Mlag::Config >( "mlag" );
   Kovel::IntfId const key( "Port-Channel10" );
   EXPECT_EQ( config->intfConfig( key ), Mlag::IntfConfig() );
   EXPECT_FALSE( config->intfConfigHas( key ) );
   config->intfConfigIs( key, { "10" } );
   EXPECT_NE( config->intfConfig( key ), Mlag::IntfConfig() );
   EXPECT_EQ( config->intfConfig( key ).mlagId, "10" );
   EXPECT_EQ( config->intfConfigDel( key ), Mlag::IntfConfig{ "10" } );
   EXPECT_EQ( config->intfConfig( key ), Mlag::IntfConfig() );
}

TEST( MlagConfig, TakesAnInfiniteReloadDelay ) {
   auto const config = Ryx::make< Mlag::Config >( "mlag" );
   config->reloadDelayIs( infinity );
   EXPECT_EQ( config->reloadDelay(), infinity );
   config->reloadDelayNonMlagIs( infinity );
   EXPECT_EQ( config->reloadDelayNonMlag(), infinity );
   config->reloadDelayIs( 300 );
   EXPECT_EQ( config->reloadDelay(), 300 );
}

TEST( MlagStatus, DeclaresItsAttributesInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Mlag::Status" ),
      ( Names{ "isNondestructing",
               "mlagState",
               "peerLinkIntf",
               "localInterface",
               "intfStatus",
               "systemId",
               "failover",
               "negotiationStatus" } ) );
}

TEST( MlagStatus, CallbacksStandInTheOrderOfTheAttributes ) {
   using N = Mlag::Status::NotifieeConst;
   auto const callbacks = slots( &N::onMlagState ) + slots( &N::onPeerLinkIntf ) +
      slots( &N::onLocalInterface ) +
      slots( &N::onIntfStatus, &N::onIntfStatusryxImmediate, &N::onIntfStatus ) +
      slots( &N::onSystemId ) + slots( &N::onFailover ) + slots( &N::onNegotiationStatus );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 9 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Mlag::Status >() );
}

TEST( MlagStatus, StartsUnknownWithoutASystemId ) {
   auto const status = Ryx::make< Mlag::Status >( "mlag" );
   EXPECT_EQ( status->mlagState(), Mlag::MlagState::mlagUnknown );
   EXPECT_EQ( status->systemId(), Kovel::EthAddr() );
}

TEST( MlagProtoStatus, DeclaresItsAttributesInOrder ) {
   EXPECT_EQ(
      types::ownAttributes( "Mlag::ProtoStatus" ),
      ( Names{ "isNondestructing",
               "portsErrdisabled",
               "portsErrdisabledWhen",
               "holdInSecondary" } ) );
   using N = Mlag::ProtoStatus::NotifieeConst;
   auto const callbacks = slots( &N::onPortsErrdisabled ) +
      slots( &N::onPortsErrdisabledWhen ) + slots( &N::onHoldInSecondary );
   EXPECT_EQ( callbacks, support::slotsFrom( types::firstSlot(), 3 ) );
   EXPECT_EQ( callbacks, types::tableSlots< Mlag::ProtoStatus >() );
}

TEST( MlagProtoStatus, StartsWithoutAPeriod ) {
   auto const status = Ryx::make< Mlag::ProtoStatus >( "mlag" );
   EXPECT_FALSE( status->portsErrdisabled() );
   EXPECT_EQ( status->portsErrdisabledWhen(), infinity );
   EXPECT_FALSE( status->holdInSecondary() );
}

TEST( MlagState, HasItsEnumeratorsFromZeroAndPrintsThem ) {
   EXPECT_EQ( static_cast< int >( Mlag::MlagState::mlagUnknown ), 0 );
   EXPECT_EQ( static_cast< int >( Mlag::MlagState::mlagDisabled ), 1 );
   EXPECT_EQ( static_cast< int >( Mlag::MlagState::mlagInactive ), 2 );
   EXPECT_EQ( static_cast< int >( Mlag::MlagState::mlagPrimary ), 3 );
   EXPECT_EQ( static_cast< int >( Mlag::MlagState::mlagSecondary ), 4 );
   EXPECT_EQ(
      support::type( "Mlag::MlagState" ).enumerators(),
      ( std::vector< Ryx::Name >{ "mlagUnknown",
                                  "mlagDisabled",
                                  "mlagInactive",
                                  "mlagPrimary",
                                  "mlagSecondary" } ) );
   std::ostringstream out;
   out << Mlag::MlagState::mlagSecondary << " " << Mlag::MlagState::mlagUnknown;
   EXPECT_EQ( out.str(), "mlagSecondary mlagUnknown" );
}

TEST( MlagState, RefusesATextThatIsNoEnumerator ) {
   EXPECT_EQ(
      support::refusal( [] { support::valueOf( "Mlag::MlagState", "mlagTertiary" ); } ),
      "cannot convert \"mlagTertiary\" to Mlag::MlagState: expected a number from 0 to 4 "
      "or "
      "one of mlagUnknown, mlagDisabled, mlagInactive, mlagPrimary, mlagSecondary" );
   EXPECT_NE( support::refusal( [] { support::valueOf( "Mlag::MlagState", "5" ); } ), "" );
}

TEST( MlagIntfConfig, HasTheMlagIdAsItsFirstMember ) {
   auto const& type = support::type( "Mlag::IntfConfig" );
   ASSERT_FALSE( type.attributeQ().empty() );
   EXPECT_EQ( type.attributeQ().front()->name().string(), "mlagId" );
   EXPECT_EQ( type.attributeQ().front()->valueType()->name().string(), "Ryx::String8" );
   EXPECT_EQ( Mlag::IntfConfig(), Mlag::IntfConfig() );
   EXPECT_FALSE( Mlag::IntfConfig{ "1" } == Mlag::IntfConfig{ "2" } );
}

} // namespace
