// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Long random command sequences on a map and its iterators, checked against a sorted map.

#include "HashMapDoubles"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <random>

namespace {

using Map = TestMap< TestKey >;
using Record = TestRecord< TestKey >;
using Position = std::pair< std::uint32_t, TestKey >;

Position
positionOf( TestKey const& key ) {
   return { Ryx::bitReversed( key.hash() ), key };
}

// An iterator and what is known of it: the key it stands on, or that it is at the end, and
// the member as long as that is in the map.
struct Live {
   Map::Iterator it;
   std::optional< Position > at;
   Record* member;
};

class HashMapRandom : public testing::TestWithParam< unsigned > {
 protected:
   static constexpr int steps = 100000;
   static constexpr std::size_t iterators = 6;

   ~HashMapRandom() override {
      live_.clear();
      map_.clear();
      EXPECT_EQ( Record::live, 0 );
   }

   unsigned below( unsigned limit ) { return static_cast< unsigned >( random_() % limit ); }
   // Few positions, some of them close together, and some keys of equal position.
   TestKey randomKey() {
      std::uint32_t const spread = below( 4 ) ? below( 256 ) << 24 : below( 64 );
      return { spread, static_cast< int >( below( 4 ) ) };
   }

   // The map fills up for a while, then it is emptied.
   void step( int i ) {
      unsigned const inserts = i / 5000 % 2 ? 15 : 45;
      unsigned const command = below( 100 );
      if ( command < inserts ) {
         insert( randomKey() );
      } else if ( command < 60 ) {
         remove( randomKey() );
      } else if ( command < 80 ) {
         stepIterator();
      } else if ( command < 85 ) {
         newIterator();
      } else if ( command < 88 ) {
         removeThroughIterator();
      } else {
         find( randomKey() );
      }
      if ( below( 20000 ) == 0 ) {
         map_.clear();
         while ( !model_.empty() ) {
            erase( model_.begin() );
         }
      }
   }

   void insert( TestKey key ) {
      if ( !model_.contains( positionOf( key ) ) ) {
         model_[ positionOf( key ) ] = insertNew( map_, key );
      }
   }
   void remove( TestKey key ) {
      auto const it = model_.find( positionOf( key ) );
      auto const removed = map_.remove( key );
      ASSERT_EQ( removed.ptr(), it == model_.end() ? nullptr : it->second );
      if ( it != model_.end() ) {
         erase( it );
      }
   }
   void erase( std::map< Position, Record* >::iterator at ) {
      for ( Live& live : live_ ) {
         if ( live.member == at->second ) {
            live.member = nullptr;
         }
      }
      model_.erase( at );
   }
   void find( TestKey key ) {
      auto const it = model_.find( positionOf( key ) );
      ASSERT_EQ( map_.find( key ), it == model_.end() ? nullptr : it->second );
   }

   using ModelIterator = std::map< Position, Record* >::iterator;

   void stand( Live& live, ModelIterator at ) {
      bool const end = at == model_.end();
      live.at = end ? std::nullopt : std::optional( at->first );
      live.member = end ? nullptr : at->second;
   }
   void newIterator() {
      if ( live_.size() == iterators ) {
         live_[ below( iterators ) ] = live_[ below( iterators ) ];
         return;
      }
      live_.push_back( { Map::Iterator( map_ ), {}, nullptr } );
      stand( live_.back(), model_.begin() );
   }
   void stepIterator() {
      if ( live_.empty() ) {
         return;
      }
      Live& live = live_[ below( static_cast< unsigned >( live_.size() ) ) ];
      if ( live.at ) {
         ++live.it;
         stand( live, model_.upper_bound( *live.at ) );
      } else {
         live.it = Map::Iterator( map_ );
         stand( live, model_.begin() );
      }
   }
   void removeThroughIterator() {
      if ( live_.empty() ) {
         return;
      }
      Live& live = live_[ below( static_cast< unsigned >( live_.size() ) ) ];
      map_.remove( live.it );
      if ( live.member ) {
         erase( model_.find( *live.at ) );
      }
   }

   void checkIterators() const {
      for ( Live const& live : live_ ) {
         ASSERT_EQ( static_cast< bool >( live.it ), live.at.has_value() );
         ASSERT_EQ( live.it.ptr().ptr(), live.member );
         if ( live.at ) {
            ASSERT_EQ( live.it.key(), live.at->second );
         }
      }
   }
   void checkMap() const {
      Map::IteratorConst it( map_ );
      for ( auto const& [ position, record ] : model_ ) {
         ASSERT_TRUE( it );
         ASSERT_EQ( it.key(), position.second );
         ASSERT_EQ( it.ptr().ptr(), record );
         ++it;
      }
      ASSERT_FALSE( it );
   }
   void checkReferences() const {
      for ( auto const& entry : model_ ) {
         ASSERT_EQ( entry.second->references(), 1u );
      }
      ASSERT_EQ( Record::live, static_cast< int >( model_.size() ) );
   }
   void checkSize() const {
      ASSERT_EQ( map_.size(), model_.size() );
      ASSERT_LE( map_.size(), std::max( map_.bucketCount(), std::size_t( 4 ) ) );
      ASSERT_GE( map_.size(), map_.bucketCount() / 16 );
   }

   std::mt19937 random_{ GetParam() };
   Map map_;
   std::map< Position, Record* > model_;
   std::vector< Live > live_;
};

TEST_P( HashMapRandom, DoesWhatASortedMapDoes ) {
   SCOPED_TRACE( testing::Message() << "seed " << GetParam() );
   for ( int i = 0; i < steps; ++i ) {
      SCOPED_TRACE( testing::Message() << "step " << i );
      step( i );
      checkIterators();
      checkSize();
      if ( i % 97 == 0 ) {
         checkMap();
         checkReferences();
      }
      if ( HasFatalFailure() ) {
         return;
      }
   }
}

INSTANTIATE_TEST_SUITE_P(
   Seeds, HashMapRandom, testing::Values( 1, 2, 3, 4711, 20260101 ) );

} // namespace
