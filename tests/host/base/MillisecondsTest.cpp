// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Milliseconds>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using ostra::exactMoment;
using ostra::firstMomentAt;
using ostra::lastMoment;
using ostra::Milliseconds;
using ostra::secondsOf;

TEST( Milliseconds, WakeUpIsAtTheFirstMillisecondNotBeforeIt ) {
   EXPECT_EQ( firstMomentAt( 225.0 ), 225000 );
   EXPECT_EQ( firstMomentAt( 0.95f * 300.0 ), 285000 );
   EXPECT_EQ( firstMomentAt( 284.9999964 ), 285000 );
   EXPECT_EQ( firstMomentAt( 285.0000001 ), 285001 );
   EXPECT_EQ( firstMomentAt( 0.1 + 0.2 ), 301 );
   EXPECT_EQ( firstMomentAt( 0.3 ), 300 );
   EXPECT_EQ( firstMomentAt( -0.0005 ), 0 );
   EXPECT_EQ( firstMomentAt( -1.0005 ), -1000 );
}

TEST( Milliseconds, WakeUpAgreesWithTheDefinitionForRandomTimes ) {
   constexpr unsigned seed = 20260601;
   std::mt19937_64 random( seed );
   std::uniform_real_distribution< double > exponent( -4, 12 );
   for ( int i = 0; i < 200000; ++i ) {
      double const seconds = std::pow( 10, exponent( random ) ) * ( i % 2 == 0 ? 1 : -1 );
      auto const moment = firstMomentAt( seconds );
      ASSERT_TRUE( moment ) << seconds;
      ASSERT_GE( secondsOf( *moment ), seconds ) << "seed " << seed;
      ASSERT_LT( secondsOf( *moment - 1 ), seconds ) << "seed " << seed;
   }
}

TEST( Milliseconds, WakeUpBehindTheEndOfTheClockIsNever ) {
   EXPECT_FALSE( firstMomentAt( std::numeric_limits< double >::infinity() ) );
   EXPECT_FALSE( firstMomentAt( std::numeric_limits< double >::quiet_NaN() ) );
   EXPECT_FALSE( firstMomentAt( 1e300 ) );
   EXPECT_TRUE( firstMomentAt( secondsOf( lastMoment ) ) );
   EXPECT_EQ( firstMomentAt( -1e300 ), -lastMoment );
}

TEST( Milliseconds, OnlyWholeOnesAreExact ) {
   EXPECT_EQ( exactMoment( 20.5 ), 20500 );
   EXPECT_EQ( exactMoment( 0.001 ), 1 );
   EXPECT_EQ( exactMoment( -3.125 ), -3125 );
   for ( Milliseconds moment : { 1LL, 299LL, 1000001LL, 123456789012345LL } ) {
      EXPECT_EQ( exactMoment( secondsOf( moment ) ), moment );
   }
   EXPECT_FALSE( exactMoment( 0.0001 ) );
   EXPECT_FALSE( exactMoment( 0.1 + 0.2 ) );
   EXPECT_FALSE( exactMoment( 1e13 ) );
   EXPECT_FALSE( exactMoment( std::numeric_limits< double >::infinity() ) );
   EXPECT_FALSE( exactMoment( std::numeric_limits< double >::quiet_NaN() ) );
}

TEST( Milliseconds, OptionIsReadLikeAFile ) {
   EXPECT_EQ( ostra::scenarioMoment( "20.5" ), 20500 );
   for ( char const* text : { "", "x", "-1", "0.0001", ".inf", "1 2" } ) {
      EXPECT_EQ( ostra::scenarioMoment( text ), std::nullopt ) << text;
   }
}
