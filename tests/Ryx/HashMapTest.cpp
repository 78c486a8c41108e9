// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The map by itself; the numbers are those of the promises before HashMap.

#include "HashMapDoubles"

#include <Ryx/HashMapRecords>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using Keys = std::vector< TestKey >;
using Map = TestMap< TestKey >;
using Record = TestRecord< TestKey >;
using NumberMap = TestMap< std::uint32_t >;

constexpr std::uint32_t top = 0x80000000;

TEST( HashMap, BitReversalMirrorsEveryBit ) {
   for ( unsigned bit = 0; bit < 32; ++bit ) {
      EXPECT_EQ( Ryx::bitReversed( 1u << bit ), top >> bit );
   }
   EXPECT_EQ( Ryx::bitReversed( 0x12345678 ), 0x1e6a2c48u );
}

TEST( HashMap, StartsEmptyWithOneBucket ) {
   Map map;
   EXPECT_TRUE( map.empty() );
   EXPECT_EQ( map.size(), 0u );
   EXPECT_EQ( map.bucketCount(), 1u );
   EXPECT_EQ( map.find( { 1, 1 } ), nullptr );
   EXPECT_FALSE( map.remove( { 1, 1 } ) );
   EXPECT_EQ( keysOf( map ), Keys() );
}

TEST( HashMap, FindsWhatWasInserted ) {
   Map map;
   Record* const a = insertNew( map, { 1, 1 } );
   Record* const b = insertNew( map, { 1, 2 } );
   EXPECT_EQ( map.find( { 1, 1 } ), a );
   EXPECT_EQ( map.find( { 1, 2 } ), b );
   EXPECT_TRUE( map.contains( { 1, 1 } ) );
   EXPECT_FALSE( map.contains( { 1, 3 } ) );
   EXPECT_FALSE( map.contains( { 2, 1 } ) );
   EXPECT_EQ( map.size(), 2u );
}

// Promise 1.
TEST( HashMap, VisitsInOrderOfPositionHashThenKey ) {
   Map map;
   insertAll( map, Keys{ { top, 1 }, { 7, 9 }, { 7, 2 }, { ~0u, 0 }, { 7, 5 }, { 0, 3 } } );
   EXPECT_EQ(
      keysOf( map ),
      ( Keys{ { 0, 3 }, { 7, 2 }, { 7, 5 }, { 7, 9 }, { top, 1 }, { ~0u, 0 } } ) );
}

// Promise 1.
TEST( HashMap, VisitsNumbersByTheirReversedBits ) {
   NumberMap map;
   insertAll( map, { 0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u } );
   EXPECT_EQ( keysOf( map ), ( std::vector< std::uint32_t >{ 0, 4, 2, 6, 1, 5, 3, 7 } ) );
}

// Promise 1.
TEST( HashMap, GrowthAndShrinkageKeepTheOrder ) {
   NumberMap map;
   std::vector< std::uint32_t > model;
   auto before = []( std::uint32_t a, std::uint32_t b ) {
      return Ryx::bitReversed( a ) < Ryx::bitReversed( b );
   };
   for ( std::uint32_t i = 0; i < 300; ++i ) {
      insertNew( map, i * 7919 );
      model.insert(
         std::upper_bound( model.begin(), model.end(), i * 7919, before ), i * 7919 );
      ASSERT_EQ( keysOf( map ), model );
   }
   EXPECT_EQ( map.bucketCount(), 512u );
   while ( !model.empty() ) {
      auto const victim = model.begin() + static_cast< long >( model.size() / 2 );
      ASSERT_TRUE( map.remove( *victim ) );
      model.erase( victim );
      ASSERT_EQ( keysOf( map ), model );
   }
   EXPECT_EQ( map.bucketCount(), 1u );
}

