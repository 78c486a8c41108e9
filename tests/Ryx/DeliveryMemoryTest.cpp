// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a delivery asks of the memory, and what it does without.

#include "CoreDoubles"
#include "SecondThread"

#include <gtest/gtest.h>
#include <support/AllocationCounter>

#include <array>
#include <functional>
#include <new>
#include <vector>

namespace {

using doubles::Port;
using Ryx::Ptr;

class CountingWatcher final : public Port::NotifieeConst {
 public:
   void onSpeed() override { ++heard; }
   static inline unsigned heard = 0;
};

// One of them leaves, with `leaving`.
std::size_t
allocationsOfASet( std::uint32_t watchers, bool leaving = false ) {
   class Leaving final : public Port::NotifieeConst {
    public:
      void onSpeed() override { isRegisteredNotifieeIs( false ); }
   };
   auto const port = Ryx::make< Port >( 1u );
   auto const first = Ryx::make< Leaving >();
   first->notifierIs( port );
   first->isRegisteredNotifieeIs( leaving );
   std::vector< Ptr< CountingWatcher > > all;
   for ( std::uint32_t i = 0; i < watchers; ++i ) {
      all.push_back( Ryx::make< CountingWatcher >() );
      all.back()->notifierIs( port );
      all.back()->isRegisteredNotifieeIs( true );
   }
   CountingWatcher::heard = 0;
   support::AllocationCounter const counter;
   port->speedIs( 1 );
   EXPECT_EQ( CountingWatcher::heard, watchers );
   return counter.allocations();
}

TEST( DeliveryMemory, ASetThatNobodyWatchesAllocatesNothing ) {
   EXPECT_EQ( allocationsOfASet( 0 ), 0u );
}

TEST( DeliveryMemory, NotifieesThatStayNeedNoAllocation ) {
   EXPECT_EQ( allocationsOfASet( 1 ), 0u );
   EXPECT_EQ( allocationsOfASet( 16 ), 0u );
   // Where there is a second thread it may let go of any of them.
   EXPECT_EQ( allocationsOfASet( 1000 ), Ryx::singleThreaded() ? 0u : 1u );
}

TEST( DeliveryMemory, UpTo16OfWhomOneLeavesNeedNoAllocation ) {
   EXPECT_EQ( allocationsOfASet( 0, true ), 0u );
   EXPECT_EQ( allocationsOfASet( 15, true ), 0u );
}

TEST( DeliveryMemory, MoreOfWhomOneLeavesNeedOneAllocationForAll ) {
   EXPECT_EQ( allocationsOfASet( 16, true ), 1u );
   EXPECT_EQ( allocationsOfASet( 100, true ), 1u );
}

// A snapshot of so many needs memory. A thread that a callback starts must not take one for
// what the delivery does not need.
TEST( DeliveryMemory, AThreadOfACallbackTakesASnapshotForThoseToComeOnly ) {
   class Starting final : public Port::NotifieeConst {
    public:
      void onSpeed() override {
         AsWithASecondThread const scope;
         support::AllocationCounter const counter;
         letGo = nullptr;
         allocations = counter.allocations();
      }
      Ptr< Ryx::PtrInterface > letGo;
      std::size_t allocations = 0;
   };
   auto const port = Ryx::make< Port >( 1u );
   auto const first = Ryx::make< Starting >();
   first->notifierIs( port );
   first->isRegisteredNotifieeIs( true );
   std::vector< Ptr< CountingWatcher > > all( 100 );
   for ( auto& watcher : all ) {
      watcher = Ryx::make< CountingWatcher >();
      watcher->notifierIs( port );
      watcher->isRegisteredNotifieeIs( true );
   }
   CountingWatcher::heard = 0;
   first->letGo = Ryx::make< Port >( 2u );
   port->speedIs( 1 );
   EXPECT_EQ( first->allocations, 0u );
   EXPECT_EQ( CountingWatcher::heard, 100u );
   CountingWatcher::heard = 0;
   first->letGo = std::exchange( all.back(), nullptr );
   port->speedIs( 2 );
   EXPECT_EQ( first->allocations, 1u );
   EXPECT_EQ( CountingWatcher::heard, 99u );
}

// Far more watchers than a snapshot has room for without memory.
class WithoutMemory : public ::testing::Test {
 public:
   // Says in which order it was called, and does as told.
   class Caller final : public Port::NotifieeConst {
    public:
      explicit Caller( WithoutMemory* test ) : test_( test ) {}
      void onSpeed() override {
         test_->called[ test_->calls++ ] = this;
         if ( act ) {
            act();
         }
      }
      std::function< void() > act;

