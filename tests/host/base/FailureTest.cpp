// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Failure>

#include <gtest/gtest.h>

using ostra::Failure;

TEST( Failure, OneLineShowsControlCharacters ) {
   EXPECT_EQ( ostra::oneLine( "a\nb\x1b[1m\x7f" ), "a\\x0ab\\x1b[1m\\x7f" );
   EXPECT_EQ(
      ostra::oneLine( "a\xc2\x9b"
                      "1m" ),
      "a\\xc2\\x9b1m" );
   EXPECT_EQ( ostra::oneLine( "a\xe2\x80\xa8" ), "a\\xe2\\x80\\xa8" );
   EXPECT_EQ( ostra::oneLine( "a\xe2\x80\xae" ), "a\\xe2\\x80\\xae" );
   EXPECT_EQ( ostra::oneLine( "a\xe2\x81\xa6" ), "a\\xe2\\x81\\xa6" );
}

TEST( Failure, OneLineShowsOctetsThatAreNoCharacters ) {
   for ( auto const& [ octets, shown ] :
         std::initializer_list< std::pair< std::string_view, char const* > >{
            { "\xff", "\\xff" },
            { "\xc3", "\\xc3" },
            { "\xc3(", "\\xc3(" },
            // Longer than need be, half of a character beyond 16 bits, beyond the last one.
            { "\xc0\xaf", "\\xc0\\xaf" },
            { "\xed\xa0\xbd", "\\xed\\xa0\\xbd" },
            { "\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80" } } ) {
      EXPECT_EQ( ostra::oneLine( octets ), shown );
   }
   std::string const good = "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80";
   EXPECT_EQ( ostra::oneLine( good ), good );
}

TEST( Failure, SaysWhatFollowsAZeroByte ) {
   ostra::Failure const failure(
      ostra::ExitStatus::badInput, std::string( "x:1:1: \0: unknown key", 21 ) );
   EXPECT_STREQ( failure.what(), "x:1:1: \\x00: unknown key" );
}

TEST( Failure, QuotesAreCutBetweenCharacters ) {
   std::string text( 59, 'x' );
   EXPECT_EQ( ostra::inQuotes( text + "\xc3\xa9\xc3\xa9" ), "\"" + text + "...\"" );
   EXPECT_EQ( ostra::inQuotes( "a" ), "\"a\"" );
}