TEST( HashMap, GrowsWhenMembersOutnumberBuckets ) {
   NumberMap map;
   std::vector< std::size_t > sizes;
   for ( std::uint32_t i = 1; i <= 17; ++i ) {
      insertNew( map, i );
      if ( sizes.empty() || sizes.back() != map.bucketCount() ) {
         sizes.push_back( map.size() );
         sizes.push_back( map.bucketCount() );
      }
   }
   EXPECT_EQ( sizes, ( std::vector< std::size_t >{ 1, 1, 5, 8, 9, 16, 17, 32 } ) );
}

TEST( HashMap, ShrinksBelowASixteenthOfItsBuckets ) {
   NumberMap map;
   for ( std::uint32_t i = 0; i < 129; ++i ) {
      insertNew( map, i );
   }
   std::vector< std::size_t > sizes{ map.bucketCount() };
   for ( std::uint32_t i = 0; i < 129; ++i ) {
      std::size_t const before = map.bucketCount();
      map.remove( i );
      if ( before != map.bucketCount() ) {
         sizes.push_back( map.size() );
         sizes.push_back( map.bucketCount() );
      }
   }
   EXPECT_EQ( sizes, ( std::vector< std::size_t >{ 256, 15, 32, 1, 1 } ) );
}

// Promise 2.
TEST( HashMap, HasOneReferenceToEachMember ) {
   auto record = Ryx::make< Record >( TestKey{ 1, 1 } );
   {
      Map map;
      map.insert( record );
      EXPECT_EQ( record->references(), 2u );
      EXPECT_EQ( map.find( { 1, 1 } )->references(), 2u );
      auto removed = map.remove( { 1, 1 } );
      EXPECT_EQ( removed, record );
      EXPECT_EQ( record->references(), 2u );
      map.insert( std::move( removed ) );
      EXPECT_EQ( record->references(), 2u );
   }
   EXPECT_EQ( record->references(), 1u );
   EXPECT_FALSE( record->fwkHmLinked() );
}

TEST( HashMap, EveryMemberIsLinkedAndNoOther ) {
   Map map;
   auto record = Ryx::make< Record >( TestKey{ 1, 1 } );
   EXPECT_FALSE( record->fwkHmLinked() );
   EXPECT_EQ( record->fwkHmNext(), nullptr );
   map.insert( record );
   EXPECT_TRUE( record->fwkHmLinked() );
   EXPECT_NE( record->fwkHmNext(), nullptr );
   map.remove( { 1, 1 } );
   EXPECT_FALSE( record->fwkHmLinked() );
   EXPECT_EQ( record->fwkHmNext(), nullptr );
}

TEST( HashMap, ARemovedRecordGoesIntoAnotherMap ) {
   Map a;
   Map b;
   insertNew( a, { 1, 1 } );
   b.insert( a.remove( { 1, 1 } ) );
   EXPECT_FALSE( a.contains( { 1, 1 } ) );
   EXPECT_TRUE( b.contains( { 1, 1 } ) );
}

TEST( HashMap, InsertingNullThrowsAndChangesNothing ) {
   Map map;
   EXPECT_THROW( map.insert( nullptr ), Ryx::RangeException );
   EXPECT_TRUE( map.empty() );
}

TEST( HashMapDeathTest, InsertingALinkedRecordAborts ) {
   Map map;
   Map other;
   auto record = Ryx::make< Record >( TestKey{ 1, 1 } );
   map.insert( record );
   constexpr char const* text = "^/usr/include/Ryx/HashMap:328: insert: Assertion "
                                "`t->fwkHmNext\\(\\) == 0' failed\\.";
   EXPECT_DEATH( map.insert( record ), text );
   EXPECT_DEATH( other.insert( record ), text );
}

TEST( HashMapDeathTest, InsertingAPresentKeyAborts ) {
   Map map;
   insertAll( map, Keys{ { 1, 0 }, { 1, 1 }, { 1, 2 } } );
   EXPECT_DEATH(
      insertNew( map, { 1, 1 } ),
      "insert: Assertion `!contains\\( t->fwkKey\\(\\) \\)' failed\\." );
}

