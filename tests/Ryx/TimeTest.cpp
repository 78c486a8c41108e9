// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Time>
#include <support/SimulatedTime>

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST( Time, InfiniteIsWhatIsGreaterThanTheLargestFiniteNumber ) {
   EXPECT_TRUE( Ryx::isInfinite( Ryx::never ) );
   EXPECT_FALSE( Ryx::isInfinite( std::numeric_limits< double >::max() ) );
   EXPECT_FALSE( Ryx::isInfinite( -Ryx::never ) );
}

TEST( Time, TheRealClockIsBackWhenNoSourceIsSet ) {
   Ryx::Seconds const before = Ryx::now();
   {
      support::SimulatedTime const simulated( before + 1e6 );
      EXPECT_EQ( Ryx::now(), before + 1e6 );
   }
   EXPECT_GE( Ryx::now(), before );
   EXPECT_LT( Ryx::now(), before + 1e6 );
}

} // namespace
