// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is no document, and what is said of it.

#include "Complaint"

#include <fmt/format.h>
#include <gtest/gtest.h>

using ostra::parsed;
using ostra::parseDocument;
using ostra::refusal;

TEST( Document, RefusesDuplicateKeys ) {
   EXPECT_EQ(
      refusal( "a: 1\nb: {c: 1, c: 2}\n" ),
      "x.yaml:2:11: duplicate key \"c\", first in line 2: expected it once" );
   EXPECT_EQ(
      refusal( R"({"a":1,"a":1})" ),
      "x.yaml:1:8: duplicate key \"a\", first in line 1: expected it once" );
   std::string many;
   for ( int i = 0; i < 100; ++i ) {
      many += fmt::format( "k{}: 1\n", i );
   }
   for ( int const line : { 1, 16, 17, 18, 100 } ) {
      EXPECT_EQ(
         refusal( many + fmt::format( "\"k{}\": 2\n", line - 1 ) ),
         fmt::format(
            "x.yaml:101:1: duplicate key \"k{}\", first in line {}: expected it once",
            line - 1,
            line ) );
   }
}

TEST( Document, RefusesWhatItDoesNotUnderstand ) {
   EXPECT_EQ(
      refusal( "a: &x {b: 1}\nc:\n  <<: *x\n" ),
      "x.yaml:3:3: merge key \"<<\": expected the entries themselves" );
   EXPECT_EQ( refusal( "a: !ip 1" ), "x.yaml:1:4: tag \"!ip\": expected none" );
   EXPECT_EQ( refusal( "a: ! 1" ), "x.yaml:1:4: tag \"!\": expected none" );
   EXPECT_EQ( refusal( "a: !!int 1" ), "x.yaml:1:4: tag \"!!int\": expected none" );
   EXPECT_EQ(
      refusal( "a: !!str 5" ), "x.yaml:1:4: tag \"!!str\": expected the text in quotes" );
   EXPECT_EQ( refusal( "a: !<x\n" ), "x.yaml:1:4: tag \"!<x\": expected none" );
   EXPECT_EQ( refusal( "a: !x!y 1\n" ), "x.yaml:1:4: tag \"!x!y\": expected none" );
   EXPECT_EQ(
      refusal( "? {a: 1}\n: 2\n" ),
      "x.yaml:1:3: a key that is null, a list or a map: expected a text" );
   EXPECT_EQ(
      refusal( "a: 1\n---\nb: 2\n" ), "x.yaml:2:1: a second document: expected only one" );
   EXPECT_EQ(
      refusal( "a: &x {b: *x}" ), "x.yaml:1:11: an alias inside of what it stands for" );
   EXPECT_EQ(
      refusal( "a: *y" ),
      "x.yaml:1:4: alias \"y\": expected an anchor of that name above" );
}

TEST( Document, RefusesDirectivesThatMeanSomething ) {
   std::string const expected = "\": expected none, or \"%YAML 1.2\"";
   EXPECT_EQ( parsed( "%YAML 1.2\n---\na: 1\n" ).at( "a" ), 1 );
   EXPECT_EQ( parsed( "%YAML 1.1\n---\na: 1\n" ).at( "a" ), 1 );
   for ( std::string const directive :
         { "%YAML 9.9", "%FOO", "%FOO bar", "%YAML", "%TAG", "%TAG ! tag:x,2000:" } ) {
      EXPECT_EQ(
         refusal( directive + "\n---\na: 1\n" ),
         "x.yaml:1:1: directive \"" + directive + expected );
   }
   EXPECT_EQ(
      refusal( "%YAML 1.2\n%TAG ! x:\n---\na: 1\n" ),
      "x.yaml:2:1: directive \"%TAG ! x:" + expected );
   EXPECT_EQ(
      refusal( "%TAG ! x:\n%TAG ! x:\n---\na: 1\n" ),
      "x.yaml:2:1: directive \"%TAG ! x:" + expected );
   EXPECT_EQ(
      refusal( "%YAML 1.2\na: 1\n" ),
      "x.yaml:2:1: not YAML: \"a\": expected \"---\" behind directives" );
}

