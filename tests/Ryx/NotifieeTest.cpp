// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How notifiees get into the list of a notifier and out of it.

#include "CoreDoubles"

#include <gtest/gtest.h>

namespace {

using doubles::Calls;
using doubles::Port;
using doubles::PortWatcher;
using doubles::watch;
using Ryx::Ptr;

class NotifieeTest : public testing::Test {
 protected:
   Ptr< PortWatcher > unregistered() const {
      auto watcher = Ryx::make< PortWatcher >( "a", calls );
      watcher->notifierIs( port );
      return watcher;
   }

   mutable Calls calls;
   Ptr< Port > const port = Ryx::make< Port >( 1u );
   Ptr< Port > const other = Ryx::make< Port >( 2u );
};

TEST_F( NotifieeTest, StartsWithOneReferenceActiveAndUnregistered ) {
   auto const watcher = Ryx::make< PortWatcher >( "a", calls );
   EXPECT_EQ( watcher->references(), 1u );
   EXPECT_TRUE( watcher->hasNotificationActive() );
   EXPECT_FALSE( watcher->isRegisteredNotifiee() );
   EXPECT_FALSE( watcher->isWeakReference() );
   EXPECT_EQ( watcher->notifier(), nullptr );
   EXPECT_EQ( watcher->pendingAttributeId(), 0u );
}

TEST_F( NotifieeTest, HoldsAReferenceOnItsNotifier ) {
   {
      auto const watcher = unregistered();
      EXPECT_EQ( port->references(), 2u );
      watcher->notifierIs( other );
      EXPECT_EQ( port->references(), 1u );
      EXPECT_EQ( other->references(), 2u );
      EXPECT_EQ( watcher->notifier(), other );
   }
   EXPECT_EQ( other->references(), 1u );
}

TEST_F( NotifieeTest, IsNotCalledUntilItIsRegistered ) {
   auto const watcher = unregistered();
   EXPECT_EQ( port->notifieeCount(), 0u );
   port->speedIs( 1 );
   watcher->isRegisteredNotifieeIs( true );
   EXPECT_EQ( port->notifieeCount(), 1u );
   port->speedIs( 2 );
   EXPECT_EQ( calls, Calls{ "a speed 2" } );
}

TEST_F( NotifieeTest, DeregisteringKeepsTheNotifier ) {
   auto const watcher = watch( "a", calls, port );
   watcher->isRegisteredNotifieeIs( false );
   port->speedIs( 1 );
   EXPECT_EQ( calls, Calls{} );
   EXPECT_EQ( watcher->notifier(), port );
   EXPECT_EQ( port->notifieeCount(), 0u );
}

TEST_F( NotifieeTest, EachLinkAndUnlinkIsCounted ) {
   auto const watcher = unregistered();
   EXPECT_EQ( port->notifieeModifications(), 0u );
   watcher->isRegisteredNotifieeIs( true );
   EXPECT_EQ( port->notifieeModifications(), 1u );
   auto const second = watch( "b", calls, port );
   EXPECT_EQ( port->notifieeModifications(), 2u );
   EXPECT_EQ( port->notifieeCount(), 2u );
   watcher->isRegisteredNotifieeIs( false );
   EXPECT_EQ( port->notifieeModifications(), 3u );
   EXPECT_EQ( port->notifieeCount(), 1u );
}

TEST_F( NotifieeTest, RegisteringTwiceChangesNothing ) {
   auto const watcher = watch( "a", calls, port );
   watcher->isRegisteredNotifieeIs( true );
   EXPECT_EQ( port->notifieeCount(), 1u );
   EXPECT_EQ( port->notifieeModifications(), 1u );
   watcher->isRegisteredNotifieeIs( false );
   watcher->isRegisteredNotifieeIs( false );
   EXPECT_EQ( port->notifieeModifications(), 2u );
}

TEST_F( NotifieeTest, RebindingARegisteredNotifieeMovesItToTheTailOfTheNewList ) {
   auto const first = watch( "first", calls, other );
   auto const moved = watch( "moved", calls, port );
   moved->notifierIs( other );
   EXPECT_EQ( port->notifieeCount(), 0u );
   EXPECT_EQ( port->notifieeModifications(), 2u );
   EXPECT_EQ( other->notifieeCount(), 2u );
   EXPECT_EQ( other->notifieeModifications(), 2u );
   port->speedIs( 1 );
   other->speedIs( 2 );
   EXPECT_EQ( calls, ( Calls{ "first speed 2", "moved speed 2" } ) );
}

TEST_F( NotifieeTest, RebindingAnUnregisteredNotifieeTouchesNoList ) {
   auto const watcher = unregistered();
   watcher->notifierIs( other );
   EXPECT_EQ( port->notifieeModifications(), 0u );
   EXPECT_EQ( other->notifieeModifications(), 0u );
}

TEST_F( NotifieeTest, NullUnbinds ) {
   auto const watcher = watch( "a", calls, port );
   watcher->notifierIs( nullptr );
   EXPECT_EQ( watcher->notifier(), nullptr );
   EXPECT_EQ( port->references(), 1u );
   EXPECT_EQ( port->notifieeCount(), 0u );
   EXPECT_EQ( port->notifieeModifications(), 2u );
   watcher->notifierIs( other );
   other->speedIs( 1 );
   EXPECT_EQ( calls, Calls{ "a speed 1" } );
}

TEST_F( NotifieeTest, RegisteredWithoutANotifierItJoinsTheNextOne ) {
   auto const watcher = Ryx::make< PortWatcher >( "a", calls );
   watcher->isRegisteredNotifieeIs( true );
   EXPECT_TRUE( watcher->isRegisteredNotifiee() );
   watcher->notifierIs( port );
   port->speedIs( 1 );
   EXPECT_EQ( calls, Calls{ "a speed 1" } );
}

TEST_F( NotifieeTest, AnObjectOfAnotherTypeCountsAsNull ) {
   class Other final : public Ryx::Entity {};
   auto const watcher = watch( "a", calls, port );
   watcher->notifierIs( Ryx::make< Other >() );
   EXPECT_EQ( watcher->notifier(), nullptr );
   EXPECT_EQ( port->notifieeCount(), 0u );
}

TEST_F( NotifieeTest, TheRootsNotifieeTakesAnythingThatNotifies ) {
   auto const plain = watch< doubles::Watcher >( "plain", calls, port );
   EXPECT_EQ( port->notifieeCount(), 1u );
   plain->notifierIs( Ptr< Ryx::PtrInterface >( plain ) );
   EXPECT_EQ( port->notifieeCount(), 0u );
   EXPECT_EQ( port->references(), 1u );
}

TEST_F( NotifieeTest, DestroyingANotifieeTakesItOut ) {
   auto const before = watch( "before", calls, port );
   auto gone = watch( "gone", calls, port );
   auto const after = watch( "after", calls, port );
   gone = nullptr;
   EXPECT_EQ( port->notifieeCount(), 2u );
   EXPECT_EQ( port->notifieeModifications(), 4u );
   port->speedIs( 1 );
   EXPECT_EQ( calls, ( Calls{ "before speed 1", "after speed 1" } ) );
}

TEST_F( NotifieeTest, TheListStaysWholeWhereverANotifieeIsTakenFrom ) {
   for ( std::size_t gone = 0; gone < 3; ++gone ) {
      calls.clear();
      std::vector< Ptr< PortWatcher > > watchers;
      for ( char const* name : { "a", "b", "c" } ) {
         watchers.push_back( watch( name, calls, other ) );
      }
      watchers[ gone ]->isRegisteredNotifieeIs( false );
      watchers[ gone ]->isRegisteredNotifieeIs( true );
      other->speedIs( other->speed() + 1 );
      Calls expected{ "a", "b", "c" };
      std::rotate(
         expected.begin() + std::ptrdiff_t( gone ),
         expected.begin() + std::ptrdiff_t( gone ) + 1,
         expected.end() );
      for ( auto& call : expected ) {
         call += " speed " + std::to_string( other->speed() );
      }
      EXPECT_EQ( calls, expected );
   }
}

TEST_F( NotifieeTest, TurningDeliveryOffDeregistersAndTurningItOnRegistersAgain ) {
   auto const watcher = watch( "a", calls, port );
   watcher->hasNotificationActiveIs( false );
   EXPECT_FALSE( watcher->hasNotificationActive() );
   EXPECT_FALSE( watcher->isRegisteredNotifiee() );
   EXPECT_EQ( port->notifieeCount(), 0u );
   EXPECT_EQ( watcher->notifier(), port );
   port->speedIs( 1 );
   watcher->hasNotificationActiveIs( true );
   EXPECT_TRUE( watcher->hasNotificationActive() );
   EXPECT_TRUE( watcher->isRegisteredNotifiee() );
   port->speedIs( 2 );
   EXPECT_EQ( calls, Calls{ "a speed 2" } );
}

TEST_F( NotifieeTest, TurningDeliveryOnLeavesANotifieeOutThatWasNotRegistered ) {
   auto const watcher = unregistered();
   watcher->hasNotificationActiveIs( false );
   watcher->hasNotificationActiveIs( true );
   EXPECT_TRUE( watcher->hasNotificationActive() );
   EXPECT_FALSE( watcher->isRegisteredNotifiee() );
}

TEST_F( NotifieeTest, TurningDeliveryToWhatItIsChangesNothing ) {
   auto const watcher = watch( "a", calls, port );
   watcher->hasNotificationActiveIs( true );
   EXPECT_EQ( port->notifieeModifications(), 1u );
   watcher->hasNotificationActiveIs( false );
   watcher->hasNotificationActiveIs( false );
   EXPECT_EQ( port->notifieeModifications(), 2u );
   watcher->hasNotificationActiveIs( true );
   EXPECT_TRUE( watcher->isRegisteredNotifiee() );
}

TEST_F( NotifieeTest, ANotifierSetWhileDeliveryIsOffIsHeardWhenItIsOnAgain ) {
   auto const watcher = watch( "a", calls, port );
   watcher->hasNotificationActiveIs( false );
   watcher->notifierIs( other );
   EXPECT_EQ( other->notifieeCount(), 0u );
   watcher->hasNotificationActiveIs( true );
   other->speedIs( 1 );
   EXPECT_EQ( calls, Calls{ "a speed 1" } );
}

TEST_F( NotifieeTest, ANotifieeOfAMutableNotifierMayChangeIt ) {
   class Setter final : public Port::Notifiee {
    public:
      void onSpeed() override { notifier()->labelIs( "changed" ); }
   };
   auto const setter = Ryx::make< Setter >();
   setter->notifierIs( port );
   setter->isRegisteredNotifieeIs( true );
   port->speedIs( 1 );
   EXPECT_EQ( port->label(), "changed" );
}

TEST_F( NotifieeTest, HasNoNameReactorOrActivityByDefault ) {
   class Silent final : public Port::NotifieeConst {};
   auto const silent = Ryx::make< Silent >();
   EXPECT_EQ( silent->name(), Ryx::Name() );
   EXPECT_EQ( silent->ryxReactor(), nullptr );
   EXPECT_EQ( silent->ryxRawReactor(), nullptr );
   EXPECT_EQ( silent->actsm(), nullptr );
   EXPECT_EQ( silent->activityPtr(), nullptr );
   EXPECT_EQ( silent->ryxFwkActivity(), nullptr );
   EXPECT_FALSE( silent->isStreamAdapter() );
}

} // namespace
