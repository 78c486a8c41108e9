// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/ParsedJson>

#include <gtest/gtest.h>

#include <string>

using ostra::Json;
using ostra::parsedJson;

TEST( ParsedJson, IsWhatTheLibraryReads ) {
   for ( std::string const text :
         { "null",
           "true",
           "-3",
           "18446744073709551615",
           "0.5",
           "\"a\\u00e4\\n\"",
           "[]",
           "{}",
           "[[],{},[{}]]",
           R"({"b":1,"a":{"z":[1,{"y":null}],"x":"t"},"c":[false,[2.5]]})",
           "  { \"b\" : [ ] , \"a\" : { } }\n",
           "",
           "{",
           "[1,]",
           "{\"a\":1,}",
           "{\"a\"}",
           "1 2",
           "\"\xff\"" } ) {
      Json const expected = Json::parse( text, nullptr, false );
      Json const parsed = parsedJson( text );
      EXPECT_EQ( parsed.is_discarded(), expected.is_discarded() ) << text;
      if ( !expected.is_discarded() ) {
         EXPECT_EQ( parsed.dump(), expected.dump() ) << text;
         EXPECT_EQ( parsed, expected ) << text;
      }
   }
}

// With as many looks at members as there are pairs of them it would take hours.
TEST( ParsedJson, HasObjectsOfAMillionMembers ) {
   std::string text = "{";
   for ( int i = 0; i < 1'000'000; ++i ) {
      text += "\"Ethernet" + std::to_string( i ) + "\":1,";
   }
   text.back() = '}';
   EXPECT_EQ( parsedJson( text ).size(), 1'000'000U );
}
