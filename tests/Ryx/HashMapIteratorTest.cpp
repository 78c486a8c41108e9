// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Iterators over a map that changes; the numbers are those of the promises before HashMap.

#include "HashMapIteratorFixture"

#include <memory>

namespace {

using namespace iterators;

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

} // namespace
