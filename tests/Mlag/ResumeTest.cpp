// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A machine that starts in the middle of a period that an earlier one began.

#include "SmReach"

namespace {

class Resume : public SwitchFixture {
 public:
   Resume() {
      configureMlag();
      timeIs( 1000 );
   }
   // Starts with a period that began so many seconds ago; logs from then on.
   void startAfter( Ryx::Seconds elapsed ) {
      mlagProtoStatus->portsErrdisabledWhenIs( 1000 - elapsed );
      take();
      start();
   }
};

TEST_F( Resume, ThirtySecondsIntoThePeriodThereAre270LeftAndNoPointHasPassed ) {
   port( "Ethernet1" );
   startAfter( 30 );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 970 );
   EXPECT_EQ( wakeTime( true ), 970 + 225 );
   // Restored as 0, then counted by arming.
   EXPECT_EQ( sm->timerCount(), 1 );
   EXPECT_EQ( sm->timerCountNonMlag(), 1 );
   moveTo( 2000 );
   EXPECT_EQ(
      take(),
      ( Log{ "1000 proto portsErrdisabled true",
             "1000 cause Ethernet1 1000",
             at( 1195, ending( 75 ) ),
             at( 1255, ending( 15 ) ),
             "1270 cause Ethernet1 -",
             "1270 proto portsErrdisabled false",
             "1270 proto portsErrdisabledWhen inf" } ) );
}

TEST_F( Resume, AStoredStartIsNotWrittenAnewWhenItIsBelieved ) {
   mlagProtoStatus->portsErrdisabledIs( true );
   startAfter( 30 );
   EXPECT_EQ( take(), Log() );
}

TEST_F( Resume, PastTheFirstPointOnlyTheSecondIsAnnounced ) {
   startAfter( 240 );
   EXPECT_EQ( sm->timerCount(), 2 );
   EXPECT_NEAR( wakeTime( true ), 760 + 285, 1e-4 );
   moveTo( 2000 );
   EXPECT_EQ( only( take(), "log" ), ( Log{ at( 1045, ending( 15 ) ) } ) );
}

TEST_F( Resume, PastBothPointsTheEndComesUnannounced ) {
   startAfter( 290 );
   EXPECT_EQ( sm->timerCount(), 2 );
   EXPECT_EQ( wakeTime( true ), 1010 );
   moveTo( 2000 );
   EXPECT_EQ(
      take(),
      ( Log{ "1000 proto portsErrdisabled true",
             "1010 proto portsErrdisabled false",
             "1010 proto portsErrdisabledWhen inf" } ) );
}

TEST_F( Resume, ExactlyAtTheFirstPointThatPointCountsAsPassed ) {
   startAfter( 225 );
   EXPECT_EQ( sm->timerCount(), 2 );
   EXPECT_NEAR( wakeTime( true ), 775 + 285, 1e-4 );
}

TEST_F( Resume, ExactlyAtTheSecondPointThatPointCountsAsPassed ) {
   // In single precision the point is a little before 285 seconds.
   startAfter( 285 );
   EXPECT_EQ( wakeTime( true ), 1015 );
}

TEST_F( Resume, ExactlyAtTheEndEverythingIsReleasedAtOnce ) {
   port( "Ethernet1" );
   startAfter( 300 );
   EXPECT_EQ(
      take(),
      ( Log{ "1000 proto portsErrdisabled true",
             "1000 proto portsErrdisabled false",
             "1000 proto portsErrdisabledWhen inf" } ) );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_TRUE( sm->initialized() );
}

TEST_F( Resume, LongAfterTheEndEverythingIsReleasedAtOnce ) {
   port( "Ethernet1" );
   startAfter( 999 );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), Ryx::never );
}

TEST_F( Resume, AStartMoreThanAPeriodAheadIsNotBelieved ) {
   startAfter( -1000 );
   EXPECT_EQ(
      take(),
      ( Log{ "1000 proto portsErrdisabled true",
             "1000 proto portsErrdisabledWhen 1000" } ) );
   EXPECT_EQ( wakeTime( true ), 1225 );
   EXPECT_EQ( sm->timerCount(), 1 );
}

TEST_F( Resume, AStartExactlyAPeriodAheadIsBelieved ) {
   startAfter( -300 );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 1300 );
   EXPECT_EQ( wakeTime( true ), 1525 );
}

TEST_F( Resume, AStartMoreThanTheOtherClassesPeriodAheadIsNotBelieved ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( 100 );
   startAfter( -101 );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 1000 );
}

TEST_F( Resume, AStartMoreThanTheMlagPeriodAheadIsNotBelieved ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( 900 );
   startAfter( -301 );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 1000 );
}

TEST_F( Resume, AStartWithinBothPeriodsAheadIsBelieved ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( 100 );
   startAfter( -100 );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 1100 );
   EXPECT_EQ( wakeTime( true ), 1325 );
   EXPECT_EQ( wakeTime( false ), 1175 );
}

TEST_F( Resume, UnderAnInfiniteDelayEveryFiniteStartIsBelieved ) {
   mlagConfig->reloadDelayIs( Ryx::never );
   startAfter( -1e9 );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 1e9 + 1000 );
   EXPECT_EQ( sm->timerCount(), 0 );
   EXPECT_EQ( wakeTime( true ), Ryx::never );
}

TEST_F( Resume, EachClassHasACounterOfItsOwnRestored ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( 120 );
   startAfter( 100 );
   // 75 % of 300 is ahead; of 120 only 95 % is.
   EXPECT_EQ( sm->timerCount(), 1 );
   EXPECT_EQ( wakeTime( true ), 1125 );
   EXPECT_EQ( sm->timerCountNonMlag(), 2 );
   EXPECT_NEAR( wakeTime( false ), 900 + 114, 1e-4 );
}

TEST_F( Resume, OneClassMayBeOverWhileTheOtherIsHeld ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( 50 );
   port( "Ethernet1" );
   port( "Ethernet2" );
   member( "Ethernet2", "Port-Channel10" );
   mlagInterface( "Port-Channel10" );
   startAfter( 100 );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet2" } ) );
   EXPECT_FALSE( sm->nonMlagPortsErrdisabled() );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( Resume, ANegativeStartIsAsGoodAsAnyOther ) {
   timeIs( -50 );
   mlagProtoStatus->portsErrdisabledWhenIs( -100 );
   take();
   start();
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), -100 );
   EXPECT_EQ( wakeTime( true ), 125 );
   moveTo( 500 );
   EXPECT_EQ(
      take(),
      ( Log{ "-50 proto portsErrdisabled true",
             at( 125, ending( 75 ) ),
             at( 185, ending( 15 ) ),
             "200 proto portsErrdisabled false",
             "200 proto portsErrdisabledWhen inf" } ) );
}

TEST_F( Resume, AnotherMachineTakesOverWhereOneWasDestroyed ) {
   port( "Ethernet1" );
   start();
   moveTo( 1030 );
   stop();
   moveTo( 1100 );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
   take();
   start();
   moveTo( 2000 );
   EXPECT_EQ(
      take(),
      ( Log{ at( 1225, ending( 75 ) ),
             at( 1285, ending( 15 ) ),
             "1300 cause Ethernet1 -",
             "1300 proto portsErrdisabled false",
             "1300 proto portsErrdisabledWhen inf" } ) );
}

} // namespace
