// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which handler each notification of an input calls, and what a re-pointed reactor does.

#include "SmReach"

#include <Ryx/Clock>

namespace {

// A running machine without ports, traced, whose periods are not to end.
class SmReactors : public SwitchFixture {
 public:
   SmReactors() {
      configureMlag();
      mlagConfig->reloadDelayIs( Ryx::never );
      admin( "Ethernet1", IntfEnabledState::enabled );
      start();
      take();
      tracingIs( true );
   }

   // The machine's own signatures among the traces, without their values.
   Log handlers() {
      Log calls;
      std::string const mark = tracedCall( "" );
      for ( auto const& traceLine : takeUntimed() ) {
         if ( traceLine.compare( 0, mark.size(), mark ) == 0 ) {
            calls.push_back(
               traceLine.substr( mark.size(), traceLine.find( ')' ) + 1 - mark.size() ) );
         }
      }
      return calls;
   }
   template< class R, class Watched >
   void repoint( Ryx::Ptr< Watched > const& input ) {
      reactorOf< R >( *sm )->notifierIs( Ryx::Ptr< Ryx::PtrInterface const >( input ) );
   }
};

TEST_F( SmReactors, ReloadDelayIsHandledForBothClassesWhenTheyShareIt ) {
   mlagConfig->reloadDelayIs( 500 );
   EXPECT_EQ(
      handlers(),
      ( Log{ "handleReloadDelay()",
             "handleReloadDelayMlag()",
             "handleReloadDelayNonMlag()" } ) );
}

TEST_F( SmReactors, ReloadDelayIsHandledForMlagAloneWhenTheOtherClassHasItsOwn ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   EXPECT_EQ( handlers(), Log() );
   mlagConfig->reloadDelayIs( 500 );
   EXPECT_EQ( handlers(), ( Log{ "handleReloadDelay()", "handleReloadDelayMlag()" } ) );
}

TEST_F( SmReactors, ReloadDelayNonMlagIsHandledEvenWhileItIsNotConfigured ) {
   mlagConfig->reloadDelayNonMlagIs( 77 );
   EXPECT_EQ( handlers(), ( Log{ "handleReloadDelayNonMlag()" } ) );
   EXPECT_EQ( sm->reloadDelayNonMlag(), Ryx::never );
}

TEST_F( SmReactors, WhatConfiguresMlagIsHandledAsConfiguration ) {
   Log const configuration{ "handleMlagConfig()" };
   mlagConfig->domainIdIs( "other" );
   EXPECT_EQ( handlers(), configuration );
   mlagConfig->localInterfaceIs(
      Ryx::make< Interface::VlanIntfConfig >( id( "Vlan4093" ) ) );
   EXPECT_EQ( handlers(), configuration );
   mlagConfig->peerAddressIs( Kovel::IpAddr( "10.0.0.3" ) );
   EXPECT_EQ( handlers(), configuration );
   peerLink( "Port-Channel999" );
   EXPECT_EQ( handlers(), configuration );
   mlagConfig->enabledIs( false );
   EXPECT_EQ( handlers().front(), "handleMlagConfig()" );
}

TEST_F( SmReactors, AnMlagInterfaceIsHandledByItsName ) {
   mlagInterface( "Port-Channel10" );
   EXPECT_EQ(
      takeUntimed(),
      ( Log{
         tracedCall( "handleMlagIntfConfig(Kovel::IntfId)", " for Port-Channel10" ) } ) );
}

TEST_F( SmReactors, OtherConfigurationIsNotHandled ) {
   mlagConfig->lacpStandbyIs( true );
   mlagStatus->systemIdIs( Kovel::EthAddr( "02:00:00:00:00:01" ) );
   mlagProtoStatus->holdInSecondaryIs( true );
   EXPECT_EQ( take(), Log() );
}

TEST_F( SmReactors, MlagStateIsHandledWithItsName ) {
   state( MlagState::mlagDisabled );
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ tracedCall( "handleMlagState()", " state is mlagDisabled" ) } ) );
}

