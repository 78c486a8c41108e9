// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A delay of its own for the ports that are no MLAG interfaces. Ethernet1 is one of those,
// Ethernet2 belongs to the MLAG port-channel Port-Channel10.

#include "SmReach"

#include <limits>

namespace {

class NonMlagDelay : public SwitchFixture {
 public:
   NonMlagDelay() {
      configureMlag();
      port( "Ethernet1" );
      port( "Ethernet2" );
      member( "Ethernet2", "Port-Channel10" );
      mlagInterface( "Port-Channel10" );
   }
   void startWith( Ryx::Seconds mlag, Ryx::Seconds nonMlag ) {
      mlagConfig->reloadDelayIs( mlag );
      mlagConfig->reloadDelayNonMlagConfiguredIs( true );
      mlagConfig->reloadDelayNonMlagIs( nonMlag );
      start();
      take();
   }
   static Log mlagRelease( Ryx::Seconds when ) {
      return { at( when, "cause Ethernet2 -" ), at( when, "snooping Port-Channel10 -" ) };
   }
   static Log nonMlagRelease( Ryx::Seconds when ) {
      return { at( when, "cause Ethernet1 -" ) };
   }
   static Log theEnd( Ryx::Seconds when ) {
      return { at( when, "proto portsErrdisabled false" ),
               at( when, "proto portsErrdisabledWhen inf" ) };
   }
   static Log all( std::initializer_list< Log > parts ) {
      Log whole;
      for ( auto const& part : parts ) {
         whole.insert( whole.end(), part.begin(), part.end() );
      }
      return whole;
   }
};

TEST_F( NonMlagDelay, LengthIsItsOwnOnlyWhileConfigured ) {
   mlagConfig->reloadDelayNonMlagIs( 77 );
   start();
   EXPECT_EQ( sm->reloadDelayNonMlag(), 300 );
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   EXPECT_EQ( sm->reloadDelayNonMlag(), 77 );
}

TEST_F( NonMlagDelay, ShorterOneEndsFirstWithMessagesOfItsOwn ) {
   startWith( 300, 100 );
   moveTo( 1000 );
   EXPECT_EQ(
      take(),
      all( { { at( 75, endingNonMlag( 25 ) ), at( 95, endingNonMlag( 5 ) ) },
             nonMlagRelease( 100 ),
             { at( 225, ending( 75 ) ), at( 285, ending( 15 ) ) },
             mlagRelease( 300 ),
             theEnd( 300 ) } ) );
}

TEST_F( NonMlagDelay, LongerOneWaitsForItsOwnEnd ) {
   startWith( 100, 300 );
   moveTo( 100 );
   EXPECT_EQ(
      take(),
      all( { { at( 75, ending( 25 ) ), at( 95, ending( 5 ) ) }, mlagRelease( 100 ) } ) );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 0 );
   EXPECT_FALSE( sm->mlagPortsErrdisabled() );
   EXPECT_TRUE( sm->nonMlagPortsErrdisabled() );
   moveTo( 1000 );
   EXPECT_EQ(
      take(),
      all( { { at( 225, endingNonMlag( 75 ) ), at( 285, endingNonMlag( 15 ) ) },
             nonMlagRelease( 300 ),
             theEnd( 300 ) } ) );
}

TEST_F( NonMlagDelay, EqualOneHasNoMessages ) {
   startWith( 300, 300 );
   moveTo( 1000 );
   EXPECT_EQ(
      take(),
      all( { { at( 225, ending( 75 ) ), at( 285, ending( 15 ) ) },
             mlagRelease( 300 ),
             nonMlagRelease( 300 ),
             theEnd( 300 ) } ) );
}

TEST_F( NonMlagDelay, InfiniteOneStaysHeldWhenTheMlagPeriodEnds ) {
   startWith( 300, Ryx::never );
   EXPECT_EQ( wakeTime( false ), Ryx::never );
   moveTo( 1000 );
   EXPECT_EQ(
      take(),
      all( { { at( 225, ending( 75 ) ), at( 285, ending( 15 ) ) }, mlagRelease( 300 ) } ) );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 0 );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
}

TEST_F( NonMlagDelay, InfiniteOneIsEndedByStateAndByConfiguration ) {
   startWith( 300, Ryx::never );
   moveTo( 400 );
   take();
   state( MlagState::mlagPrimary );
   EXPECT_EQ( take(), all( { nonMlagRelease( 400 ), theEnd( 400 ) } ) );
}

