// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the machine does when it starts.

#include "SmReach"

#include <Ryx/Activity>

namespace {

using StartUp = SwitchFixture;

TEST_F( StartUp, HoldsEveryPortUntilTheEndOfTheDelay ) {
   configureMlag();
   port( "Ethernet1" );
   start();
   EXPECT_EQ(
      take(),
      ( Log{ "0 proto portsErrdisabled true",
             "0 proto portsErrdisabledWhen 0",
             "0 cause Ethernet1 0" } ) );
   moveTo( 400 );
   EXPECT_EQ(
      take(),
      ( Log{ at( 225, ending( 75 ) ),
             at( 285, ending( 15 ) ),
             "300 cause Ethernet1 -",
             "300 proto portsErrdisabled false",
             "300 proto portsErrdisabledWhen inf" } ) );
}

TEST_F( StartUp, FirstStartTakesTheCurrentTimeAndCountersOf0 ) {
   configureMlag();
   mlagConfig->reloadDelayIs( Ryx::never );
   timeIs( 1234.567 );
   start();
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 1234.567 );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_TRUE( sm->mlagPortsErrdisabled() );
   EXPECT_TRUE( sm->nonMlagPortsErrdisabled() );
   EXPECT_EQ( sm->timerCount(), 0 );
   EXPECT_EQ( sm->timerCountNonMlag(), 0 );
   EXPECT_TRUE( sm->initialized() );
}

TEST_F( StartUp, ArmingCountsTheFirstPoint ) {
   configureMlag();
   start();
   EXPECT_EQ( sm->timerCount(), 1 );
   EXPECT_EQ( sm->timerCountNonMlag(), 1 );
   EXPECT_EQ( wakeTime( true ), 225 );
   EXPECT_EQ( wakeTime( false ), 225 );
}

TEST_F( StartUp, TracesAndWritesInOneOrder ) {
   configureMlag();
   port( "Ethernet1" );
   mlagStatus->mlagStateIs( MlagState::mlagInactive );
   tracingIs( true );
   start();
   auto log = takeUntimed();
   ASSERT_GE( log.size(), 10u );
   log.resize( 10 );
   EXPECT_EQ(
      log,
      ( Log{ tracedCall( "handleInitialized()" ),
             "proto portsErrdisabled true",
             "proto portsErrdisabledWhen 0",
             tracedCall( "handleMlagConfig()" ),
             tracedCall( "handleMlagState()", " state is mlagInactive" ),
             tracedCall( "handleReloadDelayMlag()" ),
             tracedCall( "handleReloadDelayNonMlag()" ),
             tracedNonMlagDelay(),
             tracedCall( "handleIntfStatus()" ),
             tracedCall( "handleIntfStatus(Kovel::IntfId)", " Ethernet1" ) } ) );
}

TEST_F( StartUp, MakesAReactorForEveryConfigurationWithoutRunningItsHandler ) {
   configureMlag();
   admin( "Ethernet1", IntfEnabledState::shutdown );
   admin( "Ethernet2", IntfEnabledState::enabled );
   tracingIs( true );
   start();
   EXPECT_TRUE( sm->intfConfig( id( "Ethernet1" ) ) );
   EXPECT_TRUE( sm->intfConfig( id( "Ethernet2" ) ) );
   for ( auto const& logged : take() ) {
      EXPECT_EQ( logged.find( "handleAdminEnabledStateLocal" ), std::string::npos );
   }
}

TEST_F( StartUp, RecordsTheMembersOfEveryPortChannelAfterHolding ) {
   configureMlag();
   member( "Ethernet1", "Port-Channel10" );
   member( "Ethernet2", "Port-Channel10" );
   member( "Ethernet3", "Port-Channel20" );
   member( "Ethernet4", "" );
   start();
   auto const lag = sm->portChannelToMember( id( "Port-Channel10" ) );
   ASSERT_TRUE( lag );
   EXPECT_TRUE( lag->member( id( "Ethernet1" ) ) );
   EXPECT_TRUE( lag->member( id( "Ethernet2" ) ) );
   EXPECT_FALSE( lag->member( id( "Ethernet3" ) ) );
   EXPECT_TRUE( sm->portChannelToMember( id( "Port-Channel20" ) ) );
   auto it = sm->portChannelToMemberIteratorConst();
   ++it;
   ++it;
   EXPECT_FALSE( it );
}

TEST_F( StartUp, UnconfiguredMlagReleasesBothClassesBeforeAnythingIsHeld ) {
   port( "Ethernet1" );
   member( "Ethernet1", "Port-Channel10" );
   start();
   EXPECT_EQ(
      take(),
      ( Log{ "0 proto portsErrdisabled true",
             "0 proto portsErrdisabledWhen 0",
             "0 proto portsErrdisabled false",
             "0 proto portsErrdisabledWhen inf" } ) );
   EXPECT_TRUE( sm->initialized() );
   EXPECT_FALSE( sm->mlagPortsErrdisabled() );
   EXPECT_FALSE( sm->nonMlagPortsErrdisabled() );
   EXPECT_EQ( wakeTime( true ), Ryx::never );
   EXPECT_EQ( wakeTime( false ), Ryx::never );
   EXPECT_FALSE( sm->portChannelToMember( id( "Port-Channel10" ) ) );
   moveTo( 1000 );
   EXPECT_EQ( take(), Log() );
}

