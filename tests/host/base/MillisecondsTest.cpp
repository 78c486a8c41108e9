// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Milliseconds>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace std::chrono_literals;
using ostra::exactInstant;
using ostra::firstInstantAt;
using ostra::lastInstant;
using ostra::Milliseconds;
using ostra::secondsOf;

TEST( Milliseconds, WakeUpIsAtTheFirstMillisecondNotBeforeIt ) {
   EXPECT_EQ( firstInstantAt( 225.0 ), 225000ms );
   EXPECT_EQ( firstInstantAt( 0.95f * 300.0 ), 285000ms );
   EXPECT_EQ( firstInstantAt( 284.9999964 ), 285000ms );
   EXPECT_EQ( firstInstantAt( 285.0000001 ), 285001ms );
   EXPECT_EQ( firstInstantAt( 0.1 + 0.2 ), 301ms );
   EXPECT_EQ( firstInstantAt( 0.3 ), 300ms );
   EXPECT_EQ( firstInstantAt( -0.0005 ), 0ms );
   EXPECT_EQ( firstInstantAt( -1.0005 ), -1000ms );
}

TEST( Milliseconds, WakeUpAgreesWithTheDefinitionForRandomTimes ) {
   constexpr unsigned seed = 20260601;
   std::mt19937_64 random( seed );
   std::uniform_real_distribution< double > exponent( -4, 12 );
   for ( int i = 0; i < 200000; ++i ) {
      double const seconds = std::pow( 10, exponent( random ) ) * ( i % 2 == 0 ? 1 : -1 );
      auto const instant = firstInstantAt( seconds );
      ASSERT_TRUE( instant ) << seconds;
      ASSERT_GE( secondsOf( *instant ), seconds ) << "seed " << seed;
      ASSERT_LT( secondsOf( *instant - 1ms ), seconds ) << "seed " << seed;
   }
}

TEST( Milliseconds, WakeUpBehindTheEndOfTheClockIsNever ) {
   EXPECT_FALSE( firstInstantAt( std::numeric_limits< double >::infinity() ) );
   EXPECT_FALSE( firstInstantAt( std::numeric_limits< double >::quiet_NaN() ) );
   EXPECT_FALSE( firstInstantAt( 1e300 ) );
   EXPECT_TRUE( firstInstantAt( secondsOf( lastInstant ) ) );
   EXPECT_EQ( firstInstantAt( -1e300 ), -lastInstant );
}

TEST( Milliseconds, OnlyWholeOnesAreExact ) {
   EXPECT_EQ( exactInstant( 20.5 ), 20500ms );
   EXPECT_EQ( exactInstant( 0.001 ), 1ms );
   EXPECT_EQ( exactInstant( -3.125 ), -3125ms );
   for ( Milliseconds instant : { 1ms, 299ms, 1000001ms, 123456789012345ms } ) {
      EXPECT_EQ( exactInstant( secondsOf( instant ) ), instant );
   }
   EXPECT_FALSE( exactInstant( 0.0001 ) );
   EXPECT_FALSE( exactInstant( 0.1 + 0.2 ) );
   EXPECT_FALSE( exactInstant( 1e13 ) );
   EXPECT_FALSE( exactInstant( std::numeric_limits< double >::infinity() ) );
   EXPECT_FALSE( exactInstant( std::numeric_limits< double >::quiet_NaN() ) );
}
