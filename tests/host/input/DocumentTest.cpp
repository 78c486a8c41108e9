// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Complaint"

#include <fmt/format.h>
#include <gtest/gtest.h>

using ostra::DocumentNode;
using ostra::Entry;
using ostra::Json;
using ostra::NodeKind;
using ostra::parsed;
using ostra::parseDocument;
using ostra::refusal;

namespace {

// The value of a map's one entry, or of its first one.
Entry
firstEntry( DocumentNode const& map ) {
   return *map.entries().begin();
}

NodeKind
kindOf( std::string const& scalar ) {
   auto const document = parseDocument( "x.yaml", "a: " + scalar );
   return firstEntry( document.root() ).value.kind();
}

std::string
placeText( ostra::Place const& place ) {
   return fmt::format( "{}:{}", place.line, place.column );
}

} // namespace

TEST( Document, PlainScalarsHaveTheTypesOfJson ) {
   for ( char const* number :
         { "0", "-5", "+5", "0.5", ".5", "5.", "1e3", "1E-3", ".inf" } ) {
      EXPECT_EQ( kindOf( number ), NodeKind::number ) << number;
   }
   for ( char const* boolean : { "true", "True", "FALSE", "false" } ) {
      EXPECT_EQ( kindOf( boolean ), NodeKind::boolean ) << boolean;
   }
   for ( char const* null : { "null", "~", "" } ) {
      EXPECT_EQ( kindOf( null ), NodeKind::null ) << null;
   }
}

TEST( Document, WhatReadersDisagreeOnIsText ) {
   for ( char const* text :
         { "010", "0x10", "0o17", "1_000", "00", "yes", "on", "1:30", "inf" } ) {
      EXPECT_EQ( kindOf( text ), NodeKind::text ) << text;
   }
}

TEST( Document, QuotedScalarsAreTexts ) {
   for ( char const* text : { "\"10\"", "'true'", "'null'", "\".inf\"" } ) {
      EXPECT_EQ( kindOf( text ), NodeKind::text ) << text;
   }
}

TEST( Document, NumbersBecomePlainJson ) {
   EXPECT_EQ(
      parsed( "[300.0, 20.5, -0.0, 1e3, .inf, 1e300]" ).dump(),
      R"([300,20.5,0,1000,"inf",1e+300])" );
}

TEST( Document, KeepsTheOrderOfKeys ) {
   EXPECT_EQ( parsed( "z: 1\na: 2\nm: 3\n" ).dump(), R"({"z":1,"a":2,"m":3})" );
}

TEST( Document, AliasStandsForItsAnchor ) {
   EXPECT_EQ( parsed( "a: &x {b: 1}\nc: *x\n" ).dump(), R"({"a":{"b":1},"c":{"b":1}})" );
}

TEST( Document, ReadsJson ) {
   EXPECT_EQ(
      parsed( "{\"a\":[1,{\"b\":\"inf\"}],\n\t\"c\":null}" ).dump(),
      R"({"a":[1,{"b":"inf"}],"c":null})" );
   EXPECT_EQ(
      parsed( R"({"a":"\ud83d\ude00\u00e9"})" ).at( "a" ), "\xf0\x9f\x98\x80\xc3\xa9" );
   EXPECT_EQ( parsed( R"({"a":"\\ud83d\\ude00"})" ).at( "a" ), R"(\ud83d\ude00)" );
}

TEST( Document, EscapesAreReadInDoubleQuotesAlone ) {
   std::string const escapes = R"(\ud83d\ude00)";
   std::string const character = "\xf0\x9f\x98\x80";
   EXPECT_EQ( parsed( "{a: '" + escapes + "'}" ).at( "a" ), escapes );
   EXPECT_EQ( parsed( "{a: " + escapes + "}" ).at( "a" ), escapes );
   for ( std::string const before : { R"("x":"\"\\",)",
                                      "x: 'it''s \"',",
                                      "x: it's,",
                                      "x: y\",",
                                      "# \"\n",
                                      "# it's\n" } ) {
      EXPECT_EQ(
         parsed( "{ " + before + " \"a\":\"" + escapes + "\"}" ).at( "a" ), character )
         << before;
   }
}

TEST( Document, KnowsWhereEverythingStands ) {
   auto const document = parseDocument( "x.yaml", "a:\n  b: [1,\n    two]\n" );
   Entry const b = firstEntry( firstEntry( document.root() ).value );
   EXPECT_EQ( placeText( document.root().tree().place( b.offset ) ), "2:3" );
   auto const items = b.value.items();
   EXPECT_EQ( placeText( ( *++items.begin() ).place() ), "3:5" );
}

TEST( Document, MissingValueStandsWhereItsKeyDoes ) {
   auto const document = parseDocument( "x.yaml", "a:\n  b:\n\nc: 1\n" );
   Entry const b = firstEntry( firstEntry( document.root() ).value );
   EXPECT_EQ( placeText( b.value.place() ), "2:3" );
}

TEST( Document, MissingItemStandsAtItsDash ) {
   auto const document = parseDocument( "x.yaml", "a:\n  -\n  - 1\n" );
   auto const items = firstEntry( document.root() ).value.items();
   EXPECT_EQ( placeText( ( *items.begin() ).place() ), "2:3" );
}

TEST( Document, ColumnsCountOctetsOfTheFile ) {
   EXPECT_EQ(
      refusal( "{\xc3\xa9: \"\xf0\x9f\x98\x80\", a: !x 1}" ),
      "x.yaml:1:17: tag \"!x\": expected none" );
   EXPECT_EQ(
      refusal( R"({"a": "\ud83d\ude00\uD83D\uDE00", "b": !x 1})" ),
      "x.yaml:1:40: tag \"!x\": expected none" );
   EXPECT_EQ(
      refusal( "\xef\xbb\xbf{a: 1,\r\nb: !x 1}" ),
      "x.yaml:2:4: tag \"!x\": expected none" );
}

TEST( Document, EmptyInputIsNull ) {
   EXPECT_TRUE( parsed( "" ).is_null() );
   EXPECT_TRUE( parsed( "# nothing but a comment\n" ).is_null() );
}
