// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Exception>

#include <gtest/gtest.h>

namespace {

TEST( Exception, CarriesMessageIdsAndWhetherToRetry ) {
   Ryx::Exception::IdBitArray ids;
   ids.set( 3 );
   Ryx::Exception const e( "no room", ids, true );
   EXPECT_EQ( e.message(), "no room" );
   EXPECT_STREQ( e.what(), "no room" );
   EXPECT_EQ( e.ids(), ids );
   EXPECT_TRUE( e.retryable() );
}

TEST( Exception, HasNoIdsAndIsFinalByDefault ) {
   Ryx::Exception const e( "no" );
   EXPECT_TRUE( e.ids().none() );
   EXPECT_FALSE( e.retryable() );
}

TEST( Exception, CopiesAreWhole ) {
   Ryx::RangeException const e( "no", {}, true );
   Ryx::RangeException const copy = e;
   EXPECT_EQ( copy.message(), "no" );
   EXPECT_TRUE( copy.retryable() );
}

TEST( Exception, RangeExceptionIsThrownWithItsTextAndCaughtByItsBases ) {
   EXPECT_THROW( Ryx::throwRangeException( "too far" ), Ryx::RangeException );
   EXPECT_THROW( Ryx::throwRangeException( Ryx::String8( "too far" ) ), Ryx::Exception );
   try {
      Ryx::throwRangeException( "too far" );
   } catch ( std::exception const& e ) {
      EXPECT_STREQ( e.what(), "too far" );
   }
}

TEST( Exception, ExpectScopesNestAndEndWithTheirBlocks ) {
   EXPECT_EQ( Ryx::Expect::innermost(), nullptr );
   {
      Ryx::Expect const outer( 0 );
      {
         Ryx::Expect const inner( 7 );
         EXPECT_EQ( Ryx::Expect::innermost(), &inner );
         EXPECT_EQ( inner.id(), 7u );
      }
      EXPECT_EQ( Ryx::Expect::innermost(), &outer );
   }
   EXPECT_EQ( Ryx::Expect::innermost(), nullptr );
}

TEST( Exception, AnExpectScopeEndsWhenAnExceptionLeavesIt ) {
   try {
      Ryx::Expect const expected( 0 );
      Ryx::throwRangeException( "no" );
   } catch ( Ryx::RangeException const& ) {
      EXPECT_EQ( Ryx::Expect::innermost(), nullptr );
   }
}

TEST( ExceptionDeathTest, ABrokenInvariantSaysWhereItIsAndAborts ) {
   EXPECT_EXIT(
      Ryx::assertFailed( "a == b", "/usr/include/Ryx/Thing", 12, "check" ),
      testing::KilledBySignal( SIGABRT ),
      "^/usr/include/Ryx/Thing:12: check: Assertion `a == b' failed.\n$" );
}

} // namespace
