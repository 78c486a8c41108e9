// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Duration>

#include <gtest/gtest.h>

#include <utility>

namespace ostra {
namespace {

TEST( Duration, UnitsAddUp ) {
   for ( auto const& [ text, seconds ] :
         std::initializer_list< std::pair< char const*, double > >{
            { "5m", 300 },
            { "1h30m", 5400 },
            { "90s", 90 },
            { "1d2h3m4.5s", 93784.5 },
            { "250ms", 0.25 },
            { "1s1ms", 1.001 },
            { "0s", 0 },
            { "-2m", -120 } } ) {
      EXPECT_EQ( durationSeconds( text ), seconds ) << text;
   }
}

TEST( Duration, ClockIsReadAsTheReportWritesIt ) {
   EXPECT_EQ( durationSeconds( "00:05:00.000" ), 300 );
   EXPECT_EQ( durationSeconds( "100:00:07" ), 360007 );
   EXPECT_EQ( durationSeconds( "01:30:00.5" ), 5400.5 );
   EXPECT_EQ( durationSeconds( "-00:00:01" ), -1 );
}

TEST( Duration, AnythingElseIsNone ) {
   for ( char const* text : { "",           "-",
                              "5",          "m",
                              "5x",         "5 m",
                              "5M",         "1m1h",
                              "1m1m",       "1.5h",
                              "1.2345s",    "1.s",
                              "5m3",        "--5m",
                              "5:00",       "00:5:00",
                              "0:60:00",    "0:00:60",
                              "0:0:0",      "0:00:00.",
                              "1h00:00:01", "00:05:00.0000",
                              "inf",        "1e3s",
                              "+5m",        "5m " } ) {
      EXPECT_EQ( durationSeconds( text ), std::nullopt ) << text;
   }
}

} // namespace
} // namespace ostra