// Promise 5.
TEST( HashMap, ASpotServesToFindAndToInsert ) {
   Map map;
   insertAll( map, Keys{ { 1, 1 }, { 1, 3 } } );
   EXPECT_EQ( map.spotOf( { 1, 3 } ).member(), map.find( { 1, 3 } ) );
   Map::Spot const spot = map.spotOf( { 1, 2 } );
   EXPECT_EQ( spot.member(), nullptr );
   map.insert( spot, Ryx::make< Record >( TestKey{ 1, 2 } ) );
   EXPECT_EQ( keysOf( map ), ( Keys{ { 1, 1 }, { 1, 2 }, { 1, 3 } } ) );
   EXPECT_EQ( map.size(), 3u );
}

// Promise 5.
TEST( HashMap, ASpotOutdatedByAnyChangeIsFoundAgain ) {
   auto const isFoundAgainAfter = []( auto change ) {
      Map map;
      insertAll( map, Keys{ { 1, 1 }, { 1, 2 }, { 1, 5 }, { top, 1 } } );
      Map::Spot const spot = map.spotOf( { 1, 3 } );
      EXPECT_EQ( map.spotOf( spot, { 1, 3 } ).member(), nullptr );
      change( map );
      map.insert( map.spotOf( spot, { 1, 3 } ), Ryx::make< Record >( TestKey{ 1, 3 } ) );
      EXPECT_EQ( map.spotOf( spot, { 1, 3 } ).member(), map.find( { 1, 3 } ) );
      map.remove( { 1, 3 } );
      map.insert( spot, Ryx::make< Record >( TestKey{ 1, 3 } ) );
      Keys all = keysOf( map );
      EXPECT_TRUE( std::is_sorted( all.begin(), all.end() ) );
      EXPECT_TRUE( map.contains( { 1, 3 } ) );
      EXPECT_EQ( all.size(), map.size() );
   };
   isFoundAgainAfter( []( Map& map ) { map.remove( { 1, 2 } ); } );
   isFoundAgainAfter( []( Map& map ) { insertNew( map, { 1, 4 } ); } );
   isFoundAgainAfter( []( Map& map ) { map.insert( map.remove( { 1, 2 } ) ); } );
   isFoundAgainAfter( []( Map& map ) { map.reserve( 100 ); } );
   isFoundAgainAfter( []( Map& map ) { map.clear(); } );
}

// Promise 1.
TEST( HashMap, ReservingMakesRoomAndKeepsTheOrder ) {
   for ( std::uint32_t const members : { 0u, 3u, 5u, 30u } ) {
      NumberMap map;
      for ( std::uint32_t i = 0; i < members; ++i ) {
         insertNew( map, i * 7919 );
      }
      auto const before = keysOf( map );
      NumberMap::Iterator it( map );
      map.reserve( 1000 );
      EXPECT_EQ( map.bucketCount(), 1024u );
      EXPECT_EQ( keysOf( map ), before );
      EXPECT_EQ( keysFrom( it ), before );
      for ( std::uint32_t i = members; i < 1000; ++i ) {
         insertNew( map, i * 7919 );
      }
      EXPECT_EQ( map.bucketCount(), 1024u );
   }
}

TEST( HashMap, ReservingNeverMakesATableSmaller ) {
   NumberMap map;
   map.reserve( 4 );
   EXPECT_EQ( map.bucketCount(), 1u );
   map.reserve( 5 );
   EXPECT_EQ( map.bucketCount(), 8u );
   map.reserve( 16 );
   EXPECT_EQ( map.bucketCount(), 16u );
   map.reserve( 3 );
   EXPECT_EQ( map.bucketCount(), 16u );
}

