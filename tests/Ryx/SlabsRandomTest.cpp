// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Long random sequences of pieces taken and given, checked against what the pieces must be:
// none overlaps another, and each keeps what is written to it.

#include <Ryx/Slabs>

#include <gtest/gtest.h>
#include <support/AddressSpace>

#include <cstring>
#include <map>
#include <random>
#include <thread>
#include <vector>

namespace {

class SlabsRandom : public testing::TestWithParam< unsigned > {
 protected:
   struct Piece {
      std::size_t size;
      unsigned char mark;
   };

   SlabsRandom() : random_( GetParam() ) {}
   void SetUp() override {
      if ( support::isAddressSpaceLimited() ) {
         GTEST_SKIP() << "the address space is limited";
      }
   }
   ~SlabsRandom() override { slabs_.unmap(); }

   std::size_t below( std::size_t end ) {
      return std::uniform_int_distribution< std::size_t >( 0, end - 1 )( random_ );
   }
   void take() {
      // Sizes of objects, of which there are few, and some others.
      static constexpr std::size_t usual[] = { 24, 48, 112, 200, 256, 256 };
      std::size_t const size =
         below( 8 ) == 0 ? 1 + below( Ryx::Slabs::largest ) : usual[ below( 6 ) ];
      auto* const memory = static_cast< char* >( slabs_.take( size ) );
      if ( !memory ) {
         ++refused_;
         return;
      }
      auto const mark = static_cast< unsigned char >( below( 256 ) );
      std::memset( memory, mark, size );
      auto const [ place, isNew ] = pieces_.emplace( memory, Piece{ size, mark } );
      ASSERT_TRUE( isNew );
      if ( place != pieces_.begin() ) {
         auto const before = std::prev( place );
         ASSERT_LE( before->first + before->second.size, memory );
      }
      if ( auto const after = std::next( place ); after != pieces_.end() ) {
         ASSERT_LE( memory + size, after->first );
      }
   }
   // Gives the piece after a random address back, here or on another thread.
   void give() {
      if ( pieces_.empty() ) {
         return;
      }
      auto place = pieces_.lower_bound(
         pieces_.begin()->first +
         below( static_cast< std::size_t >(
            pieces_.rbegin()->first - pieces_.begin()->first + 1 ) ) );
      auto const& [ memory, piece ] = *place;
      for ( std::size_t i = 0; i != piece.size; ++i ) {
         ASSERT_EQ( static_cast< unsigned char >( memory[ i ] ), piece.mark );
      }
      if ( below( 16 ) == 0 ) {
         elsewhere_.push_back( memory );
      } else {
         ASSERT_TRUE( slabs_.give( memory ) );
      }
      pieces_.erase( place );
   }
   void giveElsewhere() {
      std::thread( [ this ] {
         for ( void* const memory : elsewhere_ ) {
            EXPECT_TRUE( slabs_.give( memory ) );
         }
      } ).join();
      elsewhere_.clear();
   }

   static constexpr std::size_t arenas = 4;
   std::mt19937 random_;
   Ryx::Slabs slabs_{ arenas };
   std::map< char*, Piece > pieces_;
   std::vector< void* > elsewhere_;
   std::size_t refused_ = 0;
};

TEST_P( SlabsRandom, PiecesNeverOverlapAndKeepWhatIsWritten ) {
   // Tides: more is taken than given, until nothing is left, and then the other way round.
   for ( int tide = 0; tide != 6; ++tide ) {
      std::size_t const takes = tide % 2 == 0 ? 7 : 1;
      for ( int i = 0; i != 80000 && !HasFatalFailure(); ++i ) {
         below( 8 ) < takes ? take() : give();
      }
      giveElsewhere();
      ASSERT_FALSE( HasFatalFailure() );
   }
   while ( !pieces_.empty() && !HasFatalFailure() ) {
      give();
   }
   giveElsewhere();
   // The owner hears of what came from the other thread when it looks for room. Each of the
   // other sizes keeps a slab.
   std::vector< void* > rest;
   while ( void* const memory = slabs_.take( 8 ) ) {
      rest.push_back( memory );
   }
   EXPECT_GE( rest.size(), ( arenas - 1 ) * 32 * ( ( Ryx::Slabs::slabSize - 64 ) / 8 ) );
   for ( void* const memory : rest ) {
      EXPECT_TRUE( slabs_.give( memory ) );
   }
   EXPECT_EQ( slabs_.bytes(), 0u );
   EXPECT_LE( slabs_.arenas(), 2u );
   EXPECT_GT( refused_, 0u );
}

INSTANTIATE_TEST_SUITE_P( Seeds, SlabsRandom, testing::Range( 1u, 6u ) );

} // namespace
