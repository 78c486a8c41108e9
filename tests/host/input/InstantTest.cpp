// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/Instant>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST( Instant, OptionIsReadLikeAFile ) {
   EXPECT_EQ( ostra::scenarioInstant( "20.5" ), 20500ms );
   EXPECT_EQ( ostra::scenarioInstant( "1m" ), 60000ms );
   EXPECT_EQ( ostra::scenarioInstant( "00:00:01.500" ), 1500ms );
   for ( char const* text : { "", "x", "-1", "0.0001", ".inf", "1 2", "-1m", "1m1" } ) {
      EXPECT_EQ( ostra::scenarioInstant( text ), std::nullopt ) << text;
   }
}
