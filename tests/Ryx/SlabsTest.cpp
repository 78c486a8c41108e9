// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Slabs>

#include <Ryx/PtrInterface>
#include <gtest/gtest.h>
#include <support/AddressSpace>

#include <cstdlib>
#include <cstring>
#include <future>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Ryx::Slabs;

// Few enough that a test can use them up.
constexpr std::size_t fewArenas = 4;

// Whether there is memory at an address.
bool
isThere( void const* address ) {
   int ends[ 2 ];
   EXPECT_EQ( pipe( ends ), 0 );
   bool const isRead = write( ends[ 1 ], address, 1 ) == 1;
   close( ends[ 0 ] );
   close( ends[ 1 ] );
   return isRead;
}

class SlabsTest : public testing::Test {
 protected:
   void SetUp() override {
      if ( support::isAddressSpaceLimited() ) {
         GTEST_SKIP() << "the address space is limited";
      }
   }
   ~SlabsTest() override { slabs_.unmap(); }

   std::vector< void* > taken( std::size_t count, std::size_t size ) {
      std::vector< void* > pieces;
      for ( std::size_t i = 0; i != count; ++i ) {
         pieces.push_back( slabs_.take( size ) );
      }
      return pieces;
   }
   void given( std::vector< void* > const& pieces ) {
      for ( void* const piece : pieces ) {
         EXPECT_TRUE( slabs_.give( piece ) );
      }
   }
   // All that there are.
   std::vector< void* > takenAll( std::size_t size ) {
      std::vector< void* > pieces;
      while ( void* const piece = slabs_.take( size ) ) {
         pieces.push_back( piece );
      }
      return pieces;
   }
   static std::uintptr_t address( void* piece ) {
      return reinterpret_cast< std::uintptr_t >( piece );
   }

   Slabs slabs_{ fewArenas };
};

TEST_F( SlabsTest, PiecesOfOneSizeLieSideBySide ) {
   auto const pieces = taken( 100, 48 );
   for ( std::size_t i = 1; i != pieces.size(); ++i ) {
      EXPECT_EQ( address( pieces[ i ] ), address( pieces[ i - 1 ] ) + 48 );
   }
   given( pieces );
}

TEST_F( SlabsTest, APieceIsAlignedForAnyTypeOfItsSize ) {
   std::vector< void* > pieces;
   for ( std::size_t size = 1; size <= Slabs::largest; ++size ) {
      for ( int i = 0; i != 3; ++i ) {
         void* const piece = pieces.emplace_back( slabs_.take( size ) );
         ASSERT_NE( piece, nullptr ) << size;
         std::memset( piece, 0xff, size );
         std::size_t const alignment = size & ~( size - 1 );
         EXPECT_EQ( address( piece ) % std::min< std::size_t >( alignment, 64 ), 0u )
            << size;
      }
   }
   given( pieces );
}

TEST_F( SlabsTest, AnotherSizeHasToComeFromElsewhere ) {
   EXPECT_EQ( slabs_.take( 0 ), nullptr );
   EXPECT_EQ( slabs_.take( Slabs::largest + 1 ), nullptr );
   EXPECT_EQ( slabs_.arenas(), 0u );
}

TEST_F( SlabsTest, MemoryFromElsewhereIsNotTaken ) {
   int onTheStack = 0;
   auto const onTheHeap = std::make_unique< int >();
   EXPECT_FALSE( slabs_.give( onTheHeap.get() ) );
   void* const piece = slabs_.take( 8 );
   EXPECT_FALSE( slabs_.give( &onTheStack ) );
   EXPECT_FALSE( slabs_.give( onTheHeap.get() ) );
   EXPECT_EQ( slabs_.bytes(), 8u );
   EXPECT_TRUE( slabs_.give( piece ) );
   EXPECT_EQ( slabs_.bytes(), 0u );
}

TEST_F( SlabsTest, WhatCameBackIsTakenAgain ) {
   auto const pieces = takenAll( 40 );
   std::set< void* > some;
   for ( std::size_t i = 0; i < pieces.size(); i += 7 ) {
      some.insert( pieces[ i ] );
      EXPECT_TRUE( slabs_.give( pieces[ i ] ) );
   }
   auto const again = takenAll( 40 );
   EXPECT_EQ( std::set( again.begin(), again.end() ), some );
   given( pieces );
}

TEST_F( SlabsTest, AnObjectThatComesAndGoesKeepsItsPlace ) {
   auto const others = taken( 3 * Slabs::arenaSize / 256, 256 );
   void* const first = slabs_.take( 16 );
   EXPECT_TRUE( slabs_.give( first ) );
   std::size_t const arenas = slabs_.arenas();
   for ( int i = 0; i != 10; ++i ) {
      EXPECT_EQ( slabs_.take( 16 ), first );
      EXPECT_TRUE( slabs_.give( first ) );
      EXPECT_EQ( slabs_.arenas(), arenas );
   }
   given( others );
}