TEST_F( SmReactors, APortThatComesAndGoesIsHandledByItsName ) {
   present( "Ethernet1" );
   EXPECT_EQ( handlers().front(), "handleIntfStatus(Kovel::IntfId)" );
   absent( "Ethernet1" );
   EXPECT_EQ( handlers(), ( Log{ "handleIntfStatus(Kovel::IntfId)" } ) );
}

TEST_F( SmReactors, AnOverrideIsHandledByItsName ) {
   lacpOverrideIs( "Port-Channel10", "02:00:00:00:00:01" );
   EXPECT_EQ( handlers(), ( Log{ "handleLagIdConfig(Kovel::IntfId)" } ) );
}

TEST_F( SmReactors, PortChannelStatusesAreOnlyHeld ) {
   lagStatus( "Port-Channel10", LinkStatus::linkUp );
   noLagStatus( "Port-Channel10" );
   EXPECT_EQ( take(), Log() );
}

TEST_F( SmReactors, APortsConfigurationGetsAReactorWithoutAHandlerBeingRun ) {
   auto const config = Ryx::make< Interface::IntfConfig >( id( "Ethernet2" ) );
   ethPhyIntfConfig->intfConfigIs( config );
   EXPECT_EQ( take(), Log() );
   ASSERT_TRUE( sm->intfConfig( id( "Ethernet2" ) ) );
   ethPhyIntfConfig->intfConfigDel( id( "Ethernet2" ) );
   EXPECT_FALSE( sm->intfConfig( id( "Ethernet2" ) ) );
   EXPECT_EQ( config->notifieeCount(), 0u );
}

TEST_F( SmReactors, AnAdministrativeStateIsHandledByThePortsReactor ) {
   admin( "Ethernet1", IntfEnabledState::shutdown );
   EXPECT_EQ( handlers(), ( Log{ "RyxIntfConfig::handleAdminEnabledStateLocal()" } ) );
}

TEST_F( SmReactors, ALinkStatusIsHandledByThePortChannelsReactor ) {
   auto const status = Ryx::make< Interface::EthLagIntfStatus >( id( "Port-Channel10" ) );
   sm->lagIntfStatusIs( status );
   EXPECT_EQ( take(), Log() );
   status->linkStatusIs( LinkStatus::linkDown );
   EXPECT_EQ( handlers(), ( Log{ "RyxLagIntfStatus::handleLagLinkStatus()" } ) );
   EXPECT_EQ( status->notifieeCount(), 0u );
}

TEST_F( SmReactors, ImmediateHooksOfConfigurationStatusAndOverrideDoNothing ) {
   auto config = reactorOf< Sm::RyxMlagConfig >( *sm );
   config->onIntfConfigryxImmediate();
   reactorOf< Sm::RyxEthPhyIntfStatus >( *sm )->onIntfStatusryxImmediate();
   reactorOf< Sm::RyxLacpOverride >( *sm )->onLagIdConfigryxImmediate();
   EXPECT_EQ( take(), Log() );
}

TEST_F( SmReactors, RepointedConfigurationIsEvaluatedAsAWhole ) {
   auto const other = Ryx::make< Mlag::Config >( "other" );
   other->domainIdIs( "domain" );
   other->localInterfaceIs( Ryx::make< Interface::VlanIntfConfig >( id( "Vlan4094" ) ) );
   other->peerAddressIs( Kovel::IpAddr( "10.0.0.2" ) );
   other->peerLinkIntfIs( Ryx::make< Interface::IntfConfig >( id( "Port-Channel1000" ) ) );
   other->enabledIs( true );
   other->reloadDelayIs( 400 );
   repoint< Sm::RyxMlagConfig >( other );
   EXPECT_EQ(
      handlers(),
      ( Log{ "handleMlagConfig()",
             "handleReloadDelay()",
             "handleReloadDelayMlag()",
             "handleReloadDelayNonMlag()",
             "handleReloadDelayNonMlag()" } ) );
   EXPECT_EQ( sm->mlagConfig(), other );
   EXPECT_EQ( wakeTime( true ), 300 );
   EXPECT_EQ( wakeTime( false ), 300 );
}

