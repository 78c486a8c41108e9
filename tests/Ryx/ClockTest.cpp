// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The numbers are those of the promises before Clock.

#include "ClockFixture"

#include <support/AllocationCounter>

#include <cmath>
#include <stdexcept>

namespace {

// Promise 1.
TEST_F( ClockTest, ANewNotifieeIsDueAsSoonAsItIsBound ) {
   auto const timer = newTimer( "a" );
   EXPECT_EQ( timer->timeMin(), 0.0 );
   EXPECT_EQ( clock->nextTimeMin(), 0.0 );
   EXPECT_EQ( clock->handleTime(), 1u );
   EXPECT_EQ( calls, Calls{ "a" } );
}

// Promise 2.
TEST_F( ClockTest, ANotifieeThatIsNotRegisteredIsNotArmed ) {
   auto const timer = Ryx::make< Timer >( "a", calls );
   timer->notifierIs( clock );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   timer->isRegisteredNotifieeIs( true );
   EXPECT_EQ( clock->nextTimeMin(), 0.0 );
}

// Promise 1.
TEST_F( ClockTest, FiresOncePerSettingAndKeepsItsTime ) {
   auto const timer = quietTimer( "a" );
   timer->timeMinIs( 150 );
   handleTimeAt( 149.9 );
   EXPECT_EQ( calls, Calls() );
   handleTimeAt( 150 );
   handleTimeAt( 151 );
   EXPECT_EQ( calls, Calls{ "a" } );
   EXPECT_EQ( timer->timeMin(), 150 );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   timer->timeMinIs( 150 );
   handleTimeAt( 152 );
   EXPECT_EQ( calls, ( Calls{ "a", "a" } ) );
}

// Promise 1.
TEST_F( ClockTest, ALaterSettingReplacesTheEarlierOne ) {
   auto const timer = quietTimer( "a" );
   timer->timeMinIs( 110 );
   timer->timeMinIs( 120 );
   handleTimeAt( 119 );
   EXPECT_EQ( calls, Calls() );
   timer->timeMinIs( 119 );
   handleTimeAt( 119 );
   EXPECT_EQ( calls, Calls{ "a" } );
}

// Promise 2.
TEST_F( ClockTest, PositiveInfinityNeverFires ) {
   auto const timer = quietTimer( "a" );
   timer->timeMinIs( 110 );
   timer->timeMinIs( Ryx::never );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   handleTimeAt( 1e300 );
   handleTimeAt( Ryx::never );
   EXPECT_EQ( calls, Calls() );
   timer->timeMinIs( 110 );
   handleTimeAt( 110 );
   EXPECT_EQ( calls, Calls{ "a" } );
}

TEST_F( ClockTest, AWakeUpTimeThatIsNoNumberNeverComes ) {
   auto const timer = quietTimer( "a" );
   timer->timeMinIs( 110 );
   timer->timeMinIs( std::nan( "" ) );
   EXPECT_TRUE( std::isnan( timer->timeMin() ) );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   handleTimeAt( 1e9 );
   EXPECT_EQ( calls, Calls() );
}

TEST_F( ClockTest, NoNotifieeIsDueAtATimeThatIsNoNumber ) {
   auto const timer = quietTimer( "timer" );
   timer->timeMinIs( 5 );
   time.value = std::nan( "" );
   EXPECT_EQ( clock->handleTime(), 0u );
   EXPECT_EQ( calls, Calls{} );
}

TEST_F( ClockTest, ATimeThatGoesBackMeanwhileIsTheOneThatCounts ) {
   auto const first = quietTimer( "first" );
   auto const second = quietTimer( "second" );
   first->timeMinIs( 10 );
   second->timeMinIs( 12 );
   first->action = [ & ] { time.value = 5; };
   handleTimeAt( 20 );
   EXPECT_EQ( calls, Calls{ "first" } );
   EXPECT_EQ( clock->nextTimeMin(), 12 );
}

TEST_F( ClockTest, TwoNotifieesFireIndependentlyAtTheirOwnTimes ) {
   auto const a = quietTimer( "a" );
   auto const b = quietTimer( "b" );
   a->timeMinIs( 120 );
   b->timeMinIs( 110 );
   EXPECT_EQ( clock->nextTimeMin(), 110 );
   handleTimeAt( 110 );
   EXPECT_EQ( calls, Calls{ "b" } );
   EXPECT_EQ( clock->nextTimeMin(), 120 );
   handleTimeAt( 120 );
   EXPECT_EQ( calls, ( Calls{ "b", "a" } ) );
}

// Promise 2.
TEST_F( ClockTest, ASettingWaitsThroughDeregistration ) {
   auto const timer = quietTimer( "a" );
   timer->timeMinIs( 110 );
   timer->hasNotificationActiveIs( false );
   handleTimeAt( 120 );
   EXPECT_EQ( calls, Calls() );
   timer->hasNotificationActiveIs( true );
   clock->handleTime();
   EXPECT_EQ( calls, Calls{ "a" } );
   timer->isRegisteredNotifieeIs( false );
   timer->isRegisteredNotifieeIs( true );
   clock->handleTime();
   EXPECT_EQ( calls, Calls{ "a" } );
}

// Promise 2.
TEST_F( ClockTest, ARepointedNotifieeIsWokenByItsNewClock ) {
   auto const other = Ryx::make< Clock >( "other" );
   auto const timer = quietTimer( "a" );
   timer->timeMinIs( 110 );
   timer->notifierIs( other );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   EXPECT_EQ( other->nextTimeMin(), 110 );
   timer->notifierIs( nullptr );
   EXPECT_EQ( other->nextTimeMin(), Ryx::never );
}

TEST_F( ClockTest, AnObjectThatIsNoClockCountsAsNone ) {
   auto const timer = newTimer( "a" );
   timer->notifierIs( Ryx::make< Ryx::ActivityConfig >() );
   EXPECT_FALSE( timer->notifier() );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
}

// Promise 4.
TEST_F( ClockTest, ANotifieeMayArmItselfAgainWhenItFires ) {
   auto const timer = quietTimer( "a" );
   timer->action = [ & ] { timer->timeMinIs( timer->timeMin() + 10 ); };
   timer->timeMinIs( 110 );
   handleTimeAt( 110 );
   EXPECT_EQ( calls, Calls{ "a" } );
   EXPECT_EQ( clock->nextTimeMin(), 120 );
}

// Promise 4.
TEST_F( ClockTest, ArmingInThePastIsDueAtOnce ) {
   auto const timer = quietTimer( "a" );
   timer->action = [ & ] { timer->timeMinIs( timer->timeMin() + 10 ); };
   timer->timeMinIs( 110 );
   time.value = 135;
   EXPECT_EQ( clock->handleTime(), 3u );
   EXPECT_EQ( clock->nextTimeMin(), 140 );
}

TEST_F( ClockTest, ArmingAgainAllocatesNothing ) {
   std::vector< Ptr< Timer > > timers;
   for ( int i = 0; i < 20; ++i ) {
      timers.push_back( quietTimer( "a" ) );
      timers.back()->timeMinIs( 200 + i );
   }
   support::AllocationCounter const counter;
   for ( int i = 0; i < 20; ++i ) {
      timers[ static_cast< std::size_t >( i ) ]->timeMinIs( 300 - i );
   }
   EXPECT_EQ( counter.allocations(), 0u );
   EXPECT_EQ( clock->nextTimeMin(), 281 );
}

TEST_F( ClockTest, TimeIsItsOneAttribute ) {
   EXPECT_EQ( Clock::timeAttributeId, 258u );
   EXPECT_EQ( clock->attributeString( 258 ), "time" );
   EXPECT_EQ( clock->attributeString( 6 ), "isNondestructing" );
   EXPECT_EQ( clock->attributeString( 259 ), "unknown" );
   EXPECT_EQ( clock->name(), Ryx::Name( "clock" ) );
   EXPECT_EQ( clock->time(), 100 );
}

TEST_F( ClockTest, ADeferringNotifieeIsCalledByItsActivity ) {
   auto const timer = unboundTimer( "a" );
   timer->activity = Ryx::make< Ryx::ActivityConfig >();
   timer->notifierIs( clock );
   timer->action = [] { throw std::runtime_error( "a" ); };
   clock->handleTime();
   EXPECT_EQ( calls, Calls() );
   EXPECT_EQ( timer->activity->handleActivity(), 1u );
   EXPECT_EQ( calls, Calls{ "a" } );
   EXPECT_EQ( timer->exceptionOf, Clock::timeAttributeId );
   EXPECT_EQ( timer->activity->handleActivity(), 0u );
}

// Two changes of the clock itself do not mean that the time has come.
TEST_F( ClockTest, ADeferringNotifieeOfSeveralChangesIsNotWoken ) {
   auto const timer = unboundTimer( "a" );
   timer->activity = Ryx::make< Ryx::ActivityConfig >();
   timer->timeMinIs( Ryx::never );
   timer->notifierIs( clock );
   timer->isRegisteredNotifieeIs( false );
   timer->isRegisteredNotifieeIs( true );
   clock->isNondestructingIs( true );
   clock->isNondestructingIs( false );
   clock->parentIs( Ryx::make< Clock >( "parent" ) );
   EXPECT_EQ( timer->pendingAttributeId(), Ryx::allAttributesId );
   EXPECT_EQ( timer->activity->handleActivity(), 1u );
   EXPECT_EQ( timer->nondestructing, 1u );
   EXPECT_EQ( calls, Calls() );
}

TEST_F( ClockTest, ADeferringNotifieeHearsOfTheClockItselfWithoutATime ) {
   auto const timer = Ryx::make< Timer >( "a", calls );
   timer->activity = Ryx::make< Ryx::ActivityConfig >();
   timer->isRegisteredNotifieeIs( true );
   timer->notifierIs( clock );
   clock->isNondestructingIs( true );
   EXPECT_EQ( timer->nondestructing, 0u );
   EXPECT_EQ( timer->activity->handleActivity(), 1u );
   EXPECT_EQ( timer->nondestructing, 1u );
   EXPECT_EQ( calls, Calls() );
   clock->isNondestructingIs( false );
   EXPECT_EQ( timer->activity->handleActivity(), 1u );
}

TEST_F( ClockTest, OnTimeIsReachedByTheIdOfTheTime ) {
   auto const timer = unboundTimer( "a" );
   timer->handleDefault( nullptr, 258, false );
   timer->handleDefault( nullptr, 257, false );
   EXPECT_EQ( calls, Calls{ "a" } );
}

} // namespace
