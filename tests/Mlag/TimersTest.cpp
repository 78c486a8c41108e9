// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The periods of one delay that both classes share: points, messages, end.

#include "SmReach"

#include <Ryx/Activity>

#include <limits>

namespace {

class Timers : public SwitchFixture {
 public:
   Timers() { configureMlag(); }

   void startWith( Ryx::Seconds delay ) {
      mlagConfig->reloadDelayIs( delay );
      start();
      take();
   }
   static Log release( Ryx::Seconds when ) {
      return { at( when, "proto portsErrdisabled false" ),
               at( when, "proto portsErrdisabledWhen inf" ) };
   }
};

TEST_F( Timers, A300SecondsDelayIsAnnouncedAt225And285AndEndsAt300 ) {
   startWith( 300 );
   moveTo( 299.999 );
   EXPECT_EQ( take(), ( Log{ at( 225, ending( 75 ) ), at( 285, ending( 15 ) ) } ) );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
   moveTo( 300 );
   EXPECT_EQ( take(), release( 300 ) );
}

TEST_F( Timers, TheSecondPointIsALittleEarlySinceItsFractionIsOfSinglePrecision ) {
   startWith( 300 );
   moveTo( 225 );
   EXPECT_EQ( wakeTime( true ), static_cast< double >( 0.95f ) * 300 );
   EXPECT_LT( wakeTime( true ), 285 );
   EXPECT_EQ( wakeTime( false ), wakeTime( true ) );
   moveTo( 284.999 );
   EXPECT_EQ( only( take(), "log" ).size(), 1u );
   moveTo( 285 );
   EXPECT_EQ( wakeTime( true ), 300 );
}

TEST_F( Timers, WhatIsLeftIsRoundedUpToWholeSeconds ) {
   startWith( 11 );
   moveTo( 20 );
   // 2.75 and 0.55 seconds.
   EXPECT_EQ(
      take(),
      ( Log{ at( 8.25, ending( 3 ) ),
             at( 10.45, ending( 1 ) ),
             "11 proto portsErrdisabled false",
             "11 proto portsErrdisabledWhen inf" } ) );
}

TEST_F( Timers, LessThanHalfASecondCountsAsAWholeOneToo ) {
   startWith( 301 );
   moveTo( 300 );
   // 75.25 and 15.05 seconds.
   EXPECT_EQ( take(), ( Log{ at( 225.75, ending( 76 ) ), at( 285.95, ending( 16 ) ) } ) );
}

TEST_F( Timers, ManySecondsAreWrittenInTheFormOfADouble ) {
   startWith( 4e6 );
   moveTo( 3e6 );
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ "log MLAG_RELOAD_DELAY_ENDING Mlag reload-delay period will end in 1e+06 "
             "seconds" } ) );
}

TEST_F( Timers, TheStartOfThePeriodCountsAndNotZero ) {
   timeIs( 1000.5 );
   startWith( 300 );
   EXPECT_EQ( wakeTime( true ), 1225.5 );
   moveTo( 2000 );
   EXPECT_EQ(
      take(),
      ( Log{ at( 1225.5, ending( 75 ) ),
             at( 1285.5, ending( 15 ) ),
             "1300.5 proto portsErrdisabled false",
             "1300.5 proto portsErrdisabledWhen inf" } ) );
}

TEST_F( Timers, CountersGoFrom1To2AndNoFarther ) {
   startWith( 300 );
   EXPECT_EQ( sm->timerCount(), 1 );
   moveTo( 225 );
   EXPECT_EQ( sm->timerCount(), 2 );
   EXPECT_EQ( sm->timerCountNonMlag(), 2 );
   moveTo( 300 );
   EXPECT_EQ( sm->timerCount(), 2 );
   EXPECT_EQ( sm->timerCountNonMlag(), 2 );
}

TEST_F( Timers, EachClassWakesAtMostThreeTimes ) {
   startWith( 300 );
   tracingIs( true );
   moveTo( 10000 );
   Log wakeUps;
   for ( auto const& logged : take() ) {
      if ( logged.find( "handleClock_" ) != std::string::npos ) {
         wakeUps.push_back( logged.substr( 0, logged.find( ' ' ) ) );
      }
   }
   EXPECT_EQ( wakeUps, ( Log{ "225", "225", "285", "285", "300", "300" } ) );
   EXPECT_EQ( Ryx::activityManager()->clock()->nextTimeMin(), Ryx::never );
}