TEST( HashMap, AReservedTableShrinksAsAnyOther ) {
   NumberMap map;
   map.reserve( 100 );
   insertNew( map, 1u );
   EXPECT_EQ( map.bucketCount(), 128u );
   map.remove( 1 );
   EXPECT_EQ( map.bucketCount(), 1u );
}

// Promise 2.
TEST( HashMap, ReleasesItsMembersInOrder ) {
   std::vector< int > gone;
   {
      Map map;
      for ( int id : { 3, 1, 2 } ) {
         TestKey const key{ id == 2 ? top : 0, id };
         insertNew( map, key )->onDestroyed = [ &gone, id ] { gone.push_back( id ); };
      }
   }
   EXPECT_EQ( gone, ( std::vector< int >{ 1, 3, 2 } ) );
   EXPECT_EQ( Record::live, 0 );
}

// Promise 2.
TEST( HashMap, AMembersDestructorFindsItselfGone ) {
   Map map;
   bool found = true;
   insertNew( map, { 1, 1 } )->onDestroyed = [ & ] { found = map.contains( { 1, 1 } ); };
   map.clear();
   EXPECT_FALSE( found );
}

// Promise 2.
TEST( HashMap, AMembersDestructorMayRemoveOthersWhileTheMapDies ) {
   {
      Map map;
      for ( int id = 0; id < 40; ++id ) {
         insertNew( map, { static_cast< std::uint32_t >( id ) << 26, id } )->onDestroyed =
            [ &map, id ] {
               int const other = id * 7 % 40;
               map.remove( { static_cast< std::uint32_t >( other ) << 26, other } );
            };
      }
   }
   EXPECT_EQ( Record::live, 0 );
}

// Promise 2.
TEST( HashMap, AMemberInsertedByADestructorGoesWithTheMap ) {
   {
      Map map;
      insertNew( map, { 5, 5 } )->onDestroyed = [ &map ] {
         insertNew( map, { 1, 1 } );
         insertNew( map, { 9, 9 } );
      };
   }
   EXPECT_EQ( Record::live, 0 );
}

TEST( HashMap, KeysAreHashedByTheStandardHashWhereTheyHaveNoneOfTheirOwn ) {
   Ryx::HashMap< Ryx::ValueRecord< std::string, int >, std::string > map;
   map.insert( Ryx::make< Ryx::ValueRecord< std::string, int > >( "a", 1 ) );
   map.insert( Ryx::make< Ryx::ValueRecord< std::string, int > >( "b", 2 ) );
   EXPECT_EQ( map.find( "b" )->value(), 2 );
   EXPECT_FALSE( map.contains( "c" ) );
}

TEST( HashMap, WideHashesKeepTheirUpperHalf ) {
   auto const& keys = Ryx::HashMapVTable< TestRecord< std::uint64_t >, std::uint64_t >();
   EXPECT_EQ( keys.hash( 1ull << 32 ), 1u );
   EXPECT_EQ( keys.hash( 6 ), 6u );
}

TEST( HashMapRecords, AValueRecordKeepsItsKeyAndChangesItsValue ) {
   auto record = Ryx::make< Ryx::ValueRecord< int, bool > >( 3, true );
   EXPECT_EQ( record->key(), 3 );
   EXPECT_EQ( record->fwkKey(), 3 );
   EXPECT_TRUE( record->value() );
   record->valueIs( false );
   EXPECT_FALSE( record->value() );
   EXPECT_FALSE( ( Ryx::make< Ryx::ValueRecord< int, bool > >( 3 )->value() ) );
}

TEST( HashMapRecords, APtrRecordHoldsAReference ) {
   auto object = Ryx::make< Record >( TestKey{ 1, 1 } );
   auto record = Ryx::make< Ryx::PtrRecord< int, Record > >( 3, object );
   EXPECT_EQ( record->value(), object );
   EXPECT_EQ( object->references(), 2u );
   record->valueIs( nullptr );
   EXPECT_EQ( object->references(), 1u );
}

} // namespace
