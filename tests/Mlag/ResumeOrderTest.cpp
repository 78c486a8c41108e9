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

} // namespace
