// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "SignalAction"

#include <host/run/Pacer>

#include <gmock/gmock.h>

#include <csignal>

#include <unistd.h>

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using testing::ElementsAre;

namespace {

// Passes as told, and keeps how long it was asked to wait.
class ToldTime : public ostra::RealTime {
 public:
   nanoseconds now() override { return time; }
   bool isInterrupted( nanoseconds wait ) override {
      waits.push_back( wait );
      time += wait - early;
      early = 0ns;
      return waits.size() == interruptedWait;
   }

   // Where the machine's clock stands means nothing.
   nanoseconds time = 77s;
   // How much too early the next wait returns.
   nanoseconds early = 0ns;
   std::size_t interruptedWait = 0;
   std::vector< nanoseconds > waits;
};

class RealPacerTest : public testing::Test {
 protected:
   ToldTime time_;
   ostra::RealPacer pacer_{ time_ };
};

} // namespace

TEST( VirtualPacer, NeverWaits ) {
   ostra::VirtualPacer pacer;
   EXPECT_EQ( pacer.waitUntil( ostra::lastInstant ), ostra::lastInstant );
}

TEST_F( RealPacerTest, WaitsUntilTheInstantHasCome ) {
   EXPECT_EQ( pacer_.waitUntil( 0ms ), 0ms );
   EXPECT_EQ( pacer_.waitUntil( 20'500ms ), 20'500ms );
   EXPECT_THAT( time_.waits, ElementsAre( 0ns, 20'500ms ) );
}

TEST_F( RealPacerTest, WhatTheWorkTookIsNotWaitedAgain ) {
   pacer_.waitUntil( 1'000ms );
   time_.time += 300'000'001ns;
   pacer_.waitUntil( 2'000ms );
   EXPECT_EQ( time_.waits.back(), 699'999'999ns );
   time_.time += 5s;
   EXPECT_EQ( pacer_.waitUntil( 3'000ms ), 3'000ms );
   EXPECT_EQ( time_.waits.back(), 0ns );
}

TEST_F( RealPacerTest, WaitThatReturnsEarlyGoesOn ) {
   time_.early = 1ns;
   EXPECT_EQ( pacer_.waitUntil( 1'000ms ), 1'000ms );
   EXPECT_THAT( time_.waits, ElementsAre( 1s, 1ns ) );
}

TEST_F( RealPacerTest, LongWaitIsMadeOfDays ) {
   EXPECT_EQ( pacer_.waitUntil( 50h ), 50h );
   EXPECT_THAT( time_.waits, ElementsAre( 24h, 24h, 2h ) );
}

TEST_F( RealPacerTest, InterruptEndsTheWaitAtTheTimeThatItThenIs ) {
   time_.early = 999'500us;
   time_.interruptedWait = 1;
   EXPECT_EQ( pacer_.waitUntil( 1'500ms ), 500ms );
}

TEST_F( RealPacerTest, InterruptEndsEvenTheLongestWait ) {
   time_.interruptedWait = 2;
   EXPECT_EQ( pacer_.waitUntil( ostra::lastInstant ), 48h );
}

TEST( MachineTime, NeverGoesBack ) {
   ostra::MachineTime time( STDOUT_FILENO );
   auto const before = time.now();
   EXPECT_GE( time.now(), before );
   EXPECT_FALSE( time.isInterrupted( 0ns ) );
}

TEST( MachineTime, SignalInterruptsTheWait ) {
   for ( int const signal : { SIGINT, SIGTERM, SIGHUP } ) {
      ostra::SignalAction const action( signal, SIG_DFL );
      ostra::MachineTime time( STDOUT_FILENO );
      std::raise( signal );
      EXPECT_TRUE( time.isInterrupted( 24h ) );
   }
}

TEST( MachineTime, SignalThatIsIgnoredInterruptsNothing ) {
   ostra::SignalAction const action( SIGHUP, SIG_IGN );
   ostra::MachineTime time( STDOUT_FILENO );
   std::raise( SIGHUP );
   EXPECT_FALSE( time.isInterrupted( 0ns ) );
}

TEST( MachineTime, OutputThatNobodyReadsInterruptsTheWait ) {
   int ends[ 2 ];
   ASSERT_EQ( pipe( ends ), 0 );
   ostra::MachineTime time( ends[ 1 ] );
   EXPECT_FALSE( time.isInterrupted( 1ms ) );
   close( ends[ 0 ] );
   EXPECT_TRUE( time.isInterrupted( 24h ) );
   close( ends[ 1 ] );
}

TEST( MachineTime, WaitsAsLongAsItIsTold ) {
   int ends[ 2 ];
   ASSERT_EQ( pipe( ends ), 0 );
   ostra::MachineTime time( ends[ 1 ] );
   nanoseconds const begin = time.now();
   EXPECT_FALSE( time.isInterrupted( 20ms ) );
   EXPECT_GE( time.now() - begin, 19ms );
   EXPECT_LT( time.now() - begin, 10s );
   close( ends[ 0 ] );
   close( ends[ 1 ] );
}