TEST_F( SlabsTest, AnEmptySlabServesAnotherSize ) {
   given( takenAll( 48 ) );
   auto const pieces = takenAll( 64 );
   EXPECT_GE( pieces.size(), ( fewArenas * 32 - 1 ) * 1022 );
   EXPECT_EQ( slabs_.arenas(), fewArenas );
   given( pieces );
}

TEST_F( SlabsTest, APieceThatComesBackToAFullSlabMakesRoom ) {
   auto pieces = takenAll( 256 );
   void* const one = pieces[ 17 ];
   EXPECT_TRUE( slabs_.give( one ) );
   EXPECT_EQ( slabs_.take( 256 ), one );
   EXPECT_EQ( slabs_.take( 256 ), nullptr );
   given( pieces );
}

TEST_F( SlabsTest, MemoryGoesBackToTheSystem ) {
   auto const pieces = takenAll( 256 );
   EXPECT_EQ( slabs_.arenas(), fewArenas );
   EXPECT_TRUE( isThere( pieces.back() ) );
   given( pieces );
   EXPECT_EQ( slabs_.arenas(), 1u );
   EXPECT_FALSE( isThere( pieces.back() ) );
}

TEST_F( SlabsTest, APieceThatStaysKeepsItsArenaAlone ) {
   auto pieces = takenAll( 256 );
   void* const stays = pieces.back();
   pieces.pop_back();
   std::memset( stays, 7, 256 );
   given( pieces );
   EXPECT_EQ( slabs_.arenas(), 2u );
   EXPECT_EQ( static_cast< char* >( stays )[ 255 ], 7 );
   EXPECT_TRUE( slabs_.give( stays ) );
   EXPECT_EQ( slabs_.arenas(), 1u );
}

TEST_F( SlabsTest, MemoryThatWasGivenBackIsHadAgain ) {
   given( takenAll( 256 ) );
   auto const pieces = takenAll( 256 );
   EXPECT_EQ( slabs_.arenas(), fewArenas );
   for ( void* const piece : pieces ) {
      std::memset( piece, 3, 256 );
   }
   given( pieces );
}

TEST_F( SlabsTest, ThereIsNoMoreThanTheRange ) {
   auto const pieces = takenAll( 8 );
   EXPECT_EQ( pieces.size(), fewArenas * 32 * ( ( Slabs::slabSize - 64 ) / 8 ) );
   EXPECT_EQ( slabs_.take( 16 ), nullptr );
   given( pieces );
}

TEST( Slabs, RefusesMoreArenasThanItCanHave ) {
   Slabs const most( Slabs::mostArenas );
   EXPECT_EQ( most.arenas(), 0u );
   EXPECT_DEATH(
      Slabs( Slabs::mostArenas + 1 ), "Slabs: Assertion `arenas <= mostArenas'" );
}

TEST_F( SlabsTest, AnotherThreadIsGivenNoneAndMayGiveBack ) {
   auto const pieces = taken( 1000, 72 );
   std::thread( [ & ] {
      EXPECT_EQ( slabs_.take( 72 ), nullptr );
      given( pieces );
   } ).join();
   EXPECT_EQ( slabs_.bytes(), 72000u );
   // They come when there would be no room without them.
   auto const all = takenAll( 72 );
   EXPECT_EQ( all.size(), fewArenas * 32 * ( ( Slabs::slabSize - 64 ) / 72 ) );
   EXPECT_EQ( slabs_.bytes(), 72 * all.size() );
   given( all );
}

TEST_F( SlabsTest, ManyThreadsMayGiveBackWhileTheOwnerTakes ) {
   constexpr std::size_t threads = 3;
   constexpr std::size_t each = 20000;
   std::vector< std::vector< void* > > pieces;
   for ( std::size_t i = 0; i != threads; ++i ) {
      pieces.push_back( taken( each, 24 ) );
   }
   std::vector< std::thread > others;
   for ( auto const& own : pieces ) {
      others.emplace_back( [ &own, this ] { given( own ); } );
   }
   std::set< void* > mine;
   for ( std::size_t i = 0; i != 3 * each; ++i ) {
      void* const piece = slabs_.take( 24 );
      ASSERT_TRUE( mine.insert( piece ).second );
      *static_cast< std::size_t* >( piece ) = i;
   }
   for ( auto& other : others ) {
      other.join();
   }
   given( { mine.begin(), mine.end() } );
   given( takenAll( 24 ) );
   EXPECT_EQ( slabs_.bytes(), 0u );
}

