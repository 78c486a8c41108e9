// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/TextLines>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace ostra {
namespace {

using testing::ElementsAre;

TEST( Wrapped, WhatFitsIsOneLine ) {
   EXPECT_THAT( wrapped( "", 10 ), ElementsAre( "" ) );
   EXPECT_THAT( wrapped( "one, two", 8 ), ElementsAre( "one, two" ) );
}

TEST( Wrapped, BreaksAtBlanksAndDropsThem ) {
   EXPECT_THAT( wrapped( "one two three", 7 ), ElementsAre( "one two", "three" ) );
}

TEST( Wrapped, BreaksBehindCommasAndKeepsThem ) {
   EXPECT_THAT( wrapped( "E1-4,7,9,11", 7 ), ElementsAre( "E1-4,7,", "9,11" ) );
}

TEST( Wrapped, WhatCannotBeBrokenIsLonger ) {
   EXPECT_THAT( wrapped( "a abcdefgh b", 4 ), ElementsAre( "a", "abcdefgh", "b" ) );
}

class TextLinesTest : public testing::Test {
 protected:
   std::ostringstream out_;
   TextLines lines_{ out_, Style( false ) };
};

TEST_F( TextLinesTest, TheTimeStandsInFrontOfItsFirstEntryOnly ) {
   lines_.entry( 0, Ink::held, "held", "a" );
   lines_.entry( 0, Ink::freed, "released", "b" );
   lines_.faintEntry( 90'061'005, "trace 8", "c" );
   EXPECT_EQ(
      out_.str(),
      "00:00:00.000  held        a\n"
      "              released    b\n"
      "25:01:01.005  trace 8     c\n" );
}

TEST_F( TextLinesTest, AnEntryGoesOnBelowItsText ) {
   lines_.entry(
      0, Ink::plain, "held", std::string( 70, 'x' ) + ", " + std::string( 9, 'y' ) );
   EXPECT_EQ(
      out_.str(),
      "00:00:00.000  held        " + std::string( 70, 'x' ) + ",\n" +
         std::string( 26, ' ' ) + "yyyyyyyyy\n" );
}

TEST_F( TextLinesTest, AFaintEntryIsNeverCut ) {
   lines_.faintEntry( 0, "trace 8", std::string( 60, 'x' ) + " " + std::string( 60, 'y' ) );
   std::string const text = out_.str();
   EXPECT_EQ( text.find( '\n' ), text.size() - 1 );
}

TEST_F( TextLinesTest, ALongLabelKeepsItsDistance ) {
   lines_.entry( 0, Ink::plain, "event 1234567", "a" );
   EXPECT_EQ( out_.str(), "00:00:00.000  event 1234567 a\n" );
}

TEST_F( TextLinesTest, TextOfOthersCannotBreakALine ) {
   lines_.title( "a\nb" );
   lines_.field( "name", "a\x1b[2J" );
   EXPECT_EQ( out_.str(), "a\\x0ab\n  name          a\\x1b[2J\n" );
}

TEST( TextLinesColour, LabelsTimesAndTitlesHaveColourAndTextHasNone ) {
   std::ostringstream out;
   TextLines lines( out, Style( true ) );
   lines.title( "title" );
   lines.entry( 0, Ink::freed, "released", "text" );
   EXPECT_EQ(
      out.str(),
      "\x1b[1mtitle\x1b[0m\n"
      "\x1b[1m00:00:00.000\x1b[0m  \x1b[32mreleased\x1b[0m    text\n" );
}

} // namespace
} // namespace ostra
