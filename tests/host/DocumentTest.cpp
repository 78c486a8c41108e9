// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Document>

#include <fmt/format.h>
#include <gtest/gtest.h>

using ostra::DocumentNode;
using ostra::Failure;
using ostra::Json;
using ostra::parseDocument;

namespace {

Json
parsed( std::string const& text ) {
   return toJson( *parseDocument( "x.yaml", text ).root );
}

std::string
complaint( std::string const& text ) {
   try {
      parseDocument( "x.yaml", text );
      return {};
   } catch ( Failure const& failure ) {
      return failure.what();
   }
}

DocumentNode::Kind
kindOf( std::string const& scalar ) {
   return parseDocument( "x.yaml", "a: " + scalar ).root->entries.at( 0 ).value->kind;
}

} // namespace

TEST( Document, PlainScalarsHaveTheTypesOfJson ) {
   for ( char const* number :
         { "0", "-5", "+5", "0.5", ".5", "5.", "1e3", "1E-3", ".inf" } ) {
      EXPECT_EQ( kindOf( number ), DocumentNode::Kind::number ) << number;
   }
   for ( char const* boolean : { "true", "True", "FALSE", "false" } ) {
      EXPECT_EQ( kindOf( boolean ), DocumentNode::Kind::boolean ) << boolean;
   }
   for ( char const* null : { "null", "~", "" } ) {
      EXPECT_EQ( kindOf( null ), DocumentNode::Kind::null ) << null;
   }
}

TEST( Document, WhatReadersDisagreeOnIsText ) {
   for ( char const* text :
         { "010", "0x10", "0o17", "1_000", "00", "yes", "on", "1:30", "inf" } ) {
      EXPECT_EQ( kindOf( text ), DocumentNode::Kind::text ) << text;
   }
}

TEST( Document, QuotedScalarsAreTexts ) {
   for ( char const* text : { "\"10\"", "'true'", "'null'", "!!str 5", "\".inf\"" } ) {
      EXPECT_EQ( kindOf( text ), DocumentNode::Kind::text ) << text;
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

TEST( Document, KnowsWhereEverythingStands ) {
   auto const root = parseDocument( "x.yaml", "a:\n  b: [1,\n    two]\n" ).root;
   auto const& b = root->entries.at( 0 ).value->entries.at( 0 );
   EXPECT_EQ( b.line, 2u );
   EXPECT_EQ( b.column, 3u );
   EXPECT_EQ( b.value->items.at( 1 )->line, 3u );
   EXPECT_EQ( b.value->items.at( 1 )->column, 5u );
}

TEST( Document, MissingValueStandsWhereItsKeyDoes ) {
   auto const root = parseDocument( "x.yaml", "a:\n  b:\n\nc: 1\n" ).root;
   auto const& b = root->entries.at( 0 ).value->entries.at( 0 );
   EXPECT_EQ( b.value->line, 2u );
   EXPECT_EQ( b.value->column, 3u );
}

TEST( Document, RefusesDuplicateKeys ) {
   EXPECT_EQ(
      complaint( "a: 1\nb: {c: 1, c: 2}\n" ),
      "x.yaml:2:11: duplicate key \"c\": expected it once" );
   EXPECT_EQ(
      complaint( R"({"a":1,"a":1})" ),
      "x.yaml:1:8: duplicate key \"a\": expected it once" );
}

TEST( Document, RefusesWhatItDoesNotUnderstand ) {
   EXPECT_EQ(
      complaint( "a: &x {b: 1}\nc:\n  <<: *x\n" ),
      "x.yaml:3:3: merge key \"<<\": expected the entries themselves" );
   EXPECT_EQ( complaint( "a: !ip 1" ), "x.yaml:1:4: tag \"!ip\": expected none" );
   EXPECT_EQ(
      complaint( "? {a: 1}\n: 2\n" ),
      "x.yaml:1:3: a key that is null, a list or a map: expected a text" );
   EXPECT_EQ(
      complaint( "a: 1\n---\nb: 2\n" ),
      "x.yaml:2:1: a second document: expected only one" );
   EXPECT_EQ(
      complaint( "a: &x {b: *x}" ), "x.yaml:1:11: an alias inside of what it stands for" );
   EXPECT_EQ( complaint( "a: \"\xff\"" ), "x.yaml:1:4: expected UTF-8" );
}

TEST( Document, BrokenSyntaxIsOneLineWithItsPlace ) {
   EXPECT_EQ( complaint( "a: b: c" ), "x.yaml:1:5: not YAML: illegal map value" );
   EXPECT_EQ( complaint( "{\"a\":1" ), "x.yaml:1:1: not YAML: end of map flow not found" );
}

TEST( Document, AnEscapeThatTheEndCutsIsRefusedWithinTheText ) {
   std::string const cut = ": not YAML: bad character found while scanning hex number";
   EXPECT_EQ( complaint( "\"\\u" ), "x.yaml:1:4" + cut );
   EXPECT_EQ( complaint( "a: 1\nb: \"\\U12" ), "x.yaml:2:9" + cut );
   EXPECT_EQ( complaint( "\xef\xbb\xbf- 1\n- \"\\x" ), "x.yaml:2:6" + cut );
   EXPECT_EQ( complaint( "{\"a\": \"\\u\"" ), "x.yaml:1:11" + cut );
}

TEST( Document, DeepNestingIsRefusedAndNotACrash ) {
   EXPECT_NE(
      complaint( std::string( 100000, '[' ) ).find( "nested too deeply" ),
      std::string::npos );
   std::string braces;
   for ( int i = 0; i < 100000; ++i ) {
      braces += "{a: ";
   }
   EXPECT_NE( complaint( braces ).find( "nested too deeply" ), std::string::npos );
}

TEST( Document, NestingByAliasesIsRefusedToo ) {
   auto const chain = []( int length ) {
      std::string text = "- &a0 []\n";
      for ( int i = 1; i < length; ++i ) {
         text += fmt::format( "- &a{} [ *a{} ]\n", i, i - 1 );
      }
      return text;
   };
   EXPECT_EQ( complaint( chain( 400 ) ), "" );
   EXPECT_EQ( complaint( chain( 200000 ) ), "x.yaml:500:11: nested too deeply" );
}

TEST( Document, EmptyInputIsNull ) {
   EXPECT_TRUE( parsed( "" ).is_null() );
   EXPECT_TRUE( parsed( "# nothing but a comment\n" ).is_null() );
}

TEST( Document, UnreadableFileIsNamedWithTheReason ) {
   try {
      ostra::readDocument( "/nonexistent/x.yaml" );
      FAIL();
   } catch ( Failure const& failure ) {
      EXPECT_STREQ(
         failure.what(), "/nonexistent/x.yaml: cannot be read: No such file or directory" );
      EXPECT_EQ( failure.status(), ostra::ExitStatus::badInput );
   }
}

TEST( Failure, OneLineShowsControlCharacters ) {
   EXPECT_EQ( ostra::oneLine( "a\nb\x1b[1m\x7f" ), "a\\x0ab\\x1b[1m\\x7f" );
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
