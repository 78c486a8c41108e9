// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a notifiee may do when it is asked for its activity.

#include "ClockFixture"
#include "CoreDoubles"

#include <support/AllocationCounter>

#include <new>

namespace {

using doubles::Port;
using doubles::watch;

// Does as told whenever it is asked.
template< class Base >
class Asked final : public Base {
 public:
   Ryx::ActivityConfig* ryxFwkActivity() override {
      isExpected = Ryx::Expect::innermost() != nullptr;
      // It may give itself something else to do.
      if ( auto const what = asked ) {
         what();
      }
      return activity.ptr();
   }
   void onNotificationException( Ryx::AttributeId id ) override { exceptionOf = id; }

   std::function< void() > asked;
   Ptr< Ryx::ActivityConfig > activity;
   bool isExpected = false;
   Ryx::AttributeId exceptionOf = 0;
};

using AskedWatcher = Asked< Port::NotifieeConst >;
using AskedTimer = Asked< Clock::NotifieeConst >;

void
refuse() {
   throw 7;
}

// Stands between two others.
class AskedTest : public testing::Test {
 protected:
   // Who waits in the queue is held by it, and holds it.
   void TearDown() override { activity->handleActivity(); }
   void expectOthersOnly() {
      EXPECT_EQ( port->notifieeCount(), 2u );
      calls.clear();
      port->speedIs( port->speed() + 1 );
      EXPECT_EQ( calls.size(), 2u );
      EXPECT_EQ( port->notifieeModifications(), modifications );
   }

