// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Who is called first of those that are due together.

#include "ClockFixture"

namespace {

class ClockOrderTest : public ClockTest {};

TEST_F( ClockOrderTest, CallsTheEarliestFirstThenInOrderOfRegistration ) {
   auto const a = quietTimer( "a" );
   auto const b = quietTimer( "b" );
   auto const c = quietTimer( "c" );
   c->timeMinIs( 110 );
   b->timeMinIs( 110 );
   a->timeMinIs( 111 );
   handleTimeAt( 120 );
   EXPECT_EQ( calls, ( Calls{ "b", "c", "a" } ) );
}

TEST_F( ClockOrderTest, RegisteringAgainGoesToTheEndOfEqualTimes ) {
   auto const a = newTimer( "a" );
   auto const b = newTimer( "b" );
   a->isRegisteredNotifieeIs( false );
   a->isRegisteredNotifieeIs( true );
   clock->handleTime();
   EXPECT_EQ( calls, ( Calls{ "b", "a" } ) );
}

// So many that they are below one another in several ranks.
TEST_F( ClockOrderTest, ManyOfEqualTimesAreCalledInOrderOfRegistration ) {
   std::vector< Ptr< Timer > > timers;
   Calls expected;
   for ( char name = 'a'; name <= 'z'; ++name ) {
      expected.emplace_back( 1, name );
      timers.push_back( quietTimer( expected.back() ) );
   }
   // Armed across, the way that they do not come.
   for ( std::size_t i = 0; i < timers.size(); ++i ) {
      timers[ i * 11 % timers.size() ]->timeMinIs( 110 );
   }
   handleTimeAt( 120 );
   EXPECT_EQ( calls, expected );
}

} // namespace