    private:
      WithoutMemory* test_;
   };

   static constexpr std::size_t count = 100;

   WithoutMemory() {
      for ( auto& caller : callers ) {
         caller = Ryx::make< Caller >( this );
         caller->notifierIs( port );
         caller->isRegisteredNotifieeIs( true );
      }
   }
   void setWithoutMemory( unsigned speed ) {
      support::AllocationFailure const failure;
      port->speedIs( speed );
   }
   // Each once, in the order of registration, but for those between `from` and `to`.
   void expectAllBut( std::size_t from, std::size_t to ) const {
      std::vector< Caller* > expected;
      for ( std::size_t i = 0; i < count; ++i ) {
         if ( i < from || i >= to ) {
            expected.push_back( callers[ i ].ptr() );
         }
      }
      EXPECT_EQ( std::vector< Caller* >( called.data(), called.data() + calls ), expected );
   }

   Ptr< Port > port = Ryx::make< Port >( 1u );
   std::array< Ptr< Caller >, count > callers;
   std::array< Caller*, 2 * count > called{};
   std::size_t calls = 0;
};

TEST_F( WithoutMemory, EveryNotifieeIsToldInOrder ) {
   setWithoutMemory( 1 );
   expectAllBut( 0, 0 );
   EXPECT_EQ( port->references(), 1 + count );
   EXPECT_EQ( callers.front()->references(), 1u );
   EXPECT_EQ( callers.back()->references(), 1u );
}

TEST_F( WithoutMemory, NotifieesDeregisteredMeanwhileAreNotTold ) {
   callers[ 2 ]->act = [ this ] {
      for ( std::size_t i = 10; i < 70; ++i ) {
         callers[ i ]->isRegisteredNotifieeIs( false );
      }
   };
   setWithoutMemory( 1 );
   expectAllBut( 10, 70 );
}

TEST_F( WithoutMemory, NotifieesTakenOutAndPutBackAreNotTold ) {
   callers[ 2 ]->act = [ this ] {
      for ( std::size_t i = 10; i < 70; ++i ) {
         callers[ i ]->isRegisteredNotifieeIs( false );
         callers[ i ]->isRegisteredNotifieeIs( true );
      }
   };
   setWithoutMemory( 1 );
   expectAllBut( 10, 70 );
}

TEST_F( WithoutMemory, NobodyIsToldWhenAllAreDeregisteredMeanwhile ) {
   callers[ 15 ]->act = [ this ] {
      for ( auto const& caller : callers ) {
         caller->isRegisteredNotifieeIs( false );
      }
   };
   setWithoutMemory( 1 );
   expectAllBut( 16, count );
}

TEST_F( WithoutMemory, ThoseWhoTookTheirTurnMayGo ) {
   callers[ 15 ]->act = [ this ] {
      for ( std::size_t i = 0; i < 16; ++i ) {
         callers[ i ]->isRegisteredNotifieeIs( false );
      }
   };
   setWithoutMemory( 1 );
   expectAllBut( 0, 0 );
}

TEST_F( WithoutMemory, NotifieesRegisteredMeanwhileAreNotTold ) {
   auto const late = Ryx::make< Caller >( this );
   late->notifierIs( port );
   callers[ 0 ]->act = [ & ] { late->isRegisteredNotifieeIs( true ); };
   setWithoutMemory( 1 );
   expectAllBut( 0, 0 );
}

// A new-handler gives memory back by letting go of notifiees, and may do anything else. The
// allocation succeeds after it.
class WithANewHandler : public WithoutMemory {
 public:
   ~WithANewHandler() override { std::set_new_handler( nullptr ); }
   void setWith( std::function< void() > then ) {
      handle = std::move( then );
      std::set_new_handler( [] {
         std::set_new_handler( nullptr );
         handle();
      } );
      support::AllocationFailure const failure( 1, support::AllocationFailure::Of::one );
      port->speedIs( 1 );
      EXPECT_TRUE( failure.refused() );
   }
   // Each was told but for those that have gone.
   void expectNoneOf( std::size_t from, std::size_t to ) {
      EXPECT_EQ( calls, count - ( to - from ) );
      for ( std::size_t i = 0; i < calls; ++i ) {
         EXPECT_EQ( called[ i ], expected[ i < from ? i : i + to - from ] );
      }
      EXPECT_EQ( port->notifieeCount(), count - ( to - from ) );
   }
   void drop( std::size_t from, std::size_t to ) {
      for ( std::size_t i = from; i < to; ++i ) {
         callers[ i ] = nullptr;
      }
   }

