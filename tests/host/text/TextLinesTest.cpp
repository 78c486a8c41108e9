// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/text/TextLines>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

using namespace std::chrono_literals;

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

TEST( Wrapped, CutsWhatIsWiderThanALineBehindADotOrAnywhere ) {
   EXPECT_THAT( wrapped( "a abcdefgh b", 4 ), ElementsAre( "a", "abcd", "efgh", "b" ) );
   EXPECT_THAT( wrapped( "abcdef g", 4 ), ElementsAre( "abcd", "ef g" ) );
   EXPECT_THAT(
      wrapped( "mount.name.entry.attribute", 12 ),
      ElementsAre( "mount.name.", "entry.", "attribute" ) );
}

TEST( Wrapped, CountsCharactersAndCutsNone ) {
   EXPECT_EQ( columnsOf( "\u00fcber" ), 4u );
   EXPECT_THAT(
      wrapped( "\u00fcber \u00fcber", 4 ), ElementsAre( "\u00fcber", "\u00fcber" ) );
   EXPECT_THAT(
      wrapped( "\u00fc\u00fc\u00fc", 2 ), ElementsAre( "\u00fc\u00fc", "\u00fc" ) );
}

TEST( Wrapped, TheFirstLineMayHaveLessRoom ) {
   EXPECT_THAT( wrapped( "one two three", 9, 3 ), ElementsAre( "one", "two three" ) );
   EXPECT_THAT( wrapped( "one", 9, 0 ), ElementsAre( "", "one" ) );
}

TEST( LineWidth, IsTheUsersThenTheTerminals ) {
   EXPECT_EQ( lineWidth( "", std::nullopt ), 100u );
   EXPECT_EQ( lineWidth( "", 80 ), 80u );
   EXPECT_EQ( lineWidth( "70", 80 ), 70u );
   EXPECT_EQ( lineWidth( "70", std::nullopt ), 70u );
}

TEST( LineWidth, IsFrom60To100 ) {
   EXPECT_EQ( lineWidth( "1", std::nullopt ), 60u );
   EXPECT_EQ( lineWidth( "", 20 ), 60u );
   EXPECT_EQ( lineWidth( "", 200 ), 100u );
   EXPECT_EQ( lineWidth( "200", 80 ), 100u );
   EXPECT_EQ( lineWidth( "99999999999999999999999", 80 ), 100u );
}

TEST( LineWidth, WhatIsNoNumberOfColumnsIsNotHeeded ) {
   for ( char const* const columns : { "0", "-1", "+70", "wide", "70x", " 70", "7e1" } ) {
      EXPECT_EQ( lineWidth( columns, 80 ), 80u ) << columns;
   }
}

class TextLinesTest : public testing::Test {
 protected:
   std::ostringstream out_;
   TextLines lines_{ out_, Style( false ) };
};

TEST_F( TextLinesTest, TheTimeStandsInFrontOfItsFirstEntryOnly ) {
   lines_.entry( 0ms, Ink::held, "held", "a" );
   lines_.entry( 0ms, Ink::freed, "released", "b" );
   lines_.faintEntry( 90'061'005ms, "trace 8", "c" );
   EXPECT_EQ(
      out_.str(),
      "00:00:00.000  held        a\n"
      "              released    b\n"
      "25:01:01.005  trace 8     c\n" );
}

TEST_F( TextLinesTest, AnEntryGoesOnBelowItsText ) {
   lines_.entry(
      0ms, Ink::plain, "held", std::string( 70, 'x' ) + ", " + std::string( 9, 'y' ) );
   EXPECT_EQ(
      out_.str(),
      "00:00:00.000  held        " + std::string( 70, 'x' ) + ",\n" +
         std::string( 26, ' ' ) + "yyyyyyyyy\n" );
}

TEST_F( TextLinesTest, AFaintEntryIsNeverCut ) {
   lines_.faintEntry(
      0ms, "trace 8", std::string( 60, 'x' ) + " " + std::string( 60, 'y' ) );
   std::string const text = out_.str();
   EXPECT_EQ( text.find( '\n' ), text.size() - 1 );
}

TEST_F( TextLinesTest, ALongLabelKeepsItsDistance ) {
   lines_.entry( 0ms, Ink::plain, "event 1234567", "a" );
   EXPECT_EQ( out_.str(), "00:00:00.000  event 1234567 a\n" );
}

TEST_F( TextLinesTest, TextOfOthersCannotBreakALine ) {
   lines_.title( "a\nb" );
   lines_.field( "name", "a\x1b[2J" );
   EXPECT_EQ( out_.str(), "a\\x0ab\n  name          a\\x1b[2J\n" );
}

TEST_F( TextLinesTest, ATitleGoesOnInTheNextLine ) {
   lines_.title( std::string( 90, 'a' ) + " " + std::string( 20, 'b' ) );
   EXPECT_EQ( out_.str(), std::string( 90, 'a' ) + "\n" + std::string( 20, 'b' ) + "\n" );
}

TEST_F( TextLinesTest, LongTimesKeepTheWidth ) {
   constexpr Milliseconds time = 1000h;
   lines_.entry( time, Ink::held, "released", std::string( 74, 'x' ) + " y" );
   lines_.entry( time, Ink::held, "log warning", std::string( 74, 'x' ) );
   EXPECT_EQ(
      out_.str(),
      "1000:00:00.000 released   " + std::string( 74, 'x' ) + "\n" +
         std::string( 26, ' ' ) + "y\n" + std::string( 14, ' ' ) + "log warning " +
         std::string( 74, 'x' ) + "\n" );
}

TEST( TextLinesColour, LabelsTimesAndTitlesHaveColourAndTextHasNone ) {
   std::ostringstream out;
   TextLines lines( out, Style( true ) );
   lines.title( "title" );
   lines.entry( 0ms, Ink::freed, "released", "text" );
   EXPECT_EQ(
      out.str(),
      "\x1b[1mtitle\x1b[0m\n"
      "\x1b[1m00:00:00.000\x1b[0m  \x1b[32mreleased\x1b[0m    text\n" );
}

} // namespace
} // namespace ostra
