// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Iterators over a map that changes; the numbers are those of the promises before HashMap.

#include "HashMapDoubles"

#include <gtest/gtest.h>

#include <memory>

namespace {

using Keys = std::vector< TestKey >;
using Map = TestMap< TestKey >;
using Record = TestRecord< TestKey >;

// Keys of ascending position, two in each chain of a table of eight.
TestKey
key( int id ) {
   return { static_cast< std::uint32_t >( id / 2 ) << 29, id };
}

Keys
keys( std::vector< int > const& ids ) {
   Keys result;
   for ( int id : ids ) {
      result.push_back( key( id ) );
   }
   return result;
}

class HashMapIterator : public testing::Test {
 protected:
   HashMapIterator() { insertAll( map, keys( { 2, 4, 5, 6, 8, 12 } ) ); }
   ~HashMapIterator() override {
      map.clear();
      EXPECT_EQ( Record::live, 0 );
   }

   Map::Iterator at( int id ) {
      Map::Iterator it( map );
      while ( it.key() != key( id ) ) {
         ++it;
      }
      return it;
   }

   Map map;
};

TEST_F( HashMapIterator, OfAnEmptyMapIsAtTheEnd ) {
   map.clear();
   EXPECT_FALSE( Map::Iterator( map ) );
   EXPECT_FALSE( Map::IteratorConst( map ) );
}

TEST_F( HashMapIterator, GivesKeyAndMember ) {
   Map::Iterator it( map );
   EXPECT_EQ( it.key(), key( 2 ) );
   EXPECT_EQ( it.ptr().ptr(), map.find( key( 2 ) ) );
   EXPECT_EQ( it->fwkKey(), key( 2 ) );
   EXPECT_EQ( &*it, map.find( key( 2 ) ) );
   Map::IteratorConst constIt( map );
   Ryx::Ptr< Record const > const member = constIt.ptr();
   EXPECT_EQ( member.ptr(), &*it );
   EXPECT_EQ( constIt->fwkKey(), key( 2 ) );
   EXPECT_EQ( &*constIt, &*it );
}

TEST_F( HashMapIterator, AMutableOneIsAConstOneToo ) {
   Map::IteratorConst const it = at( 5 );
   EXPECT_EQ( keysFrom( it ), keys( { 5, 6, 8, 12 } ) );
}

// Promise 6.
TEST_F( HashMapIterator, DoesNotKeepARemovedMember ) {
   Map::Iterator it( map );
   Map::Iterator const copy = it;
   auto removed = map.remove( key( 2 ) );
   EXPECT_EQ( removed->references(), 1u );
   removed = nullptr;
   EXPECT_EQ( Record::live, 5 );
   EXPECT_EQ( keysFrom( it ), keys( { 2, 4, 5, 6, 8, 12 } ) );
   EXPECT_EQ( keysFrom( copy ), keys( { 2, 4, 5, 6, 8, 12 } ) );
}

TEST_F( HashMapIterator, LeavesItsPlaceToTheOneThatItIsMovedTo ) {
   Record* const two = map.find( key( 2 ) );
   Map::Iterator it( map );
   Map::Iterator const moved = std::move( it );
   EXPECT_FALSE( it );
   EXPECT_EQ( moved.ptr().ptr(), two );
   map.remove( key( 2 ) );
   EXPECT_FALSE( it );
   EXPECT_TRUE( moved );
   EXPECT_EQ( keysFrom( moved ), keys( { 2, 4, 5, 6, 8, 12 } ) );
}

TEST_F( HashMapIterator, OutlivesItsMap ) {
   auto other = std::make_unique< Map >();
   insertAll( *other, keys( { 1, 3 } ) );
   Map::Iterator it( *other );
   Map::Iterator atEnd( *other );
   ++ ++atEnd;
   other.reset();
   EXPECT_TRUE( it );
   EXPECT_EQ( it.key(), key( 1 ) );
   Map::Iterator copy = it;
   ++copy;
   EXPECT_FALSE( copy );
   EXPECT_FALSE( atEnd );
   it = at( 8 );
   EXPECT_EQ( keysFrom( it ), keys( { 8, 12 } ) );
}

// Promise 6.
TEST_F( HashMapIterator, StaysOnTheKeyOfARemovedMember ) {
   Map::Iterator it = at( 5 );
   Map::IteratorConst const constIt = it;
   auto const five = map.remove( key( 5 ) );
   EXPECT_TRUE( it );
   EXPECT_EQ( it.key(), key( 5 ) );
   EXPECT_FALSE( it.ptr() );
   EXPECT_THROW( it->fwkKey(), Ryx::RangeException );
   EXPECT_THROW( *it, Ryx::RangeException );
   EXPECT_TRUE( constIt );
   EXPECT_EQ( constIt.key(), key( 5 ) );
   EXPECT_FALSE( constIt.ptr() );
   EXPECT_THROW( constIt->fwkKey(), Ryx::RangeException );
   EXPECT_THROW( *constIt, Ryx::RangeException );
   EXPECT_EQ( keysFrom( it ), keys( { 5, 6, 8, 12 } ) );
}

TEST_F( HashMapIterator, LeavesARecordAloneThatWasRemovedAndInsertedAgain ) {
   Map::Iterator it = at( 5 );
   map.insert( map.remove( key( 5 ) ) );
   map.remove( it );
   EXPECT_TRUE( map.contains( key( 5 ) ) );
   EXPECT_EQ( keysFrom( it ), keys( { 5, 6, 8, 12 } ) );
   EXPECT_FALSE( it.ptr() );
   map.remove( key( 5 ) );
   EXPECT_EQ( keysFrom( it ), keys( { 5, 6, 8, 12 } ) );
}

TEST_F( HashMapIterator, GoesOnBehindTheKeyUnderWhichItsMemberWasRemovedFirst ) {
   Map::Iterator it = at( 5 );
   auto five = map.remove( key( 5 ) );
   five->keyIs( key( 9 ) );
   map.insert( five );
   map.remove( key( 9 ) );
   EXPECT_EQ( it.key(), key( 5 ) );
   EXPECT_EQ( keysFrom( it ), keys( { 5, 6, 8, 12 } ) );
}

// Promise 7.
TEST_F( HashMapIterator, SkipsMembersRemovedAheadOfIt ) {
   Map::Iterator const it = at( 4 );
   map.remove( key( 5 ) );
   map.remove( key( 12 ) );
   EXPECT_EQ( keysFrom( it ), keys( { 4, 6, 8 } ) );
}

// Promise 7.
TEST_F( HashMapIterator, GoesOnAfterAllAroundItWereRemoved ) {
   Map::Iterator const it = at( 5 );
   for ( int id : { 4, 5, 6, 8 } ) {
      map.remove( key( id ) );
   }
   EXPECT_EQ( keysFrom( it ), keys( { 5, 12 } ) );
}

// Promise 7.
TEST_F( HashMapIterator, EndsWhenAllAheadWereRemoved ) {
   Map::Iterator it = at( 8 );
   map.clear();
   ++it;
   EXPECT_FALSE( it );
}

// Promise 7.
TEST_F( HashMapIterator, VisitsMembersInsertedAheadOfIt ) {
   Map::Iterator const it = at( 6 );
   insertAll( map, keys( { 7, 9, 10 } ) );
   EXPECT_EQ( keysFrom( it ), keys( { 6, 7, 8, 9, 10, 12 } ) );
}

// Promise 7.
TEST_F( HashMapIterator, VisitsAMemberInsertedAheadOfItsRemovedOne ) {
   Map::Iterator const it = at( 6 );
   map.remove( key( 6 ) );
   insertNew( map, key( 7 ) );
   EXPECT_EQ( keysFrom( it ), keys( { 6, 7, 8, 12 } ) );
}

// Promise 7.
TEST_F( HashMapIterator, VisitsAMemberRemovedAndInsertedAgainAheadOfItOnce ) {
   Map::Iterator const it = at( 4 );
   map.insert( map.remove( key( 5 ) ) );
   EXPECT_EQ( keysFrom( it ), keys( { 4, 5, 6, 8, 12 } ) );
}

// Promise 8.
TEST_F( HashMapIterator, DoesNotVisitMembersInsertedBehindIt ) {
   Map::Iterator const it = at( 8 );
   insertAll( map, keys( { 0, 3, 7 } ) );
   EXPECT_EQ( keysFrom( it ), keys( { 8, 12 } ) );
}

// Promise 8.
TEST_F( HashMapIterator, DoesNotVisitItsKeyAgainWhenItIsInsertedAgain ) {
   Map::Iterator const it = at( 8 );
   map.remove( key( 8 ) );
   insertNew( map, key( 8 ) );
   EXPECT_FALSE( it.ptr() );
   EXPECT_EQ( keysFrom( it ), keys( { 8, 12 } ) );
}

// Promise 8.
TEST_F( HashMapIterator, IgnoresThatItsMemberWentToAnotherMap ) {
   Map other;
   insertNew( other, key( 9 ) );
   Map::Iterator it = at( 8 );
   other.insert( map.remove( key( 8 ) ) );
   EXPECT_EQ( keysFrom( it ), keys( { 8, 12 } ) );
}

// Promise 9.
TEST_F( HashMapIterator, IsNotDisturbedByGrowthAndShrinkage ) {
   Map::Iterator const first = at( 5 );
   Map::Iterator const last = at( 12 );
   auto const before = map.bucketCount();
   for ( int id = 100; id < 200; ++id ) {
      insertNew( map, { 0, id } );
   }
   EXPECT_GT( map.bucketCount(), before );
   EXPECT_EQ( keysFrom( first ), keys( { 5, 6, 8, 12 } ) );
   for ( int id = 100; id < 200; ++id ) {
      map.remove( { 0, id } );
   }
   for ( int id : { 2, 4, 5, 6, 8 } ) {
      map.remove( key( id ) );
   }
   EXPECT_EQ( map.bucketCount(), 1u );
   EXPECT_EQ( keysFrom( first ), keys( { 5, 12 } ) );
   EXPECT_EQ( keysFrom( last ), keys( { 12 } ) );
}

// Promise 10.
TEST_F( HashMapIterator, ACopyGoesItsOwnWay ) {
   Map::Iterator it = at( 5 );
   Map::Iterator copy = it;
   ++copy;
   EXPECT_EQ( it.key(), key( 5 ) );
   EXPECT_EQ( copy.key(), key( 6 ) );
   it = copy;
   ++it;
   EXPECT_EQ( it.key(), key( 8 ) );
   EXPECT_EQ( copy.key(), key( 6 ) );
}

// Promise 11.
TEST_F( HashMapIterator, StaysAtTheEnd ) {
   Map::Iterator it = at( 12 );
   ++it;
   insertNew( map, key( 13 ) );
   EXPECT_FALSE( it );
   EXPECT_FALSE( it.ptr() );
   EXPECT_EQ( it.key(), key( 12 ) );
   EXPECT_THROW( ++it, Ryx::RangeException );
   EXPECT_THROW( *it, Ryx::RangeException );
   EXPECT_THROW( it->fwkKey(), Ryx::RangeException );
   map.remove( it );
   EXPECT_EQ( map.size(), 7u );
}

// Promise 6.
TEST_F( HashMapIterator, AMembersDestructorMayRemoveTheNextMember ) {
   Map::Iterator it = at( 5 );
   it->onDestroyed = [ this ] { map.remove( key( 6 ) ); };
   map.remove( key( 5 ) );
   EXPECT_FALSE( map.contains( key( 6 ) ) );
   ++it;
   EXPECT_EQ( it.key(), key( 8 ) );
   EXPECT_TRUE( it->fwkHmLinked() );
}

// Promise 6.
TEST_F( HashMapIterator, AMembersDestructorMayInsertItsKeyAgain ) {
   Map::Iterator it = at( 5 );
   it->onDestroyed = [ this ] { insertNew( map, key( 5 ) ); };
   map.remove( key( 5 ) );
   EXPECT_FALSE( it.ptr() );
   EXPECT_EQ( keysFrom( it ), keys( { 5, 6, 8, 12 } ) );
   EXPECT_TRUE( map.contains( key( 5 ) ) );
}

// Promise 6.
TEST_F( HashMapIterator, AMembersDestructorMayStepCopyAndEndTheIteratorsOnIt ) {
   auto it = std::make_unique< Map::Iterator >( at( 5 ) );
   auto const stays = std::make_unique< Map::Iterator >( *it );
   Keys copied;
   ( *it )->onDestroyed = [ & ] {
      copied = keysFrom( *it );
      ++*stays;
      it.reset();
   };
   map.remove( key( 5 ) );
   EXPECT_EQ( copied, keys( { 5, 6, 8, 12 } ) );
   EXPECT_EQ( keysFrom( *stays ), keys( { 6, 8, 12 } ) );
}

// Promise 6.
TEST_F( HashMapIterator, AMembersDestructorMayClearTheMap ) {
   Map::Iterator it = at( 5 );
   it->onDestroyed = [ this ] { map.clear(); };
   map.remove( it );
   EXPECT_TRUE( it );
   EXPECT_EQ( it.key(), key( 5 ) );
   ++it;
   EXPECT_FALSE( it );
}

// Promise 6.
TEST_F( HashMapIterator, AMembersDestructorMayEndTheMap ) {
   auto other = std::make_unique< Map >();
   insertAll( *other, keys( { 1, 3, 5 } ) );
   Map::Iterator it( *other );
   it->onDestroyed = [ &other ] { other.reset(); };
   other->remove( key( 1 ) );
   EXPECT_FALSE( other );
   EXPECT_EQ( it.key(), key( 1 ) );
   ++it;
   EXPECT_FALSE( it );
}

TEST_F( HashMapIterator, RemovingThroughItGoesOnWithTheNextMember ) {
   Map::Iterator it = at( 5 );
   map.remove( it );
   EXPECT_FALSE( map.contains( key( 5 ) ) );
   ++it;
   EXPECT_EQ( it.key(), key( 6 ) );
   EXPECT_EQ( keysOf( map ), keys( { 2, 4, 6, 8, 12 } ) );
}

TEST_F( HashMapIterator, RemovingEveryOtherMemberWhileVisiting ) {
   bool odd = false;
   for ( Map::Iterator it( map ); it; ++it, odd = !odd ) {
      if ( odd ) {
         map.remove( it );
      }
   }
   EXPECT_EQ( keysOf( map ), keys( { 2, 5, 8 } ) );
}

TEST_F( HashMapIterator, RemovingThroughItLeavesASuccessorOfItsMemberAlone ) {
   Map::Iterator it = at( 5 );
   map.remove( key( 5 ) );
   insertNew( map, key( 5 ) );
   map.remove( it );
   EXPECT_TRUE( map.contains( key( 5 ) ) );
}

class Owner {
 public:
   void memberNotify( TestKey removed, Ryx::Ptr< Record > const& member ) {
      EXPECT_EQ( member->fwkKey(), removed );
      EXPECT_FALSE( member->fwkHmLinked() );
      notified.push_back( removed );
      if ( onNotify ) {
         onNotify( removed );
      }
   }