   std::array< Caller*, count > const expected = [ this ] {
      std::array< Caller*, count > all;
      for ( std::size_t i = 0; i < count; ++i ) {
         all[ i ] = callers[ i ].ptr();
      }
      return all;
   }();
   static inline std::function< void() > handle;
};

TEST_F( WithANewHandler, NotifieesThatItLetsGoOfAreNotTold ) {
   callers[ 2 ]->act = [ this ] { drop( 3, 4 ); };
   setWith( [ this ] { drop( 4, 60 ); } );
   expectNoneOf( 3, 60 );
}

TEST_F( WithANewHandler, TheLastOneMayGo ) {
   callers[ 2 ]->act = [ this ] { drop( 99, 100 ); };
   setWith( [ this ] { drop( 40, 99 ); } );
   expectNoneOf( 40, 100 );
}

TEST_F( WithANewHandler, NotifieesThatItTakesOutAndPutsBackAreNotTold ) {
   callers[ 0 ]->act = [ this ] { drop( 99, 100 ); };
   setWith( [ this ] {
      for ( std::size_t i = 1; i < 99; ++i ) {
         callers[ i ]->isRegisteredNotifieeIs( false );
         callers[ i ]->isRegisteredNotifieeIs( true );
      }
   } );
   EXPECT_EQ( calls, 1u );
   EXPECT_EQ( port->notifieeCount(), 99u );
}

TEST_F( WithANewHandler, OneThatSetsAgainIsDeliveredWhole ) {
   callers[ 2 ]->act = [ this ] { drop( 99, 100 ); };
   setWith( [ this ] {
      callers[ 2 ]->act = nullptr;
      port->speedIs( 2 );
   } );
   EXPECT_EQ( calls, 2 * 99u );
}

TEST_F( WithANewHandler, ItIsTheSameWithASecondThread ) {
   AsWithASecondThread const scope;
   setWith( [ this ] { drop( 0, 60 ); } );
   expectNoneOf( 0, 60 );
}

TEST_F( WithoutMemory, ANestedSetIsDeliveredWhole ) {
   // Setting it again to the same ends the nesting.
   callers[ 20 ]->act = [ this ] { port->speedIs( 2 ); };
   setWithoutMemory( 1 );
   EXPECT_EQ( calls, 2 * count );
   EXPECT_EQ( called[ 21 ], callers.front().ptr() );
   EXPECT_EQ( called[ 20 + count ], callers.back().ptr() );
   EXPECT_EQ( called[ 2 * count - 1 ], callers.back().ptr() );
}

} // namespace
