// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a machine that finds a period begun asks and writes, in its order.

#include "SmReach"

#include <algorithm>
#include <limits>

namespace {

class ResumeOrder : public SwitchFixture {
 public:
   ResumeOrder() {
      configureMlag();
      timeIs( 1000 );
   }
   void startWith( Ryx::Seconds start ) {
      mlagProtoStatus->portsErrdisabledWhenIs( start );
      take();
      tracingIs( true );
      this->start();
      tracingIs( false );
   }
   // The lines up to the look at the configuration, without their times.
   Log before() {
      Log log = takeUntimed();
      auto const end =
         std::find( log.begin(), log.end(), tracedCall( "handleMlagConfig()" ) );
      EXPECT_NE( end, log.end() );
      log.erase( end, log.end() );
      return log;
   }
};

TEST_F( ResumeOrder, ABelievedStartAsksForTheOtherDelayToJudgeItAndForItsCounter ) {
   startWith( 970 );
   EXPECT_EQ(
      before(),
      ( Log{ tracedCall( "handleInitialized()" ),
             "proto portsErrdisabled true",
             tracedNonMlagDelay(),
             tracedNonMlagDelay() } ) );
}

TEST_F( ResumeOrder, AStartBeyondTheMlagPeriodIsJudgedWithoutTheOther ) {
   startWith( 1300.001 );
   EXPECT_EQ(
      before(),
      ( Log{ tracedCall( "handleInitialized()" ),
             "proto portsErrdisabled true",
             "proto portsErrdisabledWhen 1000",
             tracedNonMlagDelay() } ) );
}

TEST_F( ResumeOrder, ABeginningAsksForNoDelay ) {
   startWith( Ryx::never );
   EXPECT_EQ(
      before(),
      ( Log{ tracedCall( "handleInitialized()" ),
             "proto portsErrdisabled true",
             "proto portsErrdisabledWhen 1000" } ) );
}

TEST_F( ResumeOrder, TheGreatestFiniteStartIsAPeriodBegun ) {
   mlagConfig->reloadDelayIs( Ryx::never );
   startWith( std::numeric_limits< double >::max() );
   EXPECT_EQ(
      mlagProtoStatus->portsErrdisabledWhen(), std::numeric_limits< double >::max() );
}

TEST_F( ResumeOrder, AStartOfThisMomentHasEveryPointAhead ) {
   startWith( 1000 );
   EXPECT_EQ( wakeTime( true ), 1225 );
   EXPECT_EQ( wakeTime( false ), 1225 );
   EXPECT_EQ( sm->timerCount(), 1 );
}

// A time that moves on by a second with every look at it.
class MovingTime final : public Ryx::TimeSource {
 public:
   explicit MovingTime( Ryx::Seconds first ) : next_( first ) { Ryx::timeSourceIs( this ); }
   MovingTime( MovingTime const& ) = delete;
   MovingTime& operator=( MovingTime const& ) = delete;

   Ryx::Seconds now() const override { return next_++; }

 private:
   mutable Ryx::Seconds next_;
};

class MovingClock : public SwitchFixture {
 public:
   MovingClock() {
      configureMlag();
      start();
      take();
   }
   // Wakes the MLAG class up in a time that moves on with every look at it.
   void wakeUpAt( Ryx::Seconds time ) {
      MovingTime const moving( time );
      sm->handleClockMlag();
      Ryx::timeSourceIs( &loop );
   }
};

TEST_F( MovingClock, WhatIsLeftIsCountedFromASecondLook ) {
   wakeUpAt( 225 );
   EXPECT_EQ( takeUntimed(), ( Log{ ending( 74 ) } ) );
}

TEST_F( MovingClock, WhereToWakeUpNextIsDecidedByTheFirstLook ) {
   // The second point comes between the two.
   wakeUpAt( 284.5 );
   EXPECT_EQ( takeUntimed(), ( Log{ ending( 15 ) } ) );
   EXPECT_EQ( wakeTime( true ), static_cast< double >( 0.95f ) * 300 );
}

} // namespace