   doubles::Calls calls;
   Ptr< Port > port = Ryx::make< Port >( 1u );
   Ptr< Port > const other = Ryx::make< Port >( 2u );
   Ptr< Ryx::ActivityConfig > const activity = Ryx::make< Ryx::ActivityConfig >();
   Ptr< AskedWatcher > const asked = Ryx::make< AskedWatcher >();
   Ptr< doubles::PortWatcher > const a = watch( "a", calls, port );
   Ptr< doubles::PortWatcher > const b = watch( "b", calls, port );
   std::uint32_t const modifications = port->notifieeModifications();
};

TEST_F( AskedTest, ThatThrowsWhenItRegistersIsNotRegistered ) {
   asked->notifierIs( port );
   asked->asked = refuse;
   EXPECT_THROW( asked->isRegisteredNotifieeIs( true ), int );
   EXPECT_FALSE( asked->isRegisteredNotifiee() );
   asked->isRegisteredNotifieeIs( false );
   expectOthersOnly();
}

TEST_F( AskedTest, ThatThrowsWhenItIsBoundKeepsItsNotifier ) {
   asked->notifierIs( other );
   asked->isRegisteredNotifieeIs( true );
   asked->asked = refuse;
   EXPECT_THROW( asked->notifierIs( port ), int );
   EXPECT_EQ( asked->notifier(), other );
   EXPECT_EQ( other->notifieeCount(), 1u );
   EXPECT_EQ( other->references(), 2u );
   EXPECT_EQ( port->references(), 3u );
   expectOthersOnly();
}

TEST_F( AskedTest, ThatThrowsWhenItIsTurnedOnMayBeTurnedOnAgain ) {
   asked->notifierIs( other );
   asked->isRegisteredNotifieeIs( true );
   asked->hasNotificationActiveIs( false );
   asked->asked = refuse;
   EXPECT_THROW( asked->hasNotificationActiveIs( true ), int );
   EXPECT_FALSE( asked->hasNotificationActive() );
   asked->asked = nullptr;
   asked->hasNotificationActiveIs( true );
   EXPECT_EQ( other->notifieeCount(), 1u );
}

TEST_F( AskedTest, MayRegisterItselfAndLetGoOfItsNotifiers ) {
   asked->notifierIs( other );
   asked->asked = [ this ] {
      asked->asked = nullptr;
      asked->isRegisteredNotifieeIs( true );
   };
   asked->isRegisteredNotifieeIs( true );
   EXPECT_EQ( other->notifieeCount(), 1u );
   a->notifierIs( nullptr );
   b->notifierIs( nullptr );
   int const before = Port::live;
   asked->asked = [ this ] { port = nullptr; };
   asked->notifierIs( port );
   EXPECT_EQ( Port::live, before );
   EXPECT_EQ( asked->notifier()->notifieeCount(), 1u );
   EXPECT_EQ( other->notifieeCount(), 0u );
}

// What its place in a queue needs is allocated when it registers.
TEST_F( AskedTest, ANewHandlerMayChangeAllButTheOneThatRegisters ) {
   static std::function< void() > handle;
   handle = [ this ] {
      a->isRegisteredNotifieeIs( false );
      b->notifierIs( other );
      port = nullptr;
   };
   asked->activity = activity;
   asked->notifierIs( port );
   std::set_new_handler( [] {
      std::set_new_handler( nullptr );
      handle();
   } );
   {
      support::AllocationFailure const failure( 1, support::AllocationFailure::Of::one );
      asked->isRegisteredNotifieeIs( true );
      EXPECT_TRUE( failure.refused() );
   }
   EXPECT_TRUE( asked->isRegisteredNotifiee() );
   EXPECT_EQ( asked->notifier()->notifieeCount(), 1u );
   EXPECT_EQ( other->notifieeCount(), 1u );
}

TEST_F( AskedTest, OutsideTheExpectScopeOfADelivery ) {
   asked->activity = activity;
   asked->notifierIs( port );
   asked->isRegisteredNotifieeIs( true );
   asked->isExpected = true;
   port->speedIs( 1 );
   EXPECT_FALSE( asked->isExpected );
}

TEST_F( AskedTest, ThatThrowsInADeliveryHasTheException ) {
   asked->activity = activity;
   asked->notifierIs( port );
   asked->isRegisteredNotifieeIs( true );
   asked->asked = refuse;
   port->speedIs( 1 );
   EXPECT_EQ( asked->exceptionOf, 259u );
   EXPECT_EQ( activity->pending(), 0u );
}

TEST_F( AskedTest, ThatLeavesInADeliveryHearsNothingOfIt ) {
   asked->activity = activity;
   asked->notifierIs( port );
   asked->isRegisteredNotifieeIs( true );
   for ( auto const& activityThen : { activity, Ptr< Ryx::ActivityConfig >() } ) {
      asked->asked = [ & ] {
         asked->asked = nullptr;
         asked->activity = activityThen;
         asked->notifierIs( other );
      };
      port->speedIs( port->speed() + 1 );
      EXPECT_EQ( asked->pendingAttributeId(), 0u );
      EXPECT_EQ( activity->handleActivity(), 0u );
      asked->activity = activity;
      asked->notifierIs( port );
   }
}

TEST_F( AskedTest, ThatRegistersAnewInADeliveryHearsOfTheNextChange ) {
   asked->activity = activity;
   asked->notifierIs( port );
   asked->isRegisteredNotifieeIs( true );
   asked->asked = [ this ] {
      asked->asked = nullptr;
      asked->isRegisteredNotifieeIs( false );
      asked->isRegisteredNotifieeIs( true );
   };
   port->speedIs( 1 );
   EXPECT_EQ( asked->pendingAttributeId(), 0u );
   EXPECT_EQ( activity->pending(), 0u );
   port->speedIs( 2 );
   EXPECT_EQ( asked->pendingAttributeId(), 259u );
}

TEST_F( AskedTest, NeedsNoMemoryToBeQueued ) {
   auto const later = Ryx::make< doubles::PortWatcher >( "later", calls );
   later->activity = activity;
   later->notifierIs( port );
   {
      support::AllocationFailure const failure;
      EXPECT_THROW( later->isRegisteredNotifieeIs( true ), std::bad_alloc );
   }
   expectOthersOnly();
   later->isRegisteredNotifieeIs( true );
   a->isRegisteredNotifieeIs( false );
   b->isRegisteredNotifieeIs( false );
   calls.clear();
   {
      support::AllocationFailure const failure;
      port->speedIs( 7 );
   }
   EXPECT_EQ( later->pendingAttributeId(), 259u );
   EXPECT_EQ( activity->handleActivity(), 1u );
   EXPECT_EQ( calls, doubles::Calls{ "later speed 7" } );
}

class AskedTimerTest : public ClockTest {
 protected:
   void TearDown() override { activity->handleActivity(); }
   AskedTimerTest() {
      asked->activity = activity;
      asked->notifierIs( clock );
      asked->isRegisteredNotifieeIs( true );
      asked->isExpected = true;
   }
   // It does that when its time comes: nobody is called but the other one.
   void expectNoCall( std::function< void() > then ) {
      asked->asked = [ this, then = std::move( then ) ] {
         asked->asked = nullptr;
         then();
      };
      EXPECT_EQ( clock->handleTime(), 1u );
      EXPECT_EQ( activity->handleActivity(), 0u );
      EXPECT_EQ( calls, Calls{ "other" } );
   }
   void expectOneCallOn( Ptr< Clock > const& on ) {
      EXPECT_EQ( on->handleTime(), 1u );
      EXPECT_EQ( activity->handleActivity(), 1u );
      EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   }

