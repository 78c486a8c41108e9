// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Stepping by name through the members of a collection.

#include "GenericDoubles"

#include <gtest/gtest.h>

namespace {

using doubles::Board;
using doubles::BoardWatcher;
using doubles::ByName;
using doubles::Calls;
using doubles::Port;
using doubles::Supervisor;
using Ryx::GenericIf;
using Ryx::Ptr;
using Iterator = Ptr< GenericIf::Iterator >;

class GenericIteratorTest : public testing::Test {
 protected:
   GenericIteratorTest() {
      for ( unsigned const key : { 1u, 2u, 3u } ) {
         board->newLevel( key, 10 * key );
      }
   }

   static Iterator iterator( ByName const& object, std::string const& attribute ) {
      return object.adapter->attributeIterator( object.adapter->attributeId( attribute ) );
   }
   // "key = object" from where the iterator stands.
   static Calls rest( Iterator const& it ) {
      Calls members;
      for ( ; GenericIf::attributeIterator_nonNull( *it );
            GenericIf::attributeIterator_iterInc( *it ) ) {
         members.push_back(
            GenericIf::attributeIterator_iterKey( *it )->strRep() + " = " +
            GenericIf::attributeIterator_iterObj( *it )->strRep() );
      }
      return members;
   }

   Calls calls;
   Ptr< Port > const one = Ryx::make< Port >( 1u );
   Ptr< Board > const board = Ryx::make< Board >( "board" );
   Ptr< BoardWatcher > const watcher = doubles::watch< BoardWatcher >( "w", calls, board );
   ByName const byName{ board };
};

TEST_F( GenericIteratorTest, VisitsTheMembersInOrder ) {
   EXPECT_EQ(
      rest( iterator( byName, "level" ) ), ( Calls{ "2 = 20", "1 = 10", "3 = 30" } ) );
}

TEST_F( GenericIteratorTest, OfAnEmptyCollectionIsAtTheEnd ) {
   EXPECT_EQ( rest( iterator( byName, "spare" ) ), Calls{} );
}

TEST_F( GenericIteratorTest, VisitsObjectsAndInputs ) {
   board->spareIs( 7, one );
   board->portIs( one );
   board->slotIs( 4 );
   EXPECT_EQ( rest( iterator( byName, "spare" ) ), Calls{ "7 = port1" } );
   EXPECT_EQ( rest( iterator( byName, "port" ) ), Calls{ "1 = port1" } );
   EXPECT_EQ( rest( iterator( byName, "slot" ) ), Calls{ "4 = slot" } );
   auto const owner = Ryx::make< Supervisor >( calls );
   owner->portIs( one );
   EXPECT_EQ( rest( iterator( ByName( owner ), "port" ) ), Calls{ "1 = port1" } );
}

TEST_F( GenericIteratorTest, VisitsACollectionOfADerivedType ) {
   auto const fast = Ryx::make< doubles::FastPort >( 1u );
   fast->powerIs( 2, 1.5 );
   EXPECT_EQ( rest( iterator( ByName( fast ), "power" ) ), Calls{ "2 = 1.5" } );
}

TEST_F( GenericIteratorTest, DeletesTheCurrentMemberAndGoesOnBehindIt ) {
   auto const it = iterator( byName, "level" );
   GenericIf::attributeIterator_iterDel( *it );
   EXPECT_EQ( calls, Calls{ "w level 2" } );
   EXPECT_TRUE( it->nonNull() );
   EXPECT_EQ( it->iterKey()->strRep(), "2" );
   it->iterInc();
   EXPECT_EQ( rest( it ), ( Calls{ "1 = 10", "3 = 30" } ) );
}

TEST_F( GenericIteratorTest, DeletingAMemberTwiceNotifiesOnce ) {
   auto const it = iterator( byName, "level" );
   it->iterDel();
   it->iterDel();
   EXPECT_EQ( calls.size(), 1u );
}

TEST_F( GenericIteratorTest, DoesNotDeleteAMemberThatTookThePlaceOfItsOwn ) {
   auto const it = iterator( byName, "level" );
   board->levelDel( 2 );
   board->newLevel( 2, 50 );
   it->iterDel();
   EXPECT_EQ( board->level( 2 ), 50u );
}

TEST_F( GenericIteratorTest, DeletingAnInputRetiresItsReactor ) {
   auto const owner = Ryx::make< Supervisor >( calls );
   owner->portIs( one );
   auto const reactor = owner->port( 1 );
   iterator( ByName( owner ), "port" )->iterDel();
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_EQ( reactor->owner(), nullptr );
   EXPECT_EQ( owner->ports(), 0u );
}

TEST_F( GenericIteratorTest, SeesWhatChangesAheadOfIt ) {
   auto const it = iterator( byName, "level" );
   board->levelDel( 1 );
   board->newLevel( 5, 50 );
   EXPECT_EQ( rest( it ), ( Calls{ "2 = 20", "5 = 50", "3 = 30" } ) );
}

TEST_F( GenericIteratorTest, ACloneGoesOnAlone ) {
   auto const it = iterator( byName, "level" );
   it->iterInc();
   auto const clone = GenericIf::attributeIterator_iterClone( *it );
   it->iterInc();
   EXPECT_EQ( rest( clone ), ( Calls{ "1 = 10", "3 = 30" } ) );
   EXPECT_EQ( rest( it ), Calls{ "3 = 30" } );
}

TEST_F( GenericIteratorTest, ReachingOrSteppingPastTheEndThrows ) {
   auto const it = iterator( byName, "spare" );
   EXPECT_FALSE( it->nonNull() );
   using Refusal = Ryx::GenericIfException;
   EXPECT_EQ( support::refusal< Refusal >( [ & ] { it->iterObj(); } ), "null ValidPtr" );
   EXPECT_EQ( support::refusal< Refusal >( [ & ] { it->iterDel(); } ), "null ValidPtr" );
   EXPECT_EQ( support::refusal< Refusal >( [ & ] { it->iterInc(); } ), "null ValidPtr" );
}

TEST_F( GenericIteratorTest, DoesNotKeepARemovedMember ) {
   board->spareIs( 7, one );
   auto const held = one->references();
   auto const it = iterator( byName, "spare" );
   board->spareDel( 7 );
   EXPECT_EQ( one->references(), held - 1 );
   EXPECT_EQ(
      support::refusal< Ryx::GenericIfException >( [ & ] { it->iterObj(); } ),
      "null ValidPtr" );
}

TEST_F( GenericIteratorTest, OnAConstInstanceDeletesNothing ) {
   board->spareIs( 7, one );
   calls.clear();
   ByName const asConst( board, true );
   auto const it = iterator( asConst, "spare" );
   EXPECT_EQ(
      doubles::refusal( [ & ] { it->iterDel(); } ),
      "attempting to modify a const instance" );
   EXPECT_TRUE( it->iterObj()->isConst() );
   EXPECT_EQ( board->spare( 7 ), one );
   EXPECT_EQ( calls, Calls{} );
}

TEST_F( GenericIteratorTest, KeepsTheObjectAlive ) {
   auto own = Ryx::make< Board >( "own" );
   own->newLevel( 1, 10 );
   auto const it = iterator( ByName( own ), "level" );
   own = nullptr;
   EXPECT_EQ( rest( it ), Calls{ "1 = 10" } );
}

TEST_F( GenericIteratorTest, AnAttributeThatIsNoCollectionHasNone ) {
   auto const refused = [ this ]( std::string const& name ) {
      return doubles::refusal( [ & ] { iterator( byName, name ); } );
   };
   EXPECT_EQ( refused( "mode" ), "operation not supported by attribute \"mode\"" );
   EXPECT_EQ( refused( "sensor" ), "operation not supported by attribute \"sensor\"" );
   EXPECT_EQ( refused( "nothing" ), "operation not supported by attribute \"unknown\"" );
}

} // namespace
