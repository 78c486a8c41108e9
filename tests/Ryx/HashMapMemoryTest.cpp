// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the map asks of the memory, and what it does when there is none; the numbers are
// those of the promises before HashMap.

#include "HashMapDoubles"

#include <gtest/gtest.h>
#include <support/AllocationCounter>

namespace {

using Map = TestMap< std::uint32_t >;
using Record = TestRecord< std::uint32_t >;

// Calls and says how often memory was asked for meanwhile.
template< class Call >
std::size_t
allocationsIn( Call call ) {
   support::AllocationCounter const counter;
   call();
   return counter.allocations();
}

template< class Call >
void
withoutMemory( Call call ) {
   support::AllocationFailure const failure;
   call();
}

// Promise 3.
TEST( HashMapMemory, AMapOfAFewMembersAllocatesNothingButThem ) {
   EXPECT_EQ(
      allocationsIn( [] {
         Map map;
         for ( std::uint32_t i = 0; i < 4; ++i ) {
            insertNew( map, i );
         }
      } ),
      4u );
}

// Promise 3.
TEST( HashMapMemory, LookingUpAndVisitingAllocateNothing ) {
   Map map;
   for ( std::uint32_t i = 0; i < 100; ++i ) {
      insertNew( map, i );
   }
   std::uint32_t found = 0;
   EXPECT_EQ(
      allocationsIn( [ & ] {
         for ( std::uint32_t i = 0; i < 200; ++i ) {
            found += map.contains( i );
         }
         for ( Map::Iterator it( map ); it; ++it ) {
            ++found;
         }
      } ),
      0u );
   EXPECT_EQ( found, 200u );
}

// Promise 4.
TEST( HashMapMemory, InsertsWithoutMemoryForALargerTable ) {
   Map map;
   std::vector< Ryx::Ptr< Record > > records;
   for ( std::uint32_t i = 0; i < 50; ++i ) {
      records.push_back( Ryx::make< Record >( i ) );
   }
   withoutMemory( [ & ] {
      for ( auto const& record : records ) {
         map.insert( record );
      }
   } );
   EXPECT_EQ( map.bucketCount(), 1u );
   EXPECT_EQ( map.size(), 50u );
   for ( auto const& record : records ) {
      EXPECT_EQ( map.find( record->fwkKey() ), record.ptr() );
      EXPECT_EQ( record->references(), 2u );
   }
   insertNew( map, 50u );
   EXPECT_EQ( map.bucketCount(), 8u );
   EXPECT_EQ( keysOf( map ).size(), 51u );
}

TEST( HashMapMemory, ReservingAllocatesTheTableOnce ) {
   Map map;
   EXPECT_EQ( allocationsIn( [ &map ] { map.reserve( 1000 ); } ), 1u );
   std::vector< Ryx::Ptr< Record > > records;
   for ( std::uint32_t i = 0; i < 1000; ++i ) {
      records.push_back( Ryx::make< Record >( i ) );
   }
   EXPECT_EQ(
      allocationsIn( [ & ] {
         for ( auto const& record : records ) {
            map.insert( record );
         }
      } ),
      0u );
}

// Promise 4.
TEST( HashMapMemory, ReservingWithoutMemoryChangesNothing ) {
   Map map;
   insertNew( map, 1u );
   withoutMemory( [ &map ] { map.reserve( 1000 ); } );
   EXPECT_EQ( map.bucketCount(), 1u );
   EXPECT_TRUE( map.contains( 1 ) );
}

// Promise 4.
TEST( HashMapMemory, RemovesWithoutMemoryForASmallerTable ) {
   Map map;
   for ( std::uint32_t i = 0; i < 128; ++i ) {
      insertNew( map, i );
   }
   withoutMemory( [ & ] {
      for ( std::uint32_t i = 0; i < 123; ++i ) {
         map.remove( i );
      }
   } );
   EXPECT_EQ( map.bucketCount(), 128u );
   EXPECT_EQ( keysOf( map ), ( std::vector< std::uint32_t >{ 124, 126, 125, 123, 127 } ) );
   map.remove( 124 );
   EXPECT_EQ( map.bucketCount(), 16u );
   EXPECT_EQ( keysOf( map ), ( std::vector< std::uint32_t >{ 126, 125, 123, 127 } ) );
}

} // namespace
