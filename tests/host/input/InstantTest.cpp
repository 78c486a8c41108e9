// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/Instant>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST( Instant, OptionIsReadLikeAFile ) {
   EXPECT_EQ( ostra::scenarioInstant( "20.5" ), 20500ms );
   for ( char const* text : { "", "x", "-1", "0.0001", ".inf", "1 2" } ) {
      EXPECT_EQ( ostra::scenarioInstant( text ), std::nullopt ) << text;
   }
}
