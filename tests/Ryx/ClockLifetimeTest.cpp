// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Notifiees and clocks that go, or are let go, while a clock calls. The numbers are those of
// the promises before Clock.

#include "ClockFixture"
#include "SecondThread"

#include <stdexcept>

namespace {

// Promise 4.
TEST_F( ClockTest, ANotifieeThatAnEarlierCallbackTookAwayIsNotCalled ) {
   auto const other = Ryx::make< Clock >( "other" );
   auto const first = newTimer( "first" );
   auto const deregistered = newTimer( "deregistered" );
   auto const repointed = newTimer( "repointed" );
   auto const disarmed = newTimer( "disarmed" );
   auto destroyed = newTimer( "destroyed" );
   auto const last = newTimer( "last" );
   first->action = [ & ] {
      deregistered->isRegisteredNotifieeIs( false );
      repointed->notifierIs( other );
      disarmed->timeMinIs( Ryx::never );
      destroyed = nullptr;
   };
   EXPECT_EQ( clock->handleTime(), 2u );
   EXPECT_EQ( calls, ( Calls{ "first", "last" } ) );
}

// Promise 4.
TEST_F( ClockTest, ANotifieeMayDestroyItselfAndTheClock ) {
   auto timer = newTimer( "a" );
   timer->action = [ & ] {
      clock = nullptr;
      timer = nullptr;
   };
   clock->handleTime();
   EXPECT_EQ( calls, Calls{ "a" } );
   EXPECT_FALSE( timer );
}

// Promise 4.
TEST_F( ClockTest, AWeakNotifieeIsCalledThoughAnEarlierOneHasLetGoOfTheClock ) {
   auto const weakTimer = [ this ]( std::string const& name ) {
      auto timer = unboundTimer( name );
      timer->isWeakReferenceIs( true );
      timer->notifierIs( clock );
      return timer;
   };
   auto const a = weakTimer( "a" );
   auto const b = weakTimer( "b" );
   a->action = [ this ] { clock = nullptr; };
   b->action = [ &b ] { EXPECT_TRUE( b->notifier() ); };
   clock->handleTime();
   EXPECT_EQ( calls, ( Calls{ "a", "b" } ) );
   EXPECT_FALSE( b->notifier() );
}

// Promise 4.
TEST_F( ClockTest, ANotifieeIsHeldWhileItIsCalled ) {
   auto timer = newTimer( "a" );
   Timer* const borrowed = timer.ptr();
   timer->action = [ & ] {
      timer = nullptr;
      EXPECT_EQ( borrowed->references(), 1u );
   };
   clock->handleTime();
   EXPECT_EQ( calls, Calls{ "a" } );
}

// Promise 5.
TEST_F( ClockTest, AnExceptionGoesToItsNotifieeAndTheOthersAreCalled ) {
   auto const a = newTimer( "a" );
   auto const b = newTimer( "b" );
   a->action = [] { throw std::runtime_error( "a" ); };
   clock->handleTime();
   EXPECT_EQ( calls, ( Calls{ "a", "b" } ) );
   EXPECT_EQ( a->exceptionOf, Clock::timeAttributeId );
   EXPECT_EQ( b->exceptionOf, 0u );
}

TEST_F( ClockTest, CallsUnderAnExpectScope ) {
   auto const timer = newTimer( "a" );
   clock->handleTime();
   EXPECT_EQ( timer->expected, 0u );
   EXPECT_EQ( Ryx::Expect::innermost(), nullptr );
}

TEST_F( ClockTest, ANotifieeThatIsDestroyedWhileArmedIsForgotten ) {
   auto timer = quietTimer( "a" );
   timer->timeMinIs( 110 );
   timer = nullptr;
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   EXPECT_EQ( clock->references(), 1u );
}

// Its destructor may call the clock; the object is whole no more.
TEST_F( ClockTest, ANotifieeThatIsBeingDestroyedIsNotCalled ) {
   auto const other = newTimer( "other" );
   auto timer = newTimer( "a" );
   unsigned fired = 0;
   timer->atItsEnd = [ & ] { fired = clock->handleTime(); };
   timer = nullptr;
   EXPECT_EQ( fired, 1u );
   EXPECT_EQ( calls, Calls{ "other" } );
}

// It has lost its last pointer, and its destructor has not begun.
TEST_F( ClockTest, ANotifieeThatIsKeptAtItsLastPointerIsCalled ) {
   class Kept final : public Clock::NotifieeConst {
    public:
      explicit Kept( Ptr< Kept >& keeper ) : keeper_( keeper ) {}
      void zeroReferencesIs( bool zero ) override {
         Clock::NotifieeConst::zeroReferencesIs( zero );
         if ( isToBeKept ) {
            keeper_ = Ptr< Kept >( this );
         }
      }
      void onTime() override { ++called; }

      bool isToBeKept = true;
      unsigned called = 0;

    private:
      Ptr< Kept >& keeper_;
   };
   Ptr< Kept > keeper;
   auto timer = Ryx::make< Kept >( keeper );
   timer->notifierIs( clock );
   timer->isRegisteredNotifieeIs( true );
   timer = nullptr;
   ASSERT_TRUE( keeper );
   EXPECT_EQ( clock->handleTime(), 1u );
   EXPECT_EQ( keeper->called, 1u );
   keeper->isToBeKept = false;
}

TEST_F( ClockTest, ANotifieeThatIsHeldIsCalledThoughNobodyReferencesIt ) {
   auto timer = newTimer( "a" );
   Timer* const raw = timer.ptr();
   raw->ryxHeldIs( true );
   timer = nullptr;
   EXPECT_EQ( clock->handleTime(), 1u );
   EXPECT_EQ( calls, Calls{ "a" } );
   raw->ryxHeldIs( false );
   EXPECT_EQ( clock->notifieeCount(), 0u );
}

TEST_F( ClockTest, ANotifieeIsHeldWhenTheSecondThreadGoesMeanwhile ) {
   AsWithASecondThread const scope;
   auto first = newTimer( "first" );
   auto second = newTimer( "second" );
   first->action = [] { AsWithASecondThread::goes(); };
   second->action = [ & ] {
      second = nullptr;
      EXPECT_EQ( clock->notifieeCount(), 2u );
   };
   EXPECT_EQ( clock->handleTime(), 2u );
   EXPECT_EQ( clock->notifieeCount(), 1u );
}

TEST_F( ClockTest, AWeakNotifieeIsLeftWithoutAClockWhenItDies ) {
   auto const armed = Ryx::make< Timer >( "armed", calls );
   auto const parked = Ryx::make< Timer >( "parked", calls );
   for ( auto const& timer : { armed, parked } ) {
      timer->isWeakReferenceIs( true );
      timer->notifierIs( clock );
   }
   armed->isRegisteredNotifieeIs( true );
   EXPECT_EQ( clock->references(), 1u );
   clock = nullptr;
   EXPECT_FALSE( armed->notifier() );
   EXPECT_FALSE( parked->notifier() );
   armed->timeMinIs( 110 );
   parked->isRegisteredNotifieeIs( true );
   clock = Ryx::make< Clock >( "new" );
   armed->notifierIs( clock );
   EXPECT_EQ( clock->nextTimeMin(), 110 );
}

} // namespace
