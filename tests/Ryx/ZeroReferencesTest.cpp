// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A mutator may let go of the last pointer to an object. A notifiee that hears of it
// (onZeroReferences) may do anything to what the mutator is working on.

#include "Board"
#include "Supervisor"

#include <Ryx/Clock>
#include <gtest/gtest.h>
#include <support/SimulatedTime>

namespace {

using doubles::Board;
using doubles::BoardWatcher;
using doubles::Calls;
using doubles::EntityWatcher;
using doubles::Port;
using doubles::PortWatcher;
using doubles::Supervisor;
using doubles::watchWeakly;
using Ryx::make;
using Ryx::Ptr;
using support::SimulatedTime;

class ZeroReferences : public testing::Test {
 protected:
   // Has a notifiee do `action` when the last reference to a port goes.
   void atZeroReferencesOf( Ptr< Port > const& port, std::function< void() > action ) {
      heir = watchWeakly( "old", calls, port );
      heir->action = std::move( action );
   }

   Calls calls;
   Ptr< PortWatcher > heir;
};

// The object that is changed goes.

class ZeroReferencesOfAValue : public ZeroReferences {
 protected:
   Ptr< Board > board = make< Board >( "board", make< Port >( 1u ) );
   Ptr< BoardWatcher > const watcher = watchWeakly< BoardWatcher >( "w", calls, board );
};

TEST_F( ZeroReferencesOfAValue, MayDropTheObjectWhosePointerIsReplaced ) {
   atZeroReferencesOf( board->uplink(), [ this ] { board = nullptr; } );
   board->uplinkIs( make< Port >( 2u ) );
   EXPECT_EQ( calls, ( Calls{ "old zero", "w uplink", "w zero" } ) );
}

TEST_F( ZeroReferencesOfAValue, MayDropTheObjectWhoseMemberIsReplaced ) {
   board->spareIs( 7, make< Port >( 1u ) );
   calls.clear();
   atZeroReferencesOf( board->spare( 7 ), [ this ] { board = nullptr; } );
   board->spareIs( 7, make< Port >( 2u ) );
   EXPECT_EQ( calls, ( Calls{ "old zero", "w spare 7", "w zero" } ) );
}

TEST_F( ZeroReferences, MayDropTheEntityWhoseParentIsReplaced ) {
   Ptr< Port > child = make< Port >( 3u );
   auto const watcher = watchWeakly< EntityWatcher >( "w", calls, child );
   auto old = make< Port >( 1u );
   child->parentIs( old );
   calls.clear();
   atZeroReferencesOf( std::exchange( old, nullptr ), [ & ] { child = nullptr; } );
   child->parentIs( make< Port >( 2u ) );
   EXPECT_EQ( calls, ( Calls{ "old zero", "w parent", "w zero" } ) );
}

// The reactor that is re-pointed or put in place is removed.

class ZeroReferencesOfAnInput : public ZeroReferences {
 protected:
   // An input that only its reactor holds, and an observer of its end.
   Supervisor::In old( unsigned intfId, std::function< void() > action ) {
      auto const port = make< Port >( intfId );
      atZeroReferencesOf( port, std::move( action ) );
      return port;
   }

   Ptr< Supervisor > const owner = make< Supervisor >( calls );
};

TEST_F( ZeroReferencesOfAnInput, MayRemoveTheReactorWhichThenRunsNoHandler ) {
   owner->portIs( old( 1, [ this ] { owner->portDel( 1 ); } ) );
   auto const reactor = owner->port( 1 );
   owner->portIs( make< Port >( 1u ) );
   EXPECT_EQ( calls, Calls{ "old zero" } );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_FALSE( reactor->isRegisteredNotifiee() );
}

TEST_F( ZeroReferencesOfAnInput, MayUnbindTheReactorWhichThenRunsNoHandler ) {
   owner->portIs( old( 1, [ this ] { owner->port( 1 )->notifierIs( nullptr ); } ) );
   owner->portIs( make< Port >( 1u ) );
   EXPECT_EQ( calls, Calls{ "old zero" } );
}

TEST_F( ZeroReferencesOfAnInput, MayReplaceItsReplacementWhichThenStaysRemoved ) {
   Ptr< Supervisor::RyxMaster > replacement;
   auto const third = make< Port >( 3u );
   owner->masterIs( old( 1, [ & ] {
      replacement = owner->masterReactor();
      owner->masterIs( third );
   } ) );
   owner->masterIs( make< Port >( 2u ) );
   EXPECT_TRUE( replacement->ryxMarkedForDeletion() );
   EXPECT_FALSE( replacement->isRegisteredNotifiee() );
   EXPECT_EQ( owner->master(), third );
}

// The timer that is moved to another clock goes, or goes elsewhere.

class Timer final : public Ryx::Clock::NotifieeConst {
 public:
   Timer() { ++live; }
   ~Timer() override { --live; }
   void onTime() override { ++fired; }
   unsigned fired = 0;
   static inline int live = 0;
};

class ZeroReferencesOfAClock : public testing::Test {
 protected:
   ZeroReferencesOfAClock() {
      timer->notifierIs( make< Ryx::Clock >( "old" ) );
      timer->isRegisteredNotifieeIs( true );
      timer->timeMinIs( 5 );
      heir = watchWeakly< EntityWatcher >( "old", calls, timer->notifier() );
   }

   SimulatedTime time{ 10 };
   Calls calls;
   Ptr< Timer > timer = make< Timer >();
   Ptr< EntityWatcher > heir;
   Ptr< Ryx::Clock > const next = make< Ryx::Clock >();
};

TEST_F( ZeroReferencesOfAClock, MayDropTheTimerThatLeavesIt ) {
   heir->action = [ this ] { timer = nullptr; };
   timer->notifierIs( next );
   EXPECT_EQ( Timer::live, 0 );
   EXPECT_EQ( next->nextTimeMin(), Ryx::never );
   EXPECT_EQ( next->references(), 1u );
}

TEST_F( ZeroReferencesOfAClock, MayMoveTheTimerToAThird ) {
   auto const third = make< Ryx::Clock >();
   heir->action = [ & ] { timer->notifierIs( third ); };
   timer->notifierIs( next );
   EXPECT_EQ( next->handleTime(), 0u );
   EXPECT_EQ( third->handleTime(), 1u );
   EXPECT_EQ( timer->fired, 1u );
}

} // namespace
