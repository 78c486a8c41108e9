// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Notifiees that do not keep their notifier alive.

#include "CoreDoubles"

#include <gtest/gtest.h>

namespace {

using doubles::Calls;
using doubles::Port;
using doubles::PortWatcher;
using doubles::watchWeakly;
using Ryx::Ptr;

class WeakNotifieeTest : public testing::Test {
 protected:
   Ptr< PortWatcher > unregistered() {
      auto watcher = watchWeakly( "a", calls, port );
      watcher->isRegisteredNotifieeIs( false );
      return watcher;
   }

   Calls calls;
   Ptr< Port > port = Ryx::make< Port >( 1u );
   Ptr< Port > other = Ryx::make< Port >( 2u );
};

TEST_F( WeakNotifieeTest, HoldsNoReferenceOnItsNotifier ) {
   auto const watcher = watchWeakly( "a", calls, port );
   EXPECT_EQ( port->references(), 1u );
   EXPECT_EQ( watcher->notifier(), port );
   port->speedIs( 1 );
   EXPECT_EQ( calls, Calls{ "a speed 1" } );
   watcher->notifierIs( other );
   EXPECT_EQ( port->references(), 1u );
   EXPECT_EQ( other->references(), 1u );
}

TEST_F( WeakNotifieeTest, HearsOfZeroReferencesAndIsLeftWithoutANotifier ) {
   int const ports = Port::live;
   auto const first = watchWeakly( "a", calls, port );
   auto const second = watchWeakly( "b", calls, port );
   port = nullptr;
   EXPECT_EQ( calls, ( Calls{ "a zero", "b zero" } ) );
   EXPECT_EQ( Port::live, ports - 1 );
   EXPECT_EQ( first->notifier(), nullptr );
   EXPECT_EQ( second->notifier(), nullptr );
}

TEST_F( WeakNotifieeTest, MayBeToldAgainWhatItIsWhileItIsBound ) {
   auto const watcher = watchWeakly( "a", calls, port );
   watcher->isWeakReferenceIs( true );
   EXPECT_EQ( port->references(), 1u );
   EXPECT_EQ( watcher->notifier(), port );
}

TEST_F( WeakNotifieeTest, MayTakeTheNotifierBackAtZeroReferences ) {
   auto const watcher = watchWeakly( "a", calls, port );
   watcher->action = [ & ] {
      other = Ptr< Port >( const_cast< Port* >( watcher->notifier().ptr() ) );
   };
   Port const* const raw = port.ptr();
   port = nullptr;
   EXPECT_EQ( other.ptr(), raw );
   EXPECT_EQ( other->references(), 1u );
   EXPECT_EQ( watcher->notifier(), other );
   other->speedIs( 3 );
   EXPECT_EQ( calls, ( Calls{ "a zero", "a speed 3" } ) );
}

TEST_F( WeakNotifieeTest, AStrongNotifieeMadeAtZeroReferencesKeepsTheNotifier ) {
   auto const weak = watchWeakly( "weak", calls, port );
   Ptr< PortWatcher > strong;
   weak->action = [ & ] { strong = doubles::watch( "strong", calls, weak->notifier() ); };
   port = nullptr;
   ASSERT_TRUE( strong->notifier() );
   EXPECT_EQ( strong->notifier(), weak->notifier() );
   strong = nullptr;
   EXPECT_EQ( weak->notifier(), nullptr );
   EXPECT_EQ( calls, ( Calls{ "weak zero", "weak zero" } ) );
}

TEST_F( WeakNotifieeTest, AnUnregisteredOneIsLeftWithoutANotifierToo ) {
   auto const watcher = unregistered();
   port = nullptr;
   EXPECT_EQ( calls, Calls{} );
   EXPECT_EQ( watcher->notifier(), nullptr );
}

TEST_F( WeakNotifieeTest, OneThatWasTurnedOffIsLeftWithoutANotifierToo ) {
   auto const watcher = watchWeakly( "a", calls, port );
   watcher->hasNotificationActiveIs( false );
   port = nullptr;
   EXPECT_EQ( watcher->notifier(), nullptr );
   watcher->hasNotificationActiveIs( true );
   watcher->notifierIs( other );
   other->speedIs( 1 );
   EXPECT_EQ( calls, Calls{ "a speed 1" } );
}

TEST_F( WeakNotifieeTest, OfManyUnregisteredOnesOnlyThoseOfTheDyingNotifierLoseIt ) {
   std::vector< Ptr< PortWatcher > > watchers;
   for ( int i = 0; i < 6; ++i ) {
      auto watcher = Ryx::make< PortWatcher >( "a", calls );
      watcher->isWeakReferenceIs( true );
      watcher->notifierIs( i % 2 ? port : other );
      watchers.push_back( watcher );
   }
   watchers.erase( watchers.begin() + 2, watchers.begin() + 4 );
   port = nullptr;
   EXPECT_EQ( watchers[ 0 ]->notifier(), other );
   EXPECT_EQ( watchers[ 1 ]->notifier(), nullptr );
   EXPECT_EQ( watchers[ 2 ]->notifier(), other );
   EXPECT_EQ( watchers[ 3 ]->notifier(), nullptr );
   other = nullptr;
   EXPECT_EQ( watchers[ 0 ]->notifier(), nullptr );
   EXPECT_EQ( watchers[ 2 ]->notifier(), nullptr );
}

TEST_F( WeakNotifieeTest, ReboundBeforeTheOldNotifierDiesItKeepsTheNewOne ) {
   auto const registered = watchWeakly( "registered", calls, port );
   auto const idle = unregistered();
   registered->notifierIs( other );
   idle->notifierIs( other );
   port = nullptr;
   EXPECT_EQ( registered->notifier(), other );
   EXPECT_EQ( idle->notifier(), other );
   idle->isRegisteredNotifieeIs( true );
   other->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "registered speed 1", "a speed 1" } ) );
}

TEST_F( WeakNotifieeTest, MayDieBeforeItsNotifier ) {
   {
      auto const registered = watchWeakly( "a", calls, port );
      auto const idle = unregistered();
   }
   port->speedIs( 1 );
   port = nullptr;
   EXPECT_EQ( calls, Calls{} );
}

TEST_F( WeakNotifieeTest, LeftWithoutANotifierItMayBeRegisteredAndDeregistered ) {
   auto const watcher = watchWeakly( "a", calls, port );
   port = nullptr;
   calls.clear();
   watcher->isRegisteredNotifieeIs( false );
   watcher->isRegisteredNotifieeIs( true );
   watcher->notifierIs( other );
   other->speedIs( 1 );
   EXPECT_EQ( calls, Calls{ "a speed 1" } );
}

class Owner final : public Ryx::Entity {
 public:
   Ptr< doubles::Watcher > watcher;
};

TEST_F( WeakNotifieeTest, ThatItsNotifierOwnsGoesWithIt ) {
   int const before = doubles::Watcher::live;
   auto owner = Ryx::make< Owner >();
   owner->watcher = watchWeakly< doubles::Watcher >( "own", calls, owner );
   owner = nullptr;
   EXPECT_EQ( calls, Calls{ "own zero" } );
   EXPECT_EQ( doubles::Watcher::live, before );
}

} // namespace