// What a copy of the process finds; its exit status.
template< class Find >
int
foundInACopy( Find find ) {
   pid_t const child = fork();
   if ( child == 0 ) {
      _exit( find() );
   }
   int status = 0;
   waitpid( child, &status, 0 );
   return WIFEXITED( status ) ? WEXITSTATUS( status ) : -1;
}

TEST_F( SlabsTest, ThereIsNoFurtherArenaWhereTheAddressSpaceIsLimited ) {
   void* const piece = slabs_.take( 256 );
   EXPECT_EQ(
      foundInACopy( [ & ] {
         constexpr rlim_t nearlyAll = RLIM_INFINITY - 1;
         rlimit const limit{ nearlyAll, nearlyAll };
         setrlimit( RLIMIT_AS, &limit );
         Slabs others( fewArenas );
         bool const isRest = takenAll( 256 ).size() == 32 * 255 - 1 && slabs_.arenas() == 1;
         return isRest && !others.take( 8 ) ? 0 : 1;
      } ),
      0 );
   EXPECT_TRUE( slabs_.give( piece ) );
}

TEST_F( SlabsTest, ACopyThatTheOwnerMadeHasItsOwn ) {
   auto* const value = static_cast< int* >( slabs_.take( 8 ) );
   *value = 1;
   EXPECT_EQ(
      foundInACopy( [ & ] {
         slabs_.forked();
         bool const isSame = *value == 1 && slabs_.give( value );
         auto* const again = static_cast< int* >( slabs_.take( 8 ) );
         *again = 2;
         return isSame && again == value ? 0 : 1;
      } ),
      0 );
   EXPECT_EQ( *value, 1 );
   EXPECT_TRUE( slabs_.give( value ) );
}

TEST_F( SlabsTest, ACopyThatAnotherThreadMadeIsGivenNone ) {
   void* piece = nullptr;
   std::promise< void > isOver;
   std::promise< void > hasTaken;
   std::thread owner( [ & ] {
      piece = slabs_.take( 8 );
      hasTaken.set_value();
      isOver.get_future().wait();
      EXPECT_TRUE( slabs_.give( piece ) );
   } );
   hasTaken.get_future().wait();
   EXPECT_EQ(
      foundInACopy( [ & ] {
         slabs_.forked();
         bool isNone = !slabs_.take( 8 ) && slabs_.give( piece );
         // There one of the next threads is where the owner was.
         for ( int i = 0; i != 3; ++i ) {
            std::thread( [ & ] { isNone = isNone && !slabs_.take( 8 ); } ).join();
         }
         return isNone ? 0 : 1;
      } ),
      0 );
   isOver.set_value();
   owner.join();
}

TEST_F( SlabsTest, ACopyWithoutAnOwnerGetsOne ) {
   EXPECT_EQ(
      foundInACopy( [ & ] {
         slabs_.forked();
         return slabs_.take( 8 ) ? 0 : 1;
      } ),
      0 );
   EXPECT_NE( slabs_.take( 8 ), nullptr );
}

// The status is whether objects come from slabs.
void
exitSayingWhether() {
   struct Object : Ryx::PtrInterface {};
   Ryx::Slabs* const slabs = Ryx::objectSlabs();
   auto* const object = new Object;
   bool const isUsed = slabs && slabs->bytes() > 0;
   delete object;
   std::exit( isUsed ? 1 : 0 );
}

class ObjectSlabs : public testing::TestWithParam< std::pair< std::string, int > > {
 protected:
   ObjectSlabs() {
      // So the statement runs in a process that has just been started.
      testing::FLAGS_gtest_death_test_style = "threadsafe";
      if ( std::string const& setting = GetParam().first; setting != "none" ) {
         setenv( "RYX_SLABS", setting.c_str(), 1 );
      } else {
         unsetenv( "RYX_SLABS" );
      }
   }
   ~ObjectSlabs() override {
      unsetenv( "RYX_SLABS" );
      testing::FLAGS_gtest_death_test_style = style_;
   }

 private:
   std::string const style_ = testing::FLAGS_gtest_death_test_style;
};

// This program counts allocations with an operator new of its own.
TEST_P( ObjectSlabs, AreUsedAsTheEnvironmentSaysAndNotBesideAnotherOperatorNew ) {
   int const expected = support::isAddressSpaceLimited() ? 0 : GetParam().second;
   EXPECT_EXIT( exitSayingWhether(), testing::ExitedWithCode( expected ), "" );
}

INSTANTIATE_TEST_SUITE_P(
   Settings,
   ObjectSlabs,
   testing::Values(
      std::pair( "none", 0 ),
      std::pair( "0", 0 ),
      std::pair( "1", 1 ),
      std::pair( "yes", 0 ) ) );

} // namespace
