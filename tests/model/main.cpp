// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <gtest/gtest.h>

#include <cstdlib>

// Without RC_PARAMS the scenarios are the same each time, and as many as a quick test has time
// for.
int
main( int argc, char** argv ) {
   ::setenv( "RC_PARAMS", "seed=1 max_success=2000", 0 );
   ::testing::InitGoogleTest( &argc, argv );
   return RUN_ALL_TESTS();
}
