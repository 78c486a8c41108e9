// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which of a wake-up's looks at the clock decides what.

#include "SmReach"

namespace {

// A time that moves on by a second with every look at it.
class MovingTime final : public Ryx::TimeSource {
 public:
   explicit MovingTime( Ryx::Seconds first ) : next_( first ) { Ryx::timeSourceIs( this ); }
   MovingTime( MovingTime const& ) = delete;
   MovingTime& operator=( MovingTime const& ) = delete;

   Ryx::Seconds now() const override { return next_++; }

 private:
   mutable Ryx::Seconds next_;
};

class MovingClock : public SwitchFixture {
 public:
   MovingClock() {
      configureMlag();
      start();
      take();
   }
   // Wakes the MLAG class up in a time that moves on with every look at it.
   void wakeUpAt( Ryx::Seconds time ) {
      MovingTime const moving( time );
      sm->handleClockMlag();
      Ryx::timeSourceIs( &loop );
   }
};

TEST_F( MovingClock, WhatIsLeftIsCountedFromASecondLook ) {
   wakeUpAt( 225 );
   EXPECT_EQ( takeUntimed(), ( Log{ ending( 74 ) } ) );
}

TEST_F( MovingClock, WhereToWakeUpNextIsDecidedByTheFirstLook ) {
   // The second point comes between the two.
   wakeUpAt( 284.5 );
   EXPECT_EQ( takeUntimed(), ( Log{ ending( 15 ) } ) );
   EXPECT_EQ( wakeTime( true ), static_cast< double >( 0.95f ) * 300 );
}

} // namespace