TEST( Document, NothingFollowsTheDocument ) {
   std::string const end = ": expected the end of the file";
   EXPECT_EQ( refusal( "{a: 1}}\n" ), "x.yaml:1:7: not YAML: \"}\"" + end );
   EXPECT_EQ( refusal( "{a: 1}\n}\n" ), "x.yaml:2:1: not YAML: \"}\"" + end );
   EXPECT_EQ( refusal( "{a: 1} b\n" ), "x.yaml:1:8: not YAML: \"b\"" + end );
   EXPECT_EQ(
      refusal( "a: 1\n...\nb: 2\n" ), "x.yaml:3:1: a second document: expected only one" );
   EXPECT_EQ(
      refusal( "  a: 1\n\nb: 2\n" ),
      "x.yaml:3:1: not YAML: indented by 0: expected 2, as a line above is" );
}

TEST( Document, WhatIsWrongInJsonIsNamed ) {
   auto const expectRefused = []( std::string const& text, std::string const& why ) {
      EXPECT_EQ( refusal( text ), "x.yaml:" + why ) << text;
   };
   expectRefused( R"({"a" "x"})", R"(1:6: not YAML: "x": expected a colon before it)" );
   expectRefused( R"({"a" 3})", R"(1:6: not YAML: "3": expected a colon before it)" );
   std::string const comma = R"(: expected "," or "}", for the "{" in line 1)";
   expectRefused( R"({"a": "x" "b": 3})", R"(1:11: not YAML: "b")" + comma );
   expectRefused( R"({"a": 1 "b": 3})", R"(1:9: not YAML: "b")" + comma );
   expectRefused( "{\"a\": 1\n \"b\": 3}", R"(2:2: not YAML: "b")" + comma );
   std::string const comment = R"(: expected "#")";
   expectRefused(
      "{\"a\": 1, // c\n \"b\": 3}",
      R"(1:10: not YAML: a comment that begins with "//")" + comment );
   expectRefused(
      "{\"a\": \"x\" /* c */}",
      R"(1:11: not YAML: a comment that begins with "/*")" + comment );
}

TEST( Document, KeysThatAreTooLongForTheParserAreNamed ) {
   std::string const key( 1025, 'k' );
   std::string const why = ": \"" + key.substr( 0, 60 ) +
      "...\": expected a key of at most 1024 octets as JSON writes it";
   EXPECT_EQ( refusal( key + ": 1\n" ), "x.yaml:1:1" + why );
   EXPECT_EQ( refusal( "a: 1\n" + key + ": 1\n" ), "x.yaml:2:1" + why );
   EXPECT_EQ( refusal( "\"" + key + "\": 1\n" ), "x.yaml:1:1" + why );
   EXPECT_EQ( refusal( "{" + key + ": 1}\n" ), "x.yaml:1:2" + why );
}

// What is read is written as JSON, which has to be read again.
TEST( Document, KeysThatAreTooLongAsJsonAreRefused ) {
   auto const refusalOf = []( std::string const& key ) {
      return refusal( "a: &a " + key + "\n*a : 1\n" );
   };
   std::string const why = "...\": expected a key of at most 1024 octets as JSON writes it";
   EXPECT_EQ( refusal( std::string( 1022, 'k' ) + ": 1\n" ), "" );
   EXPECT_EQ(
      refusal( std::string( 1023, 'k' ) + ": 1\n" ),
      "x.yaml:1:1: \"" + std::string( 60, 'k' ) + why );
   EXPECT_EQ( refusalOf( std::string( 1022, 'k' ) ), "" );
   EXPECT_EQ(
      refusalOf( std::string( 1023, 'k' ) ),
      "x.yaml:2:1: \"" + std::string( 60, 'k' ) + why );
   EXPECT_EQ( refusal( '\'' + std::string( 511, '"' ) + "': 1\n" ), "" );
   EXPECT_EQ(
      refusal( '\'' + std::string( 512, '"' ) + "': 1\n" ),
      "x.yaml:1:1: \"" + std::string( 60, '"' ) + why );
}

TEST( Document, WhatNoFileMayHaveIsNamedWithItsPlace ) {
   EXPECT_EQ( refusal( "a: \"\xff\"" ), "x.yaml:1:5: byte \\xff: expected UTF-8" );
   EXPECT_EQ( refusal( "a: 1\nb: \xc3(" ), "x.yaml:2:4: byte \\xc3: expected UTF-8" );
   EXPECT_EQ( refusal( "a: \xc3\nb: 1" ), "x.yaml:1:4: byte \\xc3: expected UTF-8" );
   EXPECT_EQ( refusal( "a: x\xe2\x82\nb: 1" ), "x.yaml:1:5: byte \\xe2: expected UTF-8" );
   EXPECT_EQ( refusal( "a: \"\xe2\x82\"" ), "x.yaml:1:5: byte \\xe2: expected UTF-8" );
   EXPECT_EQ( refusal( "a: x\xe2\x82" ), "x.yaml:1:5: byte \\xe2: expected UTF-8" );
   EXPECT_EQ(
      refusal( std::string( "\xff\xfe\x61\x00", 4 ) ),
      "x.yaml:1:1: UTF-16: expected UTF-8" );
   std::string const escape = ": expected it as an escape, in double quotes";
   EXPECT_EQ(
      refusal( std::string( "a: x\0", 6 ) ), "x.yaml:1:5: character U+0000" + escape );
   EXPECT_EQ( refusal( "a: \"\x1b[1m\"" ), "x.yaml:1:5: character U+001B" + escape );
   // One reader of YAML ends a line there and another one does not.
   EXPECT_EQ( refusal( "a: x\xe2\x80\xa8y" ), "x.yaml:1:5: character U+2028" + escape );
   EXPECT_EQ( refusal( "a: x\xc2\x85y" ), "x.yaml:1:5: character U+0085" + escape );
}

TEST( Document, BrokenSyntaxIsOneLineWithItsPlace ) {
   struct Case {
      std::string text;
      std::string complaint;
   };
   for (
      auto const& [ text, expected ] : std::vector< Case >{
         { "a: b: c",
           "1:5: not YAML: a second colon: expected a text with a colon and a space in "
           "quotes, or one key a line" },
         { "a: - 1",
           "1:4: not YAML: \"-\": expected the items of a list in lines of their own" },
         { "a: 1\n- b\n", "2:1: not YAML: \"-\": expected a key as above" },
         { "- a\nb: 1\n", "2:1: not YAML: \"b\": expected \"-\" as above" },
         { "a: \"x\" y\n", "1:8: not YAML: \"y\": expected the end of the line" },
         { "a:{ b: { c: 1 } }\n",
           "1:2: not YAML: a colon without a space behind it: expected one" },
         { "a: @x", "1:4: not YAML: a text that begins with \"@\": expected it in quotes" },
         { "{a: ::1}",
           "1:5: not YAML: a text that begins with \":\" between brackets: expected it in "
           "quotes" },
         { "a: ]", "1:4: not YAML: \"]\": expected a value" },
         { "a: [1,,2]", "1:7: not YAML: \",\": expected a value" },
         { "b: 1\nab\n",
           "2:1: not YAML: \"ab\": expected a key with a colon and a space behind it" },
         { "a: |x\n  b\n", "1:5: not YAML: \"x\": expected the end of the line" },
         { "a: |0\n  b\n", "1:5: not YAML: \"0\": expected an indentation of 1 to 9" },
         { "a: ? b\n", "1:4: not YAML: \"?\": expected a key without it" },
         { "a: &\n", "1:5: not YAML: an anchor or alias without a name: expected one" },
         { "a: \"b\n---\n\"",
           "1:4: not YAML: a quote without an end: expected it to be closed" },
         { "a: \"\\ud800\"",
           "1:7: not YAML: an escape for no character: expected one up to \\U0010ffff, and "
           "none of \\ud800 to \\udfff alone" },
         { "a: \"\\q\"",
           "1:5: not YAML: an escape that is none: expected \"\\\\\" for a "
           "backslash" } } ) {
      EXPECT_EQ( refusal( text ), "x.yaml:" + expected ) << text;
   }
}

TEST( Document, BracketWithoutItsEndIsNamed ) {
   EXPECT_EQ(
      refusal( "{\"a\":1" ), "x.yaml:1:1: not YAML: \"{\" without an end: expected \"}\"" );
   EXPECT_EQ(
      refusal( "a: 1\nb: [1, 2\n\n" ),
      "x.yaml:2:4: not YAML: \"[\" without an end: expected \"]\"" );
   EXPECT_EQ(
      refusal( "a: [1, 2\nb: 3\n" ),
      "x.yaml:2:1: not YAML: \"b\": expected \",\" or \"]\", for the \"[\" in line 1" );
   EXPECT_EQ(
      refusal( "a: {b: 1}}\n" ),
      "x.yaml:1:10: not YAML: \"}\": expected the end of the line" );
}

TEST( Document, QuoteWithoutItsEndIsNamed ) {
   EXPECT_EQ(
      refusal( "name: \"abc\nmounts: { mlagConfig: { enabled: true } }\n" ),
      "x.yaml:1:7: not YAML: a quote without an end: expected it to be closed" );
   std::string const unindented = "x.yaml:1:7: not YAML: a quote that does not end in its "
                                  "line: expected its end, or the "
                                  "lines below it indented";
   EXPECT_EQ( refusal( "name: \"abc\nmounts: {} # \"\n" ), unindented );
   EXPECT_EQ( refusal( "name: 'abc\nmounts: { a: it's }\n" ), unindented );
   EXPECT_EQ( refusal( "name: \"abc\n\n\ta: \"b\"\n" ), unindented );
   EXPECT_EQ(
      refusal( "name: \"abc\n  mounts: { domainId: \"pod1\" }\n" ),
      "x.yaml:1:7: not YAML: a quote that ends in line 2 and is followed by \"pod1\"\": "
      "expected "
      "its end in this line" );
   EXPECT_EQ(
      refusal( "{\"a\": \"b,\n \"c\": 1}" ),
      "x.yaml:1:7: not YAML: a quote that ends in line 2 and is followed by \"c\"\": "
      "expected its "
      "end in this line" );
}

TEST( Document, QuotesMayGoOnInIndentedLines ) {
   EXPECT_EQ( parsed( "a: \"x\n  y\n\n  z\"\nb: 1\n" ).at( "a" ), "x y\nz" );
   EXPECT_EQ( parsed( "- 'x\n  y'\n" ).at( 0 ), "x y" );
   EXPECT_EQ( parsed( "a: &x\n  b: \"x\n   y\"\n" ).at( "a" ).at( "b" ), "x y" );
   EXPECT_EQ( parsed( "a:\n- \"x\n y\"\n" ).at( "a" ).at( 0 ), "x y" );
   EXPECT_EQ( parsed( "\"x\ny\"" ), "x y" );
}

TEST( Document, TabsIndentationAndColonsAreNamed ) {
   EXPECT_EQ(
      refusal( "a:\n\tb: 1\n" ),
      "x.yaml:2:1: not YAML: a tab: expected spaces for indentation" );
   EXPECT_EQ(
      refusal( "a: |\n\tb\n" ),
      "x.yaml:2:1: not YAML: a tab: expected spaces for indentation" );
   EXPECT_EQ(
      refusal( "a:\n  b: 1\n   c: 2\n" ),
      "x.yaml:3:4: not YAML: indented by 3: expected 2 as in line 2, whose value is "
      "complete" );
   EXPECT_EQ(
      refusal( "a:\n    b: 1\n  c: 2\n" ),
      "x.yaml:3:3: not YAML: indented by 2: expected 0 or 4, as a line above is" );
   EXPECT_EQ(
      refusal( "a:\n  - x\n - y\n" ),
      "x.yaml:3:2: not YAML: indented by 1: expected 0 or 2, as a line above is" );
   std::string const colon = ": not YAML: a colon without a space behind it: expected one";
   EXPECT_EQ( refusal( "a:1\nb: 2\n" ), "x.yaml:1:2" + colon );
   EXPECT_EQ( refusal( "b: 2\na:1\n" ), "x.yaml:2:2" + colon );
   EXPECT_EQ( refusal( "a:\n  - b:true\n    c: 1\n" ), "x.yaml:2:6" + colon );
   EXPECT_EQ( refusal( "{a:, b: 1}" ), "x.yaml:1:3" + colon );
}

TEST( Document, AnEscapeThatTheEndCutsIsRefusedWithinTheText ) {
   std::string const cut =
      ": not YAML: an escape without all its digits: expected 2 behind "
      "\"\\x\", 4 behind \"\\u\" and 8 behind \"\\U\"";
   EXPECT_EQ( refusal( "\"\\u" ), "x.yaml:1:4" + cut );
   EXPECT_EQ( refusal( "a: 1\nb: \"\\U12" ), "x.yaml:2:7" + cut );
   EXPECT_EQ( refusal( "\xef\xbb\xbf- 1\n- \"\\x" ), "x.yaml:2:6" + cut );
   EXPECT_EQ( refusal( "{\"a\": \"\\u\"" ), "x.yaml:1:10" + cut );
}

TEST( Document, DeepNestingIsRefusedAndNotACrash ) {
   EXPECT_NE(
      refusal( std::string( 100000, '[' ) ).find( "nested too deeply" ),
      std::string::npos );
   std::string braces;
   for ( int i = 0; i < 100000; ++i ) {
      braces += "{a: ";
   }
   EXPECT_NE( refusal( braces ).find( "nested too deeply" ), std::string::npos );
}

TEST( Document, NestingByAliasesIsRefusedToo ) {
   auto const chain = []( int length ) {
      std::string text = "- &a0 []\n";
      for ( int i = 1; i < length; ++i ) {
         text += fmt::format( "- &a{} [ *a{} ]\n", i, i - 1 );
      }
      return text;
   };
   EXPECT_EQ( refusal( chain( 400 ) ), "" );
   EXPECT_EQ(
      refusal( chain( 200000 ) ),
      "x.yaml:500:11: nested too deeply: expected at most 500 lists and maps in each "
      "other" );
}

TEST( Document, AliasesCountAsIfWrittenOut ) {
   std::string const text = "- &a [ 1, 2, 3, 4, 5, 6, 7, 8 ]\n- *a\n- *a\n- *a\n";
   constexpr std::size_t arrayLength = 29;
   std::size_t const length = text.size() + 3 * arrayLength;
   EXPECT_NO_THROW( parseDocument( "x.yaml", text, length ) );
   EXPECT_EQ(
      refusal( text, length - 1 ),
      fmt::format(
         "x.yaml:4:3: with what the aliases stand for the file is longer than {} bytes: "
         "expected at most that, or a greater --max-input",
         length - 1 ) );
}

TEST( Document, AliasesOfAliasesDoNotExplode ) {
   std::string text = "- &a0 [ x, x ]\n";
   for ( int i = 1; i < 60; ++i ) {
      text += fmt::format( "- &a{} [ *a{}, *a{} ]\n", i, i - 1, i - 1 );
   }
   EXPECT_NE( refusal( text ).find( "longer than 256 MiB" ), std::string::npos );
}
