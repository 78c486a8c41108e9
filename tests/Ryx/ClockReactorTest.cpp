// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A timer as state machines keep it: a reactor on the event loop's clock.

#include <Ryx/Activity>
#include <Ryx/Clock>
#include <Ryx/Reactor>

#include <gtest/gtest.h>
#include <support/SimulatedTime>

#include <vector>

namespace {

using support::SimulatedTime;
class Machine;

class RyxClock final : public Ryx::Reactor< RyxClock, Machine, Ryx::Clock > {
 public:
   RyxClock( Ryx::Ptr< Ryx::Clock const > const& input, Machine* owner )
         : Reactor( input, owner ) {}

   void onTime() override;
   void handleNotifier();
};

class Machine {
 public:
   explicit Machine( Ryx::Ptr< Ryx::Clock const > const& clock )
         : timer( Ryx::make< RyxClock >( clock, this ) ) {}
   ~Machine() { timer->retire(); }
   Machine( Machine const& ) = delete;
   Machine& operator=( Machine const& ) = delete;

   // Acts when the time has come already, waits for it otherwise.
   void armAt( Ryx::Seconds wake ) {
      if ( Ryx::now() >= wake ) {
         ++acted;
      } else {
         timer->timeMinIs( wake );
      }
   }
   void handleClock() { ++wakeUps; }

   Ryx::Ptr< RyxClock > timer;
   int acted = 0;
   int wakeUps = 0;
};

void
RyxClock::onTime() {
   if ( live() ) {
      owner()->handleClock();
   }
}

void
RyxClock::handleNotifier() {
   owner()->handleClock();
}

class ClockReactorTest : public testing::Test {
 protected:
   void handleTimeAt( Ryx::Seconds when ) {
      time.value = when;
      clock->handleTime();
   }

   SimulatedTime time{ 100 };
   Ryx::Ptr< Ryx::Clock > clock = Ryx::make< Ryx::Clock >();
   Machine machine{ clock };
};

TEST_F( ClockReactorTest, ANewReactorIsDueAsSoonAsItIsMade ) {
   EXPECT_EQ( machine.wakeUps, 0 );
   EXPECT_EQ( clock->nextTimeMin(), 0.0 );
   clock->handleTime();
   EXPECT_EQ( machine.wakeUps, 1 );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
}

TEST_F( ClockReactorTest, ArmingForATimeThatIsPastActsAtOnceAndArmsNothing ) {
   clock->handleTime();
   machine.armAt( 100 );
   EXPECT_EQ( machine.acted, 1 );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   machine.armAt( 101 );
   EXPECT_EQ( machine.acted, 1 );
   EXPECT_EQ( clock->nextTimeMin(), 101 );
}

TEST_F( ClockReactorTest, TwoReactorsOnOneClockFireIndependently ) {
   Machine other( clock );
   clock->handleTime();
   machine.armAt( 110 );
   other.armAt( 120 );
   handleTimeAt( 110 );
   EXPECT_EQ( machine.wakeUps, 2 );
   EXPECT_EQ( other.wakeUps, 1 );
   handleTimeAt( 120 );
   EXPECT_EQ( machine.wakeUps, 2 );
   EXPECT_EQ( other.wakeUps, 2 );
}

TEST_F( ClockReactorTest, BindingToAnotherClockRunsTheHandlerAndTakesTheTimerAlong ) {
   auto const other = Ryx::make< Ryx::Clock >();
   clock->handleTime();
   machine.armAt( 110 );
   machine.timer->notifierIs( other );
   EXPECT_EQ( machine.wakeUps, 2 );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   EXPECT_EQ( other->nextTimeMin(), 110 );
}

TEST_F( ClockReactorTest, AZombieIsNotWoken ) {
   machine.timer->ryxDoZombieReactors( true );
   EXPECT_EQ( clock->nextTimeMin(), Ryx::never );
   EXPECT_EQ( clock->handleTime(), 0u );
   machine.timer->onTime();
   EXPECT_EQ( machine.wakeUps, 0 );
   machine.timer->ryxDoZombieReactors( false );
   clock->handleTime();
   EXPECT_EQ( machine.wakeUps, 1 );
}

} // namespace
