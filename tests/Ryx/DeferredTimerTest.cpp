// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A timer whose onTime() waits in its activity's queue: its setting has not fired yet.

#include "ClockFixture"

namespace {

class DeferredTimerTest : public ClockTest {
 protected:
   // Due, and queued.
   DeferredTimerTest() {
      timer->activity = activity;
      timer->notifierIs( clock );
      clock->handleTime();
      EXPECT_EQ( activity->pending(), 1u );
   }
   void expectNoCall() {
      EXPECT_EQ( activity->handleActivity(), 0u );
      EXPECT_EQ( calls, Calls() );
   }
   // When the clock has looked once more.
   void expectOneCallOn( Ptr< Clock > const& on ) {
      EXPECT_EQ( on->handleTime(), 1u );
      EXPECT_EQ( activity->handleActivity(), 1u );
      EXPECT_EQ( calls, Calls{ "a" } );
      EXPECT_EQ( on->handleTime(), 0u );
      EXPECT_EQ( activity->handleActivity(), 0u );
   }

   Ptr< Ryx::ActivityConfig > activity = Ryx::make< Ryx::ActivityConfig >();
   Ptr< Timer > const timer = unboundTimer( "a" );
};

TEST_F( DeferredTimerTest, IsNotCalledOnceItIsDisarmed ) {
   timer->timeMinIs( Ryx::never );
   expectNoCall();
}

TEST_F( DeferredTimerTest, ThatIsSetToALaterTimeIsCalledThen ) {
   timer->timeMinIs( 200 );
   expectNoCall();
   time.value = 200;
   expectOneCallOn( clock );
}

TEST_F( DeferredTimerTest, ThatIsSetToAPastTimeIsCalledOnce ) {
   timer->timeMinIs( 50 );
   expectOneCallOn( clock );
}

TEST_F( DeferredTimerTest, ThatIsDeregisteredIsCalledOnceItIsRegisteredAgain ) {
   timer->isRegisteredNotifieeIs( false );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   expectNoCall();
   timer->isRegisteredNotifieeIs( true );
   expectNoCall();
   expectOneCallOn( clock );
}

TEST_F( DeferredTimerTest, ThatIsTurnedOffIsNotCalled ) {
   timer->hasNotificationActiveIs( false );
   expectNoCall();
}

TEST_F( DeferredTimerTest, ThatIsRePointedIsCalledByItsNewClock ) {
   auto const other = Ryx::make< Clock >( "other" );
   timer->notifierIs( other );
   expectNoCall();
   expectOneCallOn( other );
}

TEST_F( DeferredTimerTest, ThatIsUnboundIsNotCalled ) {
   timer->notifierIs( nullptr );
   expectNoCall();
}

TEST_F( DeferredTimerTest, ThatIsBoundToItsClockAgainIsCalledOnce ) {
   timer->notifierIs( clock );
   expectOneCallOn( clock );
}

TEST_F( DeferredTimerTest, ThatIsSetAgainAndFiresAgainWaitsOnce ) {
   timer->timeMinIs( 90 );
   clock->handleTime();
   timer->timeMinIs( 95 );
   clock->handleTime();
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "a" } );
}

TEST_F( DeferredTimerTest, ThatIsDisarmedHearsOfTheClockAllTheSame ) {
   clock->isNondestructingIs( true );
   timer->timeMinIs( Ryx::never );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( timer->nondestructing, 1u );
   EXPECT_EQ( calls, Calls() );
   clock->isNondestructingIs( false );
   activity->handleActivity();
}

TEST_F( DeferredTimerTest, HearsOfTheClockAndThenOfTheTime ) {
   clock->isNondestructingIs( true );
   EXPECT_EQ( activity->pending(), 1u );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( timer->nondestructing, 1u );
   EXPECT_EQ( calls, Calls{ "a" } );
   clock->isNondestructingIs( false );
   activity->handleActivity();
}

TEST_F( DeferredTimerTest, ThatIsDisarmedWhenItHearsOfTheClockIsNotCalled ) {
   timer->atNondestructing = [ this ] { timer->timeMinIs( Ryx::never ); };
   clock->isNondestructingIs( true );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( timer->nondestructing, 1u );
   EXPECT_EQ( calls, Calls() );
   clock->isNondestructingIs( false );
   activity->handleActivity();
}

TEST_F( DeferredTimerTest, ThatLosesItsActivityIsCalledByTheNextOne ) {
   activity = nullptr;
   timer->activity = Ryx::make< Ryx::ActivityConfig >();
   EXPECT_EQ( clock->nextTimeMin(), 0 );
   EXPECT_EQ( clock->handleTime(), 1u );
   EXPECT_EQ( calls, Calls() );
   EXPECT_EQ( timer->activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "a" } );
   EXPECT_EQ( clock->handleTime(), 0u );
}

TEST_F( DeferredTimerTest, ThatLosesItsActivityForGoodIsCalledByTheClock ) {
   activity = nullptr;
   timer->activity = nullptr;
   EXPECT_EQ( clock->handleTime(), 1u );
   EXPECT_EQ( calls, Calls{ "a" } );
   EXPECT_EQ( clock->handleTime(), 0u );
}

TEST_F( DeferredTimerTest, ThatWasDisarmedAndLosesItsActivityIsNotCalled ) {
   timer->timeMinIs( Ryx::never );
   activity = nullptr;
   timer->activity = nullptr;
   EXPECT_EQ( clock->handleTime(), 0u );
   EXPECT_EQ( calls, Calls() );
}

TEST_F( DeferredTimerTest, ThatIsDeregisteredAndLosesItsActivityIsCalledOnceRegistered ) {
   timer->isRegisteredNotifieeIs( false );
   activity = nullptr;
   timer->activity = nullptr;
   EXPECT_EQ( clock->handleTime(), 0u );
   timer->isRegisteredNotifieeIs( true );
   EXPECT_EQ( clock->handleTime(), 1u );
   EXPECT_EQ( calls, Calls{ "a" } );
}

TEST_F( DeferredTimerTest, OfAWeakClockThatHasGoneIsNotCalled ) {
   auto const weak = Ryx::make< Timer >( "weak", calls );
   auto gone = Ryx::make< Clock >( "gone" );
   weak->activity = activity;
   weak->isWeakReferenceIs( true );
   weak->notifierIs( gone );
   weak->isRegisteredNotifieeIs( true );
   gone->handleTime();
   timer->timeMinIs( Ryx::never );
   gone = nullptr;
   expectNoCall();
   weak->handleNotification( activity.ptr() );
   EXPECT_EQ( calls, Calls() );
   weak->notifierIs( clock );
   EXPECT_EQ( clock->handleTime(), 1u );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "weak" } );
}

} // namespace
