// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/RateLimiter>
#include <support/SimulatedTime>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using support::SimulatedTime;

TEST( RateLimiter, AnIntervalOfZeroRefusesNothingAndRemembersNothing ) {
   SimulatedTime time;
   for ( double interval : { 0.0, -1.0, std::numeric_limits< double >::quiet_NaN() } ) {
      Ryx::RateLimiter limiter( interval, 1 );
      for ( int i = 0; i < 100; ++i ) {
         EXPECT_TRUE( limiter.take( 1 ) );
      }
      EXPECT_EQ( limiter.keys(), 0u );
   }
}

TEST( RateLimiter, TheIntervalHasToPassBetweenTwoMessages ) {
   SimulatedTime time;
   Ryx::RateLimiter limiter( 10, 1 );
   EXPECT_TRUE( limiter.take( 1 ) );
   for ( double when : { 0.0, 3.0, 6.0, 9.0, 9.9 } ) {
      time.value = when;
      EXPECT_FALSE( limiter.take( 1 ) );
   }
   time.value = 10;
   EXPECT_TRUE( limiter.take( 1 ) );
   EXPECT_FALSE( limiter.take( 1 ) );
   time.value = 19.9;
   EXPECT_FALSE( limiter.take( 1 ) );
   time.value = 100;
   EXPECT_TRUE( limiter.take( 1 ) );
   EXPECT_FALSE( limiter.take( 1 ) );
}

TEST( RateLimiter, ABurstPassesAtOnceAndComesBackOneByOne ) {
   SimulatedTime time;
   auto passing = []( Ryx::RateLimiter& limiter ) {
      int count = 0;
      while ( limiter.take( 1 ) ) {
         ++count;
      }
      return count;
   };
   for ( double interval : { 10.0, 0.1, 1.0 / 3 } ) {
      time.value = 1000.1;
      Ryx::RateLimiter limiter( interval, 3 );
      EXPECT_EQ( passing( limiter ), 3 );
      time.value += interval;
      EXPECT_EQ( passing( limiter ), 1 );
      time.value += 2 * interval;
      EXPECT_EQ( passing( limiter ), 2 );
      time.value += 100 * interval;
      EXPECT_EQ( passing( limiter ), 3 );
   }
}

// Never early, not by the smallest step of time, and never late.
TEST( RateLimiter, AMessageIsNeverEarly ) {
   SimulatedTime time;
   for ( double interval : { 10.0, 1.0, 0.1, 1.0 / 3, 86400.0, 1e-3 } ) {
      for ( double start : { 0.0, 0.1, 1000.1, 1e6 / 3, 1e9 } ) {
         Ryx::RateLimiter limiter( interval, 1 );
         time.value = start;
         EXPECT_TRUE( limiter.take( 1 ) );
         double const next = start + interval;
         for ( double early : { std::nextafter( next, 0 ),
                                next - interval * 5e-4,
                                next - interval / 2 } ) {
            time.value = early;
            EXPECT_FALSE( limiter.take( 1 ) ) << start << " + " << interval;
         }
         time.value = next;
         EXPECT_TRUE( limiter.take( 1 ) ) << start << " + " << interval;
         EXPECT_FALSE( limiter.take( 1 ) );
      }
   }
}

TEST( RateLimiter, ATokenOfABurstIsNeverEarly ) {
   SimulatedTime time( 64 );
   Ryx::RateLimiter limiter( 0.5, 3 );
   for ( int i = 0; i < 3; ++i ) {
      EXPECT_TRUE( limiter.take( 1 ) );
   }
   for ( double next = 64.5; next < 80; next += 0.5 ) {
      time.value = next - 1e-9;
      EXPECT_FALSE( limiter.take( 1 ) ) << next;
      time.value = next;
      EXPECT_TRUE( limiter.take( 1 ) ) << next;
      EXPECT_FALSE( limiter.take( 1 ) ) << next;
   }
}

