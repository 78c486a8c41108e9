// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Pacer>

#include <gtest/gtest.h>

#include <csignal>

TEST( VirtualPacer, NeverWaits ) {
   ostra::VirtualPacer pacer;
   EXPECT_EQ( pacer.waitUntil( ostra::lastMoment ), ostra::lastMoment );
}

TEST( RealPacer, WaitsUntilTheMomentHasCome ) {
   auto const begin = std::chrono::steady_clock::now();
   ostra::RealPacer pacer;
   EXPECT_EQ( pacer.waitUntil( 0 ), 0 );
   EXPECT_EQ( pacer.waitUntil( 2 ), 2 );
   EXPECT_GE( std::chrono::steady_clock::now() - begin, std::chrono::milliseconds( 2 ) );
}

TEST( RealPacer, InterruptEndsEvenTheLongestWait ) {
   for ( int const signal : { SIGINT, SIGTERM } ) {
      ostra::RealPacer pacer;
      std::raise( signal );
      EXPECT_LT( pacer.waitUntil( ostra::lastMoment ), 60000 );
   }
}