TEST_F( SmReactors, RepointedStatusIsEvaluatedAtOnce ) {
   auto const other = Ryx::make< Mlag::Status >( "other" );
   other->mlagStateIs( MlagState::mlagDisabled );
   repoint< Sm::RyxMlagStatus >( other );
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ tracedCall( "handleMlagState()", " state is mlagDisabled" ) } ) );
}

TEST_F( SmReactors, RepointedClockWakesItsClassAtOnce ) {
   auto const clock = Ryx::make< Ryx::Clock >( "other" );
   mlagConfig->reloadDelayIs( 300 );
   take();
   repoint< Sm::RyxClockMlag >( clock );
   EXPECT_EQ( takeUntimed(), ( Log{ tracedCall( "handleClock_(bool)" ), ending( 300 ) } ) );
   repoint< Sm::RyxClockNonMlag >( clock );
   EXPECT_EQ(
      takeUntimed(), ( Log{ tracedCall( "handleClock_(bool)" ), tracedNonMlagDelay() } ) );
}

TEST_F( SmReactors, RepointedConfigurationDirectoryGetsReactorsForAllItsPorts ) {
   auto const other = Ryx::make< Interface::AllEthPhyIntfConfigDir >( "other" );
   auto const config = Ryx::make< Interface::IntfConfig >( id( "Ethernet7" ) );
   other->intfConfigIs( config );
   repoint< Sm::RyxEthPhyIntfConfig >( other );
   ASSERT_TRUE( sm->intfConfig( id( "Ethernet7" ) ) );
   EXPECT_EQ( sm->intfConfig( id( "Ethernet7" ) )->notifier(), config );
   EXPECT_EQ( sm->ethPhyIntfConfig(), other );
}

TEST_F( SmReactors, TheOtherRepointedDirectoriesRunNothing ) {
   auto const statuses = Ryx::make< Interface::AllEthPhyIntfStatusDir >( "other" );
   statuses->intfStatusIs( Ryx::make< Interface::EthPhyIntfStatus >( id( "Ethernet7" ) ) );
   repoint< Sm::RyxEthPhyIntfStatus >( statuses );
   repoint< Sm::RyxLagInputIntfStatus >(
      Ryx::make< Interface::EthLagIntfStatusDir >( "other" ) );
   repoint< Sm::RyxLacpOverride >( Ryx::make< Lag::Input::LacpOverrideDir >( "other" ) );
   EXPECT_EQ( take(), Log() );
}

TEST_F( SmReactors, RepointingToTheSameOrToNoInputRunsNothing ) {
   repoint< Sm::RyxMlagStatus >( mlagStatus );
   EXPECT_EQ( sm->mlagStatus(), mlagStatus );
   repoint< Sm::RyxMlagStatus >( Ryx::Ptr< Mlag::Status >() );
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( sm->mlagStatus(), nullptr );
}

TEST_F( SmReactors, RepointingToAnObjectOfAnotherTypeCountsAsNoInput ) {
   repoint< Sm::RyxMlagStatus >( mlagConfig );
   EXPECT_EQ( sm->mlagStatus(), nullptr );
   EXPECT_EQ( take(), Log() );
}

TEST_F( SmReactors, AZombieForwardsNothingAndRepointsWithoutAHandlerRun ) {
   auto const reactor = reactorOf< Sm::RyxMlagStatus >( *sm );
   reactor->ryxDoZombieReactors( true );
   reactor->onMlagState();
   repoint< Sm::RyxMlagStatus >( Ryx::make< Mlag::Status >( "other" ) );
   auto const clock = reactorOf< Sm::RyxClockMlag >( *sm );
   clock->ryxDoZombieReactors( true );
   clock->onTime();
   EXPECT_EQ( take(), Log() );
}

} // namespace
