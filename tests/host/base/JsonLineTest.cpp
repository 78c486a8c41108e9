// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Every text that JSON is written as is read again as what it was.

#include <host/base/JsonLine>

#include <host/input/Document>

#include <gtest/gtest.h>

#include <string>

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