TEST_F( NonMlagDelay, FiniteOneEndsUnderAnInfiniteMlagDelay ) {
   startWith( Ryx::never, 100 );
   moveTo( 1000 );
   EXPECT_EQ(
      take(),
      all( { { at( 75, endingNonMlag( 25 ) ), at( 95, endingNonMlag( 5 ) ) },
             nonMlagRelease( 100 ) } ) );
   EXPECT_TRUE( sm->mlagPortsErrdisabled() );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( NonMlagDelay, OneOf0IsReleasedAtTheStart ) {
   startWith( 300, 0 );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet2" } ) );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_FALSE( sm->nonMlagPortsErrdisabled() );
}

TEST_F( NonMlagDelay, AnMlagDelayOf0ReleasesOnlyTheMlagPorts ) {
   startWith( 0, 300 );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
   EXPECT_FALSE( sm->mlagPortsErrdisabled() );
   EXPECT_EQ( wakeTime( false ), 225 );
}

TEST_F( NonMlagDelay, ChangedWhileItRunsRestartsItsOwnTimerAlone ) {
   startWith( 300, 200 );
   moveTo( 160 );
   take();
   EXPECT_EQ( sm->timerCountNonMlag(), 2 );
   mlagConfig->reloadDelayNonMlagIs( 400 );
   EXPECT_EQ( wakeTime( false ), 300 );
   EXPECT_EQ( sm->timerCountNonMlag(), 1 );
   EXPECT_EQ( wakeTime( true ), 225 );
   mlagConfig->reloadDelayNonMlagIs( 100 );
   EXPECT_EQ( take(), nonMlagRelease( 160 ) );
   EXPECT_EQ( wakeTime( true ), 225 );
}

TEST_F( NonMlagDelay, MlagDelayChangedLeavesTheOtherTimerAlone ) {
   startWith( 300, 200 );
   mlagConfig->reloadDelayIs( 600 );
   EXPECT_EQ( wakeTime( true ), 450 );
   EXPECT_EQ( wakeTime( false ), 150 );
}

TEST_F( NonMlagDelay, TheFlagAloneChangesNothingUntilTheNextWakeUp ) {
   startWith( 300, 400 );
   mlagConfig->reloadDelayNonMlagConfiguredIs( false );
   EXPECT_EQ( wakeTime( false ), 300 );
   moveTo( 299 );
   take();
   moveTo( 1000 );
   // Both timers are due at 300; the other period has become 300 seconds long.
   EXPECT_EQ( take(), all( { mlagRelease( 300 ), nonMlagRelease( 300 ), theEnd( 300 ) } ) );
}

TEST_F( NonMlagDelay, TheFlagSetWhileBothRunIsSeenAtTheNextPoint ) {
   mlagConfig->reloadDelayNonMlagIs( 400 );
   start();
   take();
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   EXPECT_EQ( wakeTime( false ), 225 );
   moveTo( 225 );
   EXPECT_EQ( take(), ( Log{ at( 225, ending( 75 ) ), at( 225, endingNonMlag( 175 ) ) } ) );
   EXPECT_NEAR( wakeTime( false ), 380, 1e-4 );
   moveTo( 1000 );
   EXPECT_EQ(
      take(),
      all( { { at( 285, ending( 15 ) ) },
             mlagRelease( 300 ),
             { at( 380, endingNonMlag( 20 ) ) },
             nonMlagRelease( 400 ),
             theEnd( 400 ) } ) );
}

TEST_F( NonMlagDelay, ChangedWhileNotConfiguredRearmsTheClassWithTheCommonDelay ) {
   start();
   moveTo( 100 );
   take();
   sm->timerCountNonMlagIs( 2 );
   mlagConfig->reloadDelayNonMlagIs( 77 );
   EXPECT_EQ( wakeTime( false ), 225 );
   EXPECT_EQ( sm->timerCountNonMlag(), 1 );
   moveTo( 230 );
   take();
   // Past three quarters, this releases the class.
   mlagConfig->reloadDelayNonMlagIs( 78 );
   EXPECT_EQ( take(), nonMlagRelease( 230 ) );
}

TEST_F( NonMlagDelay, DelaysThatCannotBeComparedCountAsDifferent ) {
   startWith( 300, 200 );
   double const nan = std::numeric_limits< double >::quiet_NaN();
   mlagConfig->reloadDelayIs( nan );
   moveTo( 150 );
   EXPECT_EQ( take(), ( Log{ at( 150, endingNonMlag( 50 ) ) } ) );
}

TEST_F( NonMlagDelay, OneAtTheLogMinimumHasNoMessages ) {
   startWith( 300, 10 );
   EXPECT_EQ( wakeTime( false ), 10 );
   moveTo( 200 );
   EXPECT_EQ( take(), nonMlagRelease( 10 ) );
}

} // namespace