TEST_F( Timers, TheOtherClassWakesAtThePointsWithoutAMessage ) {
   startWith( 300 );
   tracingIs( true );
   moveTo( 225 );
   EXPECT_EQ(
      take(),
      ( Log{ at( 225, tracedCall( "handleClock_(bool)" ) ),
             at( 225, ending( 75 ) ),
             at( 225, tracedCall( "handleClock_(bool)" ) ),
             at( 225, tracedNonMlagDelay() ) } ) );
}

TEST_F( Timers, ADelayOf0ReleasesBothClassesAtTheStart ) {
   port( "Ethernet1" );
   mlagConfig->reloadDelayIs( 0 );
   timeIs( 5 );
   start();
   EXPECT_EQ(
      take(),
      ( Log{ "5 proto portsErrdisabled true",
             "5 proto portsErrdisabledWhen 5",
             "5 proto portsErrdisabled false",
             "5 proto portsErrdisabledWhen inf" } ) );
   EXPECT_EQ( held(), std::vector< std::string >() );
   EXPECT_EQ( wakeTime( true ), Ryx::never );
   EXPECT_EQ( sm->timerCount(), 0 );
}

TEST_F( Timers, ATinyDelayEndsWithTheMillisecondInWhichItIsOver ) {
   startWith( 0.0001 );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
   EXPECT_EQ( wakeTime( true ), 0.0001 );
   moveTo( 1 );
   EXPECT_EQ( take(), release( 0.001 ) );
}

TEST_F( Timers, AWakeUpAtTheVeryPointWaitsForTheEnd ) {
   startWith( 300 );
   sm->timerCountIs( 0 );
   timeIs( 225 );
   sm->handleClockMlag();
   EXPECT_EQ( wakeTime( true ), 300 );
   EXPECT_EQ( sm->timerCount(), 1 );
}

TEST_F( Timers, AnEvaluationIsTracedBeforeTheReleaseThatComesOfIt ) {
   startWith( 300 );
   timeIs( 100 );
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   tracingIs( true );
   mlagConfig->reloadDelayIs( 100 );
   Log const log = take();
   ASSERT_GE( log.size(), 3u );
   EXPECT_EQ( log[ 0 ], at( 100, tracedCall( "handleReloadDelay()" ) ) );
   EXPECT_EQ( log[ 1 ], at( 100, tracedCall( "handleReloadDelayMlag()" ) ) );
   EXPECT_EQ( log[ 2 ], at( 100, tracedCall( "doClearErrdisableMlagIntfStatus()" ) ) );
}