   using Iterator = Ryx::OwnedIterator< Map, Owner, &Owner::memberNotify >;

   Keys notified;
   std::function< void( TestKey ) > onNotify;
};

TEST_F( HashMapIterator, AnOwnedOneTellsItsOwner ) {
   Owner owner;
   Owner::Iterator it( map, &owner );
   ++it;
   map.remove( it );
   EXPECT_EQ( owner.notified, keys( { 4 } ) );
   map.remove( it );
   map.remove( key( 6 ) );
   EXPECT_EQ( owner.notified, keys( { 4 } ) );
}

TEST_F( HashMapIterator, DeletingMembersTellsTheOwnerOfEachInOrder ) {
   Owner owner;
   map.deleteMembers( Owner::Iterator( map, &owner ) );
   EXPECT_EQ( owner.notified, keys( { 2, 4, 5, 6, 8, 12 } ) );
   EXPECT_TRUE( map.empty() );
}

TEST_F( HashMapIterator, DeletingMembersStartsWhereTheIteratorStands ) {
   Owner owner;
   Owner::Iterator it( map, &owner );
   ++ ++it;
   map.deleteMembers( it );
   EXPECT_EQ( owner.notified, keys( { 5, 6, 8, 12 } ) );
   EXPECT_EQ( keysOf( map ), keys( { 2, 4 } ) );
}

TEST_F( HashMapIterator, TheOwnerMayChangeTheMapWhileMembersAreDeleted ) {
   Owner owner;
   owner.onNotify = [ this ]( TestKey removed ) {
      if ( removed == key( 4 ) ) {
         map.remove( key( 5 ) );
         insertAll( map, keys( { 0, 4, 10 } ) );
      }
   };
   map.deleteMembers( Owner::Iterator( map, &owner ) );
   EXPECT_EQ( owner.notified, keys( { 2, 4, 6, 8, 10, 12 } ) );
   EXPECT_EQ( keysOf( map ), keys( { 0, 4 } ) );
}

} // namespace
