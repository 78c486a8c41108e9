// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextTable>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace ostra {
namespace {

std::string
textOf( std::size_t width, std::string const& from, std::string const& why ) {
   std::ostringstream out;
   TextLines lines( out, Style( false ), width );
   TextTable table;
   table.add( { "MLAG ports", "2", from, "00:05:00.000", "00:05:00.000", why } );
   table.add( { "LACP standby", "0", "-", "-", "-", "-" } );
   table.print( lines );
   // The expected texts begin in a line of their own.
   return "\n" + out.str();
}

TEST( TextTable, HasTheReasonsBesideTheTimes ) {
   EXPECT_EQ( textOf( 100, "00:00:00.000", "delay over" ), R"(
                   count  held from     released at   held for      why
  MLAG ports           2  00:00:00.000  00:05:00.000  00:05:00.000  delay over
  LACP standby         0  -             -             -             -
)" );
}

TEST( TextTable, LongReasonsGoOnBelow ) {
   EXPECT_EQ(
      textOf( 100, "00:00:00.000", "meant for LACP standby, but not in lacpConfig" ), R"(
                   count  held from     released at   held for      why
  MLAG ports           2  00:00:00.000  00:05:00.000  00:05:00.000  meant for LACP standby, but not
                                                                    in lacpConfig
  LACP standby         0  -             -             -             -
)" );
}

TEST( TextTable, LongTimesMakeTheirColumnWider ) {
   EXPECT_EQ( textOf( 100, "1000:00:00.000", "delay over" ), R"(
                   count  held from       released at   held for      why
  MLAG ports           2  1000:00:00.000  00:05:00.000  00:05:00.000  delay over
  LACP standby         0  -               -             -             -
)" );
}

TEST( TextTable, InNarrowLinesTheLengthsAreLeftOut ) {
   EXPECT_EQ( textOf( 80, "00:00:00.000", "MLAG not configured" ), R"(
                   count  held from     released at   why
  MLAG ports           2  00:00:00.000  00:05:00.000  MLAG not configured
  LACP standby         0  -             -             -
)" );
}

TEST( TextTable, InTheNarrowestLinesReasonsGoBelow ) {
   EXPECT_EQ(
      textOf( 60, "1000:00:00.000", "MLAG not configured, whatever that means" ), R"(
                   count  held from       released at
  MLAG ports           2  1000:00:00.000  00:05:00.000
                          MLAG not configured, whatever that
                          means
  LACP standby         0  -               -
)" );
}

} // namespace
} // namespace ostra
