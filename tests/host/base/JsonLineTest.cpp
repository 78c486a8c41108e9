// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Every text that JSON is written as is read again as what it was.

#include <host/base/JsonLine>

#include <host/input/Document>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using ostra::Json;
using ostra::lineOf;
using ostra::linesOf;

namespace {

void
append( std::string& text, unsigned code ) {
   auto const octet = [ &text ]( unsigned value ) {
      text += static_cast< char >( static_cast< unsigned char >( value ) );
   };
   if ( code < 0x80 ) {
      octet( code );
   } else if ( code < 0x800 ) {
      octet( 0xc0 | code >> 6 );
      octet( 0x80 | ( code & 0x3f ) );
   } else if ( code < 0x10000 ) {
      octet( 0xe0 | code >> 12 );
      octet( 0x80 | ( code >> 6 & 0x3f ) );
      octet( 0x80 | ( code & 0x3f ) );
   } else {
      octet( 0xf0 | code >> 18 );
      octet( 0x80 | ( code >> 12 & 0x3f ) );
      octet( 0x80 | ( code >> 6 & 0x3f ) );
      octet( 0x80 | ( code & 0x3f ) );
   }
}

Json
readAgain( std::string const& text ) {
   auto const document = ostra::parseDocument( "text", text );
   return ostra::toJson( document.root() );
}

} // namespace

TEST( JsonLine, EveryCharacterIsReadAgain ) {
   for ( unsigned code = 0; code <= 0x10ffff; ++code ) {
      if ( code >= 0xd800 && code <= 0xdfff ) {
         continue;
      }
      if ( code > 0x20000 && code % 0x101 != 0 && code < 0x10ff00 ) {
         continue;
      }
      std::string text;
      append( text, code );
      Json const json = { { text, text } };
      ASSERT_EQ( readAgain( lineOf( json ) ), json ) << std::hex << code;
      if ( code < 0x100 ) {
         ASSERT_EQ( readAgain( linesOf( json ) ), json ) << std::hex << code;
      }
   }
}

TEST( JsonLine, LinesAreIndentedAndEnded ) {
   EXPECT_EQ( linesOf( { { "a", { 1 } } } ), "{\n  \"a\": [\n    1\n  ]\n}\n" );
   EXPECT_EQ( linesOf( "\x7f\n" ), "\"\\u007f\\n\"\n" );
}

// A line that is written member by member is that of the document.
TEST( JsonLine, AnObjectMemberByMemberIsWhatADocumentSays ) {
   std::vector< std::string > const texts = {
      "", "plain", "a \"b\" \\", "\x7f\xff\n", "\xc3\xa4 \xe2\x80\xa8"
   };
   Json const members = { { "number", -7 },       { "text", texts[ 3 ] },
                          { "texts", texts },     { "none", nullptr },
                          { "list", { 1, 2.5 } }, { "of", { { "a", 1 } } } };
   ostra::ObjectLine line;
   EXPECT_EQ( ostra::ObjectLine().take(), "{}" );
   line.add( "number", std::int64_t( -7 ) );
   line.add( "text", texts[ 3 ] );
   line.add( "texts", texts );
   line.add( "none", Json() );
   line.add( "list", members.at( "list" ) );
   line.add( "of", members.at( "of" ) );
   ostra::ObjectLine whole;
   whole.add( line );
   whole.add( Json::object() );
   whole.add( Json{ { "last", true } } );
   EXPECT_EQ( line.take(), lineOf( members ) );
   ostra::ObjectLine odd;
   odd.addLine( texts[ 2 ], lineOf( members ) );
   EXPECT_EQ( odd.take(), lineOf( Json{ { texts[ 2 ], members } } ) );
   Json all = members;
   all[ "last" ] = true;
   EXPECT_EQ( whole.take(), lineOf( all ) );
   for ( std::string const& text : texts ) {
      EXPECT_EQ( ostra::lineOfText( text ), lineOf( Json( text ) ) );
   }
   EXPECT_EQ( ostra::lineOfTexts( texts ), lineOf( Json( texts ) ) );
   EXPECT_EQ( ostra::lineOfTexts( {} ), "[]" );
}
