// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A delay that is changed while its period runs.

#include "SmReach"

namespace {

class DelayChange : public SwitchFixture {
 public:
   DelayChange() {
      configureMlag();
      port( "Ethernet1" );
      timeIs( 1000 );
      start();
      take();
   }
   void changeTo( Ryx::Seconds delay ) { mlagConfig->reloadDelayIs( delay ); }
   static Log releasedAt( Ryx::Seconds when ) {
      return { at( when, "cause Ethernet1 -" ),
               at( when, "proto portsErrdisabled false" ),
               at( when, "proto portsErrdisabledWhen inf" ) };
   }
};

TEST_F( DelayChange, LongerOneRestartsThePointsFromTheOldStart ) {
   moveTo( 1100 );
   changeTo( 600 );
   EXPECT_EQ( wakeTime( true ), 1450 );
   EXPECT_EQ( wakeTime( false ), 1450 );
   EXPECT_EQ( sm->timerCount(), 1 );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 1000 );
   moveTo( 3000 );
   EXPECT_EQ(
      only( take(), "log" ),
      ( Log{ at( 1450, ending( 150 ) ), at( 1570, ending( 30 ) ) } ) );
}

TEST_F( DelayChange, LongerOneAnnouncesAgainWhatWasAnnounced ) {
   moveTo( 1290 );
   EXPECT_EQ( sm->timerCount(), 2 );
   take();
   changeTo( 600 );
   EXPECT_EQ( sm->timerCount(), 1 );
   moveTo( 1600 );
   EXPECT_EQ( take().front(), at( 1450, ending( 150 ) ) );
}

TEST_F( DelayChange, ShorterOnePastThreeQuartersReleasesAtOnceBeforeItsEnd ) {
   moveTo( 1100 );
   changeTo( 120 );
   EXPECT_EQ( take(), releasedAt( 1100 ) );
   EXPECT_EQ( wakeTime( true ), Ryx::never );
   EXPECT_EQ( wakeTime( false ), Ryx::never );
}

TEST_F( DelayChange, ShorterOneExactlyAtThreeQuartersReleasesAtOnce ) {
   moveTo( 1090 );
   changeTo( 120 );
   EXPECT_EQ( take(), releasedAt( 1090 ) );
}

TEST_F( DelayChange, ShorterOneJustBeforeThreeQuartersIsHeldToItsEnd ) {
   moveTo( 1089.999 );
   changeTo( 120 );
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( wakeTime( true ), 1090 );
   moveTo( 1119.999 );
   EXPECT_EQ( take(), ( Log{ at( 1090, ending( 30 ) ), at( 1114, ending( 6 ) ) } ) );
   moveTo( 1120 );
   EXPECT_EQ( take(), releasedAt( 1120 ) );
}

TEST_F( DelayChange, LongerOnePastItsThreeQuartersReleasesAtOnceToo ) {
   moveTo( 1290 );
   take();
   changeTo( 380 );
   EXPECT_EQ( take(), releasedAt( 1290 ) );
}

TEST_F( DelayChange, ToOneWithoutPointsEndsAtItsEnd ) {
   moveTo( 1009 );
   changeTo( 10 );
   EXPECT_EQ( wakeTime( true ), 1010 );
   EXPECT_EQ( sm->timerCount(), 0 );
   moveTo( 1100 );
   EXPECT_EQ( take(), releasedAt( 1010 ) );
}

TEST_F( DelayChange, To0ReleasesAtOnce ) {
   changeTo( 0 );
   EXPECT_EQ( take(), releasedAt( 1000 ) );
}

TEST_F( DelayChange, ToInfinityStopsTheTimersAndHoldsOn ) {
   moveTo( 1230 );
   take();
   changeTo( Ryx::never );
   EXPECT_EQ( wakeTime( true ), Ryx::never );
   EXPECT_EQ( wakeTime( false ), Ryx::never );
   EXPECT_EQ( sm->timerCount(), 0 );
   moveTo( 9000 );
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
}

TEST_F( DelayChange, FromInfinityBackTakesTheOldStart ) {
   changeTo( Ryx::never );
   moveTo( 1100 );
   changeTo( 300 );
   EXPECT_EQ( wakeTime( true ), 1225 );
   changeTo( Ryx::never );
   moveTo( 1500 );
   changeTo( 300 );
   EXPECT_EQ( take(), releasedAt( 1500 ) );
}

TEST_F( DelayChange, AnInfiniteDelayIsEndedByConfiguration ) {
   changeTo( Ryx::never );
   mlagConfig->enabledIs( false );
   EXPECT_EQ( take(), releasedAt( 1000 ) );
}

TEST_F( DelayChange, AnInfiniteDelayIsEndedByState ) {
   changeTo( Ryx::never );
   state( MlagState::mlagPrimary );
   EXPECT_EQ( take(), releasedAt( 1000 ) );
}

TEST_F( DelayChange, AfterTheReleaseDoesNothing ) {
   moveTo( 1300 );
   take();
   changeTo( 600 );
   changeTo( Ryx::never );
   changeTo( 0 );
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( wakeTime( true ), Ryx::never );
   EXPECT_EQ( wakeTime( false ), Ryx::never );
}

TEST_F( DelayChange, ToTheSameValueChangesNothing ) {
   moveTo( 1260 );
   take();
   changeTo( 300 );
   EXPECT_EQ( sm->timerCount(), 2 );
   EXPECT_EQ( take(), Log() );
}

TEST_F( DelayChange, BetweenThePointsWithTheSameDelayReleasesWhenItIsHandledAgain ) {
   moveTo( 1230 );
   take();
   sm->handleReloadDelay();
   EXPECT_EQ( take(), releasedAt( 1230 ) );
}

TEST_F( DelayChange, TracesEachStep ) {
   tracingIs( true );
   changeTo( 600 );
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ tracedCall( "handleReloadDelay()" ),
             tracedCall( "handleReloadDelayMlag()" ),
             tracedCall( "handleReloadDelayNonMlag()" ),
             tracedNonMlagDelay() } ) );
}

} // namespace