   Ptr< Ryx::ActivityConfig > const activity = Ryx::make< Ryx::ActivityConfig >();
   Ptr< AskedTimer > const asked = Ryx::make< AskedTimer >();
   Ptr< Timer > const other = newTimer( "other" );
};

TEST_F( AskedTimerTest, OutsideTheExpectScopeOfTheClock ) {
   EXPECT_EQ( clock->handleTime(), 2u );
   EXPECT_FALSE( asked->isExpected );
}

TEST_F( AskedTimerTest, MayDisarmItself ) {
   expectNoCall( [ this ] { asked->timeMinIs( Ryx::never ); } );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
}

TEST_F( AskedTimerTest, MayDisarmItselfWhenItLosesItsActivity ) {
   expectNoCall( [ this ] {
      asked->activity = nullptr;
      asked->timeMinIs( Ryx::never );
   } );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
}

TEST_F( AskedTimerTest, MaySetItselfToALaterTime ) {
   expectNoCall( [ this ] { asked->timeMinIs( 200 ); } );
   time.value = 200;
   expectOneCallOn( clock );
}

TEST_F( AskedTimerTest, MayDeregisterItselfAndIsCalledOnceItIsRegisteredAgain ) {
   expectNoCall( [ this ] { asked->isRegisteredNotifieeIs( false ); } );
   asked->isRegisteredNotifieeIs( true );
   expectOneCallOn( clock );
}

TEST_F( AskedTimerTest, MayPointItselfAtAnotherClock ) {
   auto const next = Ryx::make< Clock >( "next" );
   expectNoCall( [ & ] { asked->notifierIs( next ); } );
   expectOneCallOn( next );
}

TEST_F( AskedTimerTest, MaySetAnotherOneEarlier ) {
   asked->asked = [ this ] {
      asked->asked = nullptr;
      other->timeMinIs( -1 );
   };
   other->action = [ this ] { EXPECT_EQ( activity->pending(), 0u ); };
   EXPECT_EQ( clock->handleTime(), 3u );
   EXPECT_EQ( calls, ( Calls{ "other", "other" } ) );
   EXPECT_EQ( activity->handleActivity(), 1u );
}

TEST_F( AskedTimerTest, IsQueuedWithoutMemory ) {
   {
      support::AllocationFailure const failure;
      EXPECT_EQ( clock->handleTime(), 2u );
   }
   EXPECT_EQ( activity->handleActivity(), 1u );
}

// One that cannot say where it is to be called keeps nobody else from it.
TEST_F( AskedTimerTest, ThatThrowsHasTheException ) {
   asked->asked = refuse;
   EXPECT_EQ( clock->handleTime(), 2u );
   EXPECT_EQ( asked->exceptionOf, Clock::timeAttributeId );
   EXPECT_EQ( calls, Calls{ "other" } );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
}

TEST_F( AskedTimerTest, ThatThrowsAfterASettingIsCalledThen ) {
   asked->asked = [ this ] {
      asked->asked = nullptr;
      asked->timeMinIs( 200 );
      refuse();
   };
   EXPECT_EQ( clock->handleTime(), 1u );
   EXPECT_EQ( asked->exceptionOf, Clock::timeAttributeId );
   EXPECT_EQ( calls, Calls{ "other" } );
   time.value = 200;
   expectOneCallOn( clock );
}

TEST_F( AskedTimerTest, ThatThrowsWhenItIsBoundKeepsItsClock ) {
   asked->asked = refuse;
   auto const next = Ryx::make< Clock >( "next" );
   for ( int i = 0; i < 20; ++i ) {
      EXPECT_THROW( asked->notifierIs( next ), int );
   }
   EXPECT_EQ( asked->notifier(), clock );
   EXPECT_EQ( clock->nextTimeMin(), 0 );
   asked->isRegisteredNotifieeIs( false );
   EXPECT_THROW( asked->isRegisteredNotifieeIs( true ), int );
   EXPECT_EQ( clock->handleTime(), 1u );
   asked->asked = nullptr;
   asked->isRegisteredNotifieeIs( true );
   expectOneCallOn( clock );
}

} // namespace
