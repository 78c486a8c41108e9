// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A timer that is bound when memory is short: what a new-handler may do meanwhile.

#include "ClockFixture"

#include <support/AllocationCounter>

#include <new>

namespace {

class ClockMemoryTest : public ClockTest {
 protected:
   // As many as a clock has room for before it looks for more.
   void SetUp() override {
      for ( std::string const name : { "a", "b", "c", "d" } ) {
         timers.push_back( quietTimer( name ) );
         timers.back()->timeMinIs( 200 );
      }
   }
   ~ClockMemoryTest() override { std::set_new_handler( nullptr ); }

   void bindWith( std::function< void() > then ) {
      handle = std::move( then );
      std::set_new_handler( [] {
         std::set_new_handler( nullptr );
         handle();
      } );
      support::AllocationFailure const failure( 1, support::AllocationFailure::Of::one );
      bound->notifierIs( notifier );
      EXPECT_TRUE( failure.refused() );
   }

   static inline std::function< void() > handle;
   // Not copied by the call, as a pointer of another type would be.
   Ptr< Ryx::PtrInterface const > notifier = clock;
   std::vector< Ptr< Timer > > timers;
   Ptr< Timer > const bound = unboundTimer( "bound" );
};

TEST_F( ClockMemoryTest, ANewHandlerMayChangeTheOtherTimers ) {
   bindWith( [ this ] {
      timers[ 0 ] = nullptr;
      timers[ 1 ]->timeMinIs( Ryx::never );
      timers[ 2 ]->timeMinIs( 150 );
   } );
   handleTimeAt( 150 );
   EXPECT_EQ( calls, ( Calls{ "bound", "c" } ) );
   handleTimeAt( 300 );
   EXPECT_EQ( calls, ( Calls{ "bound", "c", "d" } ) );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
}

TEST_F( ClockMemoryTest, ANewHandlerMayBindOthers ) {
   auto const first = unboundTimer( "first" );
   auto const second = unboundTimer( "second" );
   bindWith( [ & ] {
      first->notifierIs( clock );
      second->notifierIs( clock );
   } );
   handleTimeAt( 300 );
   EXPECT_EQ( calls, ( Calls{ "first", "second", "bound", "a", "b", "c", "d" } ) );
}

class MortalClock final : public Clock {
 public:
   explicit MortalClock( bool& gone ) : gone_( gone ) {}
   ~MortalClock() override { gone_ = true; }

 private:
   bool& gone_;
};

TEST_F( ClockMemoryTest, ANewHandlerMayLetGoOfTheClock ) {
   bool gone = false;
   bound->isRegisteredNotifieeIs( false );
   notifier = Ptr< Clock >::adopt( new MortalClock( gone ) );
   bindWith( [ this ] { notifier = nullptr; } );
   ASSERT_FALSE( gone );
   bound->notifierIs( nullptr );
   EXPECT_TRUE( gone );
}

} // namespace