// Whether its time was counted from the first message or from the one before.
TEST( RateLimiter, AMessageThatIsOnTimeIsNotRefusedByRounding ) {
   SimulatedTime time;
   std::mt19937 random( 1 );
   std::uniform_real_distribution< double > number( 0.01, 100 );
   for ( int i = 0; i < 1000; ++i ) {
      double const interval = number( random );
      double const start = number( random ) * number( random );
      int const burst = 2 + i % 5;
      for ( bool counted : { false, true } ) {
         Ryx::RateLimiter limiter( interval, burst );
         time.value = start;
         for ( int passed = 0; passed < burst; ++passed ) {
            EXPECT_TRUE( limiter.take( 1 ) );
         }
         for ( int message = 1; message < 50; ++message ) {
            time.value = counted ? start + message * interval : time.value + interval;
            ASSERT_TRUE( limiter.take( 1 ) ) << start << ' ' << interval << ' ' << message;
            ASSERT_FALSE( limiter.take( 1 ) );
         }
      }
   }
}

TEST( RateLimiter, APartOfATokenCountsTowardsTheNext ) {
   SimulatedTime time( 100 );
   Ryx::RateLimiter limiter( 10, 2.5 );
   EXPECT_TRUE( limiter.take( 1 ) );
   EXPECT_TRUE( limiter.take( 1 ) );
   EXPECT_FALSE( limiter.take( 1 ) );
   time.value = 104.9;
   EXPECT_FALSE( limiter.take( 1 ) );
   time.value = 105;
   EXPECT_TRUE( limiter.take( 1 ) );
   EXPECT_FALSE( limiter.take( 1 ) );
   time.value = 115;
   EXPECT_TRUE( limiter.take( 1 ) );
   EXPECT_FALSE( limiter.take( 1 ) );
}

TEST( RateLimiter, KeysAreLimitedEachByItself ) {
   SimulatedTime time;
   Ryx::RateLimiter limiter( 10, 1 );
   EXPECT_TRUE( limiter.take( 1 ) );
   EXPECT_TRUE( limiter.take( 2 ) );
   EXPECT_FALSE( limiter.take( 1 ) );
}

TEST( RateLimiter, ABurstBelowOneIsOne ) {
   SimulatedTime time;
   Ryx::RateLimiter limiter( 10, 0 );
   EXPECT_TRUE( limiter.take( 1 ) );
   EXPECT_FALSE( limiter.take( 1 ) );
}

TEST( RateLimiter, AnInfiniteIntervalLetsTheBurstPassAndNoMore ) {
   SimulatedTime time;
   Ryx::RateLimiter limiter( Ryx::never, 2 );
   EXPECT_TRUE( limiter.take( 1 ) );
   EXPECT_TRUE( limiter.take( 1 ) );
   time.value = 1e9;
   EXPECT_FALSE( limiter.take( 1 ) );
}

TEST( RateLimiter, TimeGoingBackwardsBlocksForAnIntervalAtMost ) {
   SimulatedTime time( 1e6 );
   Ryx::RateLimiter limiter( 10, 2 );
   EXPECT_TRUE( limiter.take( 1 ) );
   time.value = 0;
   EXPECT_FALSE( limiter.take( 1 ) );
   time.value = 9;
   EXPECT_FALSE( limiter.take( 1 ) );
   time.value = 10;
   EXPECT_TRUE( limiter.take( 1 ) );
   EXPECT_FALSE( limiter.take( 1 ) );
}

TEST( RateLimiter, ForgetsKeysWhoseBucketIsFullAgain ) {
   SimulatedTime time;
   Ryx::RateLimiter limiter( 10, 1 );
   for ( unsigned key = 0; key < 100000; ++key ) {
      time.value += 1;
      EXPECT_TRUE( limiter.take( key ) );
      ASSERT_LE( limiter.keys(), 64u );
   }
}

TEST( RateLimiter, ForgetsKeysFromBeforeTheTimeWasSetBack ) {
   SimulatedTime time( 1e6 );
   Ryx::RateLimiter limiter( 10, 1 );
   for ( unsigned key = 0; key < 1000; ++key ) {
      limiter.take( key );
   }
   EXPECT_EQ( limiter.keys(), 1000u );
   time.value = 0;
   for ( unsigned key = 1000; key < 3000; ++key ) {
      time.value += 1;
      limiter.take( key );
   }
   EXPECT_LE( limiter.keys(), 64u );
}

} // namespace