TEST_F( StartUp, DisabledMlagReleasesBothClassesBeforeAnythingIsHeld ) {
   configureMlag();
   mlagConfig->enabledIs( false );
   port( "Ethernet1" );
   start();
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), Ryx::never );
   EXPECT_TRUE( sm->initialized() );
}

TEST_F( StartUp, UnconfiguredMlagTracesTheWholeRelease ) {
   tracingIs( true );
   start();
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ tracedCall( "handleInitialized()" ),
             "proto portsErrdisabled true",
             "proto portsErrdisabledWhen 0",
             tracedCall( "handleMlagConfig()" ),
             tracedCall( "doClearErrdisableIntfStatus()" ),
             tracedCall( "doClearErrdisableMlagIntfStatus()" ),
             tracedCall( "doCheckErrdisable()", " mlag 0 non-mlag 1" ),
             tracedCall( "doClearErrdisableNonMlagIntfStatus()" ),
             tracedCall( "doCheckErrdisable()", " mlag 0 non-mlag 0" ),
             traced( "Clearing errdisabled state " ),
             "proto portsErrdisabled false",
             "proto portsErrdisabledWhen inf",
             tracedCall( "handleMlagState()", " state is mlagUnknown" ),
             tracedCall( "handleReloadDelayMlag()" ),
             tracedCall( "handleReloadDelayNonMlag()" ) } ) );
}

TEST_F( StartUp, WithNothingHeldItsUnnotifiedPortsStayFreeLater ) {
   mlagConfig->reloadDelayIs( 300 );
   start();
   take();
   port( "Ethernet1" );
   EXPECT_EQ( take(), Log() );
}

TEST_F( StartUp, SecondHandleInitializedDoesNothing ) {
   configureMlag();
   port( "Ethernet1" );
   start();
   mlagProtoStatus->portsErrdisabledWhenIs( Ryx::never );
   timeIs( 50 );
   take();
   tracingIs( true );
   sm->handleInitialized();
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( wakeTime( true ), 225 );
   EXPECT_EQ( sm->timerCount(), 1 );
}

TEST_F( StartUp, HandleInitializedMayRunAgainWhileTheMachineIsNotInitialized ) {
   configureMlag();
   start();
   sm->initializedIs( false );
   timeIs( 30 );
   sm->handleInitialized();
   EXPECT_TRUE( sm->initialized() );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 0 );
   EXPECT_EQ( wakeTime( true ), 225 );
}

TEST_F( StartUp, TheStepsAreTakenInOneOrderWhenItRunsAgain ) {
   configureMlag();
   start();
   moveTo( 1000 );
   sm->initializedIs( false );
   Log steps;
   onLine = [ & ]( std::string const& logged ) {
      steps.push_back(
         logged + ", " + std::to_string( sm->mlagPortsErrdisabled() ) + ", points " +
         std::to_string( sm->timerCount() ) );
   };
   sm->handleInitialized();
   EXPECT_EQ(
      steps,
      ( Log{ "1000 proto portsErrdisabled true, 0, points 2",
             "1000 proto portsErrdisabledWhen 1000, 1, points 2" } ) );
   EXPECT_EQ( sm->timerCount(), 1 );
   EXPECT_EQ( sm->timerCountNonMlag(), 1 );
   EXPECT_EQ( wakeTime( true ), 1225 );
   EXPECT_EQ( wakeTime( false ), 1225 );
}

TEST_F( StartUp, TheTimersAreBoundBeforeAnythingIsWritten ) {
   configureMlag();
   std::uint32_t bound = 0;
   onLine = [ & ]( std::string const& ) {
      onLine = nullptr;
      bound = Ryx::activityManager()->clock()->notifieeCount();
   };
   start();
   EXPECT_EQ( bound, 2u );
}

TEST_F( StartUp, ANewTimersFirstWakeUpComesBeforeInitializationAndIsIgnored ) {
   configureMlag();
   start();
   take();
   tracingIs( true );
   sm->initializedIs( false );
   sm->clockMlagIs( Ryx::make< Ryx::Clock >( "other" ) );
   EXPECT_EQ( wakeTime( true ), 0 );
   auto const reactor = reactorOf< Sm::RyxClockMlag >( *sm );
   reactor->onTime();
   sm->handleClockMlag();
   sm->handleClockNonMlag();
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( sm->timerCount(), 1 );
}

TEST_F( StartUp, InputsThatChangeDuringStartUpAreHandledInTheMiddleOfIt ) {
   configureMlag();
   port( "Ethernet1" );
   port( "Ethernet2" );
   onLine = [ & ]( std::string const& logged ) {
      if ( logged == "0 proto portsErrdisabledWhen 0" ) {
         state( MlagState::mlagPrimary );
      }
   };
   start();
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_TRUE( sm->initialized() );
}

} // namespace
