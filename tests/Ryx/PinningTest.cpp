// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Objects that are pinned for a while; the numbers are those of the promises before
// PtrInterface.

#include "Board"
#include "GenericDoubles"
#include "Supervisor"

#include <gtest/gtest.h>
#include <support/AllocationCounter>

#include <atomic>
#include <new>
#include <thread>

namespace {

using namespace doubles;
using Ryx::make;
using Ryx::Ptr;

// An object whose reference word shows.
class Object final : public Ryx::PtrInterface {
 public:
   explicit Object( std::uint32_t word = 0 ) : PtrInterface( word ) { ++live; }
   ~Object() override { --live; }
   using PtrInterface::word;

   static inline int live = 0;
};

class Pinning : public testing::Test {
 protected:
   Pinning() { Port::live = 0; }
   ~Pinning() override {
      object = nullptr;
      EXPECT_EQ( Object::live, 0 );
   }

   Ptr< Object > object = make< Object >();
   Calls calls;
};

// Promise 1.
TEST_F( Pinning, AReferenceReleasedMeanwhileIsGivenBack ) {
   Ptr< Object > other = object;
   object->isNondestructingIs( true );
   other = nullptr;
   EXPECT_EQ( object->word(), 0x1f000002u );
   EXPECT_EQ( object->references(), 1u );
   object->isNondestructingIs( false );
   EXPECT_EQ( object->word(), 1u );
}

// Promise 2.
TEST_F( Pinning, APointerMadeMeanwhileKeepsTheObject ) {
   object->isNondestructingIs( true );
   Ptr< Object > made = object;
   object = nullptr;
   made->isNondestructingIs( false );
   EXPECT_EQ( Object::live, 1 );
   EXPECT_EQ( made->word(), 1u );
   made = nullptr;
   EXPECT_EQ( Object::live, 0 );
}

// Promise 1.
TEST_F( Pinning, FlagsSurvive ) {
   object->hasNotificationActiveIs( true );
   object->ryxMarkedForDeletionIs( true );
   object->isNondestructingIs( true );
   EXPECT_EQ( object->word(), 0x1f000001u );
   EXPECT_TRUE( object->hasNotificationActive() );
   EXPECT_TRUE( object->ryxMarkedForDeletion() );
   object->isNondestructingIs( false );
   EXPECT_EQ( object->word(), 0xa0000001u );
}

// Promise 1.
TEST_F( Pinning, FlagsMayBeChangedMeanwhile ) {
   object->hasNotificationActiveIs( true );
   object->isNondestructingIs( true );
   object->hasNotificationActiveIs( false );
   object->ryxMarkedForDeletionIs( true );
   EXPECT_EQ( object->word(), 0x1f000001u );
   EXPECT_FALSE( object->hasNotificationActive() );
   EXPECT_TRUE( object->ryxMarkedForDeletion() );
   object->isNondestructingIs( false );
   EXPECT_EQ( object->word(), 0x80000001u );
}

// Promise 1.
TEST_F( Pinning, ALargeCountIsKeptWhole ) {
   auto* const popular = new Object( 0x12345677u );
   popular->isNondestructingIs( true );
   EXPECT_EQ( popular->word(), 0x1f345677u );
   popular->newReference();
   EXPECT_EQ( popular->references(), 0x12345678u );
   popular->isNondestructingIs( false );
   EXPECT_EQ( popular->word(), 0x12345678u );
   delete popular;
}

// Promise 2.
TEST_F( Pinning, UnpinningAnObjectThatNobodyReferencesReleasesIt ) {
   Object* const raw = object.ptr();
   raw->isNondestructingIs( true );
   object = nullptr;
   ASSERT_EQ( Object::live, 1 );
   raw->isNondestructingIs( false );
   EXPECT_EQ( Object::live, 0 );
}

// Promise 2.
TEST_F( Pinning, UnpinningAHeldObjectLeavesItToWhoHoldsIt ) {
   Object* const raw = object.ptr();
   raw->isNondestructingIs( true );
   raw->ryxHeldIs( true );
   object = nullptr;
   raw->isNondestructingIs( false );
   ASSERT_EQ( Object::live, 1 );
   raw->ryxHeldIs( false );
   EXPECT_EQ( Object::live, 0 );
}

// Promise 2.
TEST_F( Pinning, LettingGoOfAPinnedObjectReleasesNothing ) {
   Object* const raw = object.ptr();
   raw->ryxHeldIs( true );
   raw->isNondestructingIs( true );
   object = nullptr;
   raw->ryxHeldIs( false );
   ASSERT_EQ( Object::live, 1 );
   raw->isNondestructingIs( false );
   EXPECT_EQ( Object::live, 0 );
}

// Promise 3.
TEST_F( Pinning, WithoutMemoryForItChangesNothing ) {
   {
      support::AllocationFailure const failure;
      EXPECT_THROW( object->isNondestructingIs( true ), std::bad_alloc );
   }
   EXPECT_EQ( object->word(), 1u );
   object->isNondestructingIs( true );
   support::AllocationFailure const failure;
   { Ptr< Object > const more = object; }
   object->isNondestructingIs( false );
   EXPECT_EQ( object->word(), 1u );
}

// Promise 4.
TEST_F( Pinning, ACountThatGrewIntoThePinnedByteIsPinnedForGood ) {
   auto* const popular = new Object( 0x1effffffu );
   popular->newReference();
   popular->isNondestructingIs( false );
   EXPECT_EQ( popular->word(), 0x1f000000u );
   EXPECT_TRUE( popular->isNondestructing() );
   popular->ryxMarkedForDeletionIs( true );
   EXPECT_EQ( popular->word(), 0x1f000000u );
   EXPECT_FALSE( popular->ryxMarkedForDeletion() );
   EXPECT_EQ( popular->references(), 0x1f000000u );
   delete popular;
}

TEST_F( Pinning, AnObjectThatEndsWhilePinnedLeavesNothingBehind ) {
   alignas( Object ) std::byte place[ sizeof( Object ) ];
   auto* const first = ::new ( place ) Object;
   first->isNondestructingIs( true );
   first->~Object();
   auto* const second = ::new ( place ) Object( 0x1f000000u );
   second->isNondestructingIs( false );
   EXPECT_TRUE( second->isNondestructing() );
   second->~Object();
}

// Promise 5.
TEST_F( Pinning, OtherThreadsMayTakeAndReleaseReferencesMeanwhile ) {
   std::atomic< bool > done = false;
   std::vector< Ptr< Object > > kept;
   std::thread other( [ &kept, &done, mine = object ] {
      for ( int i = 0; i < 50000; ++i ) {
         Ptr< Object > const more = mine;
         if ( i % 100 == 0 ) {
            kept.push_back( more );
         }
      }
      done = true;
   } );
   while ( !done ) {
      object->isNondestructingIs( true );
      Ptr< Object > const more = object;
      object->isNondestructingIs( false );
   }
   other.join();
   EXPECT_EQ( object->word(), 501u );
   kept.clear();
   EXPECT_EQ( object->word(), 1u );
}

// Promise 2.
TEST_F( Pinning, ANotifieeMayPinItselfInItsCallback ) {
   auto const port = make< Port >( 1u );
   auto watcher = watch( "w", calls, port );
   watcher->action = [ & ] { watcher->isNondestructingIs( true ); };
   port->speedIs( 1 );
   watcher->isNondestructingIs( false );
   EXPECT_EQ( watcher->references(), 1u );
   auto const before = PortWatcher::live;
   watcher = nullptr;
   EXPECT_EQ( PortWatcher::live, before - 1 );
}

// Promise 2.
TEST_F( Pinning, ANotifieeMayUnpinItselfInItsCallback ) {
   auto const port = make< Port >( 1u );
   auto watcher = watch( "w", calls, port );
   watcher->isNondestructingIs( true );
   watcher->action = [ & ] { watcher->isNondestructingIs( false ); };
   port->speedIs( 1 );
   EXPECT_EQ( watcher->references(), 1u );
   port->speedIs( 2 );
   EXPECT_EQ( calls, ( Calls{ "w speed 1", "w speed 2" } ) );
}

// Promise 2.
TEST_F( Pinning, ANotifieeThatNobodyReferencesIsCalled ) {
   auto const port = make< Port >( 1u );
   auto const first = watch( "first", calls, port );
   auto pinned = watch( "pinned", calls, port );
   auto leaving = watch( "leaving", calls, port );
   auto* const raw = pinned.ptr();
   raw->isNondestructingIs( true );
   pinned = nullptr;
   port->speedIs( 1 );
   first->action = [ & ] { leaving = nullptr; };
   port->speedIs( 2 );
   EXPECT_EQ(
      calls,
      ( Calls{ "first speed 1",
               "pinned speed 1",
               "leaving speed 1",
               "first speed 2",
               "pinned speed 2" } ) );
   raw->isNondestructingIs( false );
   EXPECT_EQ( port->notifieeCount(), 1u );
}

// Promise 2.
TEST_F( Pinning, ANotifierMayBeUnpinnedWhileItTellsOfItsPinning ) {
   auto port = make< Port >( 1u );
   auto const watcher = watchWeakly( "w", calls, port );
   watcher->action = [ & ] { port->isNondestructingIs( false ); };
   port->isNondestructingIs( true );
   EXPECT_FALSE( port->isNondestructing() );
   EXPECT_EQ( port->references(), 1u );
   EXPECT_EQ( calls, ( Calls{ "w nondestructing", "w nondestructing" } ) );
   port = nullptr;
   EXPECT_EQ( Port::live, 0 );
}

// Promise 2.
TEST_F( Pinning, ANotifierMayBePinnedAgainWhileItTellsOfItsUnpinning ) {
   auto port = make< Port >( 1u );
   port->isNondestructingIs( true );
   auto const watcher = watchWeakly( "w", calls, port );
   watcher->action = [ & ] { port->isNondestructingIs( true ); };
   port->isNondestructingIs( false );
   EXPECT_TRUE( port->isNondestructing() );
   port->isNondestructingIs( false );
   EXPECT_EQ( port->references(), 1u );
}

// Promise 2.
TEST_F( Pinning, AnEntityThatNobodyReferencesTellsOfItsUnpinningBeforeItGoes ) {
   auto port = make< Port >( 1u );
   Port* const raw = port.ptr();
   auto const watcher = watchWeakly( "w", calls, port );
   raw->isNondestructingIs( true );
   port = nullptr;
   EXPECT_EQ( Port::live, 1 );
   raw->isNondestructingIs( false );
   EXPECT_EQ( calls, ( Calls{ "w nondestructing", "w nondestructing", "w zero" } ) );
   EXPECT_EQ( Port::live, 0 );
}

// Promise 2.
TEST_F( Pinning, ByNameItMayLoseItsAdapterMeanwhile ) {
   auto board = make< Board >( "board" );
   {
      ByName const byName( board );
      byName.set( "isNondestructing", toGeneric( true ) );
   }
   {
      ByName const byName( board );
      byName.set( "isNondestructing", toGeneric( false ) );
      EXPECT_EQ( board->references(), 2u );
      byName.set( "isNondestructing", toGeneric( true ) );
      byName.set( "isNondestructing", toGeneric( false ) );
   }
   EXPECT_EQ( board->references(), 1u );
}

// Promise 2.
TEST_F( Pinning, ByNameUnpinningThroughTheLastPointerReleasesItWithThat ) {
   auto port = make< Port >( 1u );
   port->isNondestructingIs( true );
   auto byName = std::make_unique< ByName >( port );
   port = nullptr;
   byName->set( "isNondestructing", toGeneric( false ) );
   EXPECT_EQ( Port::live, 1 );
   byName = nullptr;
   EXPECT_EQ( Port::live, 0 );
}

// Promise 2.
TEST_F( Pinning, TheNotifierMayBePinnedWithinOneDeliveryAndUnpinnedWithinAnother ) {
   auto port = make< Port >( 1u );
   auto const watcher = watchWeakly( "w", calls, port );
   watcher->action = [ & ] { port->isNondestructingIs( true ); };
   port->speedIs( 1 );
   watcher->action = [ & ] {
      watcher->action = nullptr;
      port->isNondestructingIs( false );
      port = nullptr;
   };
   port->speedIs( 2 );
   EXPECT_EQ( Port::live, 0 );
   EXPECT_EQ( calls.back(), "w zero" );
}

// Promise 1.
TEST_F( Pinning, AnOwnerThatIsPinnedForAWhileLetsGoOfItsReactors ) {
   auto const one = make< Port >( 1u );
   auto const two = make< Port >( 2u );
   auto owner = make< Supervisor >( calls );
   owner->portIs( one );
   owner->masterIs( two );
   owner->isNondestructingIs( true );
   owner->masterReactor()->isNondestructingIs( true );
   owner->ryxDoZombieReactors( true );
   EXPECT_TRUE( owner->ryxMarkedForDeletion() );
   one->speedIs( 5 );
   two->speedIs( 5 );
   EXPECT_EQ( calls, Calls{} );
   owner->masterReactor()->isNondestructingIs( false );
   owner->isNondestructingIs( false );
   EXPECT_TRUE( owner->ryxMarkedForDeletion() );
   EXPECT_TRUE( owner->hasNotificationActive() );
   EXPECT_TRUE( owner->masterReactor()->ryxMarkedForDeletion() );
   EXPECT_FALSE( owner->masterReactor()->hasNotificationActive() );
   owner = nullptr;
   EXPECT_EQ( one->references(), 1u );
   EXPECT_EQ( two->references(), 1u );
}

// Promise 1.
TEST_F( Pinning, AReactorPinnedForAWhileCanBeSwitchedOffAndOn ) {
   auto const one = make< Port >( 1u );
   auto const owner = make< Supervisor >( calls );
   owner->masterIs( one );
   owner->masterReactor()->isNondestructingIs( true );
   owner->hasNotificationActiveIs( false );
   owner->masterReactor()->isNondestructingIs( false );
   one->speedIs( 5 );
   EXPECT_EQ( calls, Calls{} );
   owner->hasNotificationActiveIs( true );
   one->speedIs( 6 );
   EXPECT_EQ( calls, Calls{ "master port1 6" } );
}

} // namespace
