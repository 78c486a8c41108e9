// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Delays, starts and wake-up times that are not a number: no comparison with one holds, so
// that such a period is neither infinite nor ever over.

#include "SmReach"

#include <cmath>
#include <limits>

namespace {

constexpr Ryx::Seconds undefined = std::numeric_limits< Ryx::Seconds >::quiet_NaN();

class UndefinedTime : public SwitchFixture {
 public:
   UndefinedTime() {
      configureMlag();
      port( "Ethernet1" );
      member( "Ethernet2", "Port-Channel10" );
      mlagInterface( "Port-Channel10" );
      port( "Ethernet2" );
   }
   bool isHeld( std::string_view name ) const {
      return mlagissuCause->intfStatusHas( id( name ) );
   }
   Log messages() { return only( take(), "log" ); }
};

TEST_F( UndefinedTime, ADelayHoldsBothClassesWithoutAPoint ) {
   mlagConfig->reloadDelayIs( undefined );
   start();
   EXPECT_TRUE( std::isnan( wakeTime( true ) ) );
   EXPECT_TRUE( std::isnan( wakeTime( false ) ) );
   EXPECT_EQ( sm->timerCount(), 0 );
   moveTo( 1e6 );
   EXPECT_TRUE( isHeld( "Ethernet1" ) );
   EXPECT_TRUE( isHeld( "Ethernet2" ) );
   EXPECT_EQ( messages(), Log() );
}

TEST_F( UndefinedTime, ADelayIsNotOverForAPortThatAppears ) {
   mlagConfig->reloadDelayIs( undefined );
   start();
   present( "Ethernet3" );
   EXPECT_TRUE( isHeld( "Ethernet3" ) );
}

TEST_F( UndefinedTime, ADelayCountsAsFiniteOnceItsTimerIsIdle ) {
   start();
   state( MlagState::mlagPrimary );
   mlagConfig->reloadDelayIs( undefined );
   present( "Ethernet3" );
   EXPECT_FALSE( isHeld( "Ethernet3" ) );
}

TEST_F( UndefinedTime, ADelayEndsWithADefinedOne ) {
   mlagConfig->reloadDelayIs( undefined );
   start();
   mlagConfig->reloadDelayIs( 300 );
   moveTo( 300 );
   EXPECT_EQ( held(), std::vector< std::string >() );
}

TEST_F( UndefinedTime, AWakeUpUnderSuchADelayReleasesNothingAndArmsTheEnd ) {
   start();
   sm->nonMlagPortsErrdisabledIs( false );
   // Not handled: the timer keeps its wake-up.
   sm->hasNotificationActiveIs( false );
   mlagConfig->reloadDelayIs( undefined );
   sm->handleClockMlag();
   EXPECT_TRUE( isHeld( "Ethernet2" ) );
   EXPECT_TRUE( std::isnan( wakeTime( true ) ) );
   EXPECT_EQ( sm->timerCount(), 2 );
}

TEST_F( UndefinedTime, ALogMinTimeIsExceededByNoDelay ) {
   start();
   sm->logMinTimeIs( undefined );
   sm->handleReloadDelayMlag();
   EXPECT_EQ( wakeTime( true ), 300 );
   EXPECT_EQ( sm->timerCount(), 0 );
}

TEST_F( UndefinedTime, AnOtherDelayDiffersFromEveryDelay ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( undefined );
   start();
   take();
   sm->handleClockNonMlag();
   EXPECT_EQ( messages().size(), 1u );
   sm->hasNotificationActiveIs( false );
   mlagConfig->reloadDelayIs( undefined );
   sm->handleClockNonMlag();
   EXPECT_EQ( messages().size(), 1u );
}

TEST_F( UndefinedTime, AnOtherDelayIsNoEndlessOne ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( undefined );
   start();
   sm->clockNonMlagDel();
   sm->doClearErrdisableMlagIntfStatus();
   EXPECT_EQ( held(), std::vector< std::string >() );
}

TEST_F( UndefinedTime, AnOtherTimerIsNotIdle ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( undefined );
   start();
   sm->doClearErrdisableMlagIntfStatus();
   EXPECT_TRUE( isHeld( "Ethernet1" ) );
   EXPECT_FALSE( isHeld( "Ethernet2" ) );
}

TEST_F( UndefinedTime, AStartIsBelievedAndNeverOver ) {
   mlagProtoStatus->portsErrdisabledWhenIs( undefined );
   start();
   EXPECT_TRUE( std::isnan( mlagProtoStatus->portsErrdisabledWhen() ) );
   EXPECT_TRUE( std::isnan( wakeTime( true ) ) );
   EXPECT_EQ( sm->timerCount(), 2 );
   EXPECT_EQ( sm->timerCountNonMlag(), 2 );
   moveTo( 1000 );
   EXPECT_TRUE( isHeld( "Ethernet1" ) );
   EXPECT_TRUE( isHeld( "Ethernet2" ) );
}

TEST_F( UndefinedTime, ADelayJudgesNoStart ) {
   mlagProtoStatus->portsErrdisabledWhenIs( 1000 );
   mlagConfig->reloadDelayIs( undefined );
   start();
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 1000 );
}

TEST_F( UndefinedTime, EarlyReleasesEndIt ) {
   mlagConfig->reloadDelayIs( undefined );
   start();
   mlagConfig->enabledIs( false );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

} // namespace