TEST_F( Timers, ANegativeDelayReleasesBothClassesAtTheStart ) {
   startWith( -5 );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( Timers, ADelayThatEqualsTheLogMinimumHasNoPoints ) {
   startWith( 10 );
   EXPECT_EQ( wakeTime( true ), 10 );
   EXPECT_EQ( sm->timerCount(), 0 );
   moveTo( 100 );
   EXPECT_EQ( take(), release( 10 ) );
}

TEST_F( Timers, AShortDelayEndsThoughItsCounterStandsAtTheFirstPoint ) {
   startWith( 8 );
   tracingIs( true );
   moveTo( 8 );
   EXPECT_EQ( sm->timerCount(), 1 );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( Timers, ADelayJustOverTheLogMinimumHasPoints ) {
   startWith( 10.001 );
   EXPECT_EQ( wakeTime( true ), 0.75 * 10.001 );
   moveTo( 100 );
   EXPECT_EQ( only( take(), "log" ).size(), 2u );
}

TEST_F( Timers, TheLogMinimumIsTheMachinesOwn ) {
   startWith( 300 );
   sm->logMinTimeIs( 300 );
   sm->handleReloadDelayMlag();
   EXPECT_EQ( wakeTime( true ), 300 );
   sm->logMinTimeIs( 299 );
   sm->handleReloadDelayMlag();
   EXPECT_EQ( wakeTime( true ), 225 );
   EXPECT_EQ( take(), Log() );
}

TEST_F( Timers, AnInfiniteDelayHasNoTimerAndNoMessage ) {
   port( "Ethernet1" );
   startWith( Ryx::never );
   EXPECT_EQ( wakeTime( true ), Ryx::never );
   EXPECT_EQ( wakeTime( false ), Ryx::never );
   EXPECT_EQ( sm->timerCount(), 0 );
   EXPECT_EQ( Ryx::activityManager()->clock()->nextTimeMin(), Ryx::never );
   moveTo( 1e9 );
   EXPECT_EQ( take(), Log() );
   EXPECT_EQ( held(), ( std::vector< std::string >{ "Ethernet1" } ) );
}

TEST_F( Timers, TheGreatestFiniteDelayIsNotInfinite ) {
   startWith( std::numeric_limits< double >::max() );
   EXPECT_LT( wakeTime( true ), Ryx::never );
   EXPECT_EQ( sm->timerCount(), 1 );
}

TEST_F( Timers, AWakeUpThatComesLateAnnouncesTheEndOrReleases ) {
   startWith( 300 );
   timeIs( 290 );
   Ryx::activityManager()->clock()->handleTime();
   // The first point's wake-up finds the second one past: only the end is ahead.
   EXPECT_EQ( take(), ( Log{ at( 290, ending( 10 ) ) } ) );
   EXPECT_EQ( wakeTime( true ), 300 );
   timeIs( 1000 );
   Ryx::activityManager()->clock()->handleTime();
   EXPECT_EQ( take(), release( 1000 ) );
}

TEST_F( Timers, AWakeUpThatComesTooEarlyGoesOnToThePointAhead ) {
   startWith( 300 );
   timeIs( 100 );
   sm->handleClockMlag();
   EXPECT_EQ( take(), ( Log{ at( 100, ending( 200 ) ) } ) );
   EXPECT_EQ( wakeTime( true ), static_cast< double >( 0.95f ) * 300 );
   sm->handleClockMlag();
   EXPECT_EQ( wakeTime( true ), 300 );
   EXPECT_EQ( sm->timerCount(), 2 );
}

TEST_F( Timers, TheMessageComesBeforeTheTimerIsSetAgain ) {
   startWith( 300 );
   std::vector< Ryx::Seconds > wakeTimes;
   onLine = [ & ]( std::string const& ) { wakeTimes.push_back( wakeTime( true ) ); };
   moveTo( 225 );
   EXPECT_EQ( wakeTimes, ( std::vector< Ryx::Seconds >{ 225 } ) );
}

TEST_F( Timers, ACounterBeyondThePointsActsAsTheEnd ) {
   startWith( 300 );
   sm->timerCountIs( 255 );
   sm->handleClockMlag();
   EXPECT_EQ( wakeTime( true ), 300 );
   EXPECT_EQ( sm->timerCount(), 255 );
}

TEST_F( Timers, TheClassesAreReleasedInTheOrderOfTheirTimers ) {
   port( "Ethernet1" );
   port( "Ethernet2" );
   member( "Ethernet2", "Port-Channel10" );
   mlagInterface( "Port-Channel10" );
   startWith( 300 );
   moveTo( 299 );
   take();
   moveTo( 300 );
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ "cause Ethernet2 -",
             "snooping Port-Channel10 -",
             "cause Ethernet1 -",
             "proto portsErrdisabled false",
             "proto portsErrdisabledWhen inf" } ) );
}

TEST_F( Timers, ANegativeDelayFromALaterStartWakesOnceMoreAfterItsEnd ) {
   startWith( 300 );
   mlagProtoStatus->portsErrdisabledWhenIs( 105 );
   mlagConfig->reloadDelayIs( -100 );
   take();
   EXPECT_EQ( wakeTime( true ), 5 );
   moveTo( 5 );
   EXPECT_EQ( take(), Log{ at( 5, ending( 0 ) ) } );
   EXPECT_EQ( wakeTime( true ), 30 );
   EXPECT_TRUE( sm->mlagPortsErrdisabled() );
   moveTo( 30 );
   EXPECT_EQ( take(), release( 30 ) );
}

} // namespace
