// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/Document>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace ostra {
namespace {

std::string
writtenOut( std::string const& text, std::size_t maxInput = defaultMaxInput ) {
   try {
      return toJson( parseScenario( "x.yaml", text, maxInput ).root() ).dump();
   } catch ( Failure const& failure ) {
      return failure.what();
   }
}

TEST( RangeKeys, StandForAnEntryOfEachInterface ) {
   EXPECT_EQ(
      writtenOut( "a: { Vlan9: 1, Ethernet2-3: { b: [ x ] }, Vlan1: 2 }" ),
      R"({"a":{"Vlan9":1,"Ethernet2":{"b":["x"]},"Ethernet3":{"b":["x"]},"Vlan1":2}})" );
   EXPECT_EQ(
      writtenOut( "Ethernet1/1-2,3: null\n\"Port-Channel1-2, Vlan4\": true\n" ),
      R"({"Ethernet1/1":null,"Ethernet1/2":null,"Ethernet3":null,)"
      R"("Port-Channel1":true,"Port-Channel2":true,"Vlan4":true})" );
}

TEST( RangeKeys, AreTextsInADocumentThatIsNoScenario ) {
   EXPECT_EQ(
      toJson( parseDocument( "x.yaml", "Ethernet1-2: 1" ).root() ).dump(),
      R"({"Ethernet1-2":1})" );
}

TEST( RangeKeys, MalformedOnesStayAsTheyAre ) {
   EXPECT_EQ( writtenOut( "Ethernet2-1: 1" ), R"({"Ethernet2-1":1})" );
   EXPECT_EQ( writtenOut( "name: Ethernet1-2" ), R"({"name":"Ethernet1-2"})" );
}

TEST( RangeKeys, AnInterfaceThatIsThereTwiceIsADuplicate ) {
   for ( char const* text : { "a:\n  Ethernet2: 1\n  Ethernet1-3: 2\n",
                              "a:\n  Ethernet1-3: 2\n  Ethernet2: 1\n",
                              "a:\n  Ethernet1-2: 2\n  Ethernet2-3: 1\n" } ) {
      EXPECT_EQ(
         writtenOut( text ),
         "x.yaml:3:3: duplicate key \"Ethernet2\", first in line 2: expected it once" );
   }
   EXPECT_EQ(
      writtenOut( "a: { Ethernet1-2: 1 }\nb: { Ethernet2: 1 }" ),
      R"({"a":{"Ethernet1":1,"Ethernet2":1},"b":{"Ethernet2":1}})" );
}

TEST( RangeKeys, NumbersOfTheInterfaceStandInTexts ) {
   EXPECT_EQ(
      writtenOut( "Port-Channel9-10: { id: $1, all: [ 'a$1/$1b', $5, $, 7 ] }" ),
      R"({"Port-Channel9":{"id":"9","all":["a9/9b","$5","$",7]},)"
      R"("Port-Channel10":{"id":"10","all":["a10/10b","$5","$",7]}})" );
   EXPECT_EQ(
      writtenOut( "Ethernet3-4/1: $2.$1" ),
      R"({"Ethernet3/1":"1.3","Ethernet4/1":"1.4"})" );
   EXPECT_EQ( writtenOut( "Port-Channel9: $1" ), R"({"Port-Channel9":"$1"})" );
   EXPECT_EQ(
      writtenOut( "a:\n  Ethernet3-4: [ x, $2 ]" ),
      "x.yaml:2:21: \"$2\": Ethernet3 has no $2: expected $1" );
   EXPECT_EQ(
      writtenOut( "Ethernet3-4/1: $3" ),
      "x.yaml:1:16: \"$3\": Ethernet3/1 has no $3: expected $1 to $2" );
}

TEST( RangeKeys, AliasesStandForWhatTheyName ) {
   EXPECT_EQ(
      writtenOut( "t: &t { id: $1, z: &z [ 1 ] }\nPort-Channel1-2: *t\nu: [ *t, *z ]" ),
      R"({"t":{"id":"$1","z":[1]},"Port-Channel1":{"id":"1","z":[1]},)"
      R"("Port-Channel2":{"id":"2","z":[1]},"u":[{"id":"$1","z":[1]},[1]]})" );
   EXPECT_EQ(
      writtenOut( "Port-Channel1-2: &t { id: $1 }\nPort-Channel5-6: *t\nx: *t" ),
      R"({"Port-Channel1":{"id":"1"},"Port-Channel2":{"id":"2"},)"
      R"("Port-Channel5":{"id":"5"},"Port-Channel6":{"id":"6"},"x":{"id":"$1"}})" );
   EXPECT_EQ(
      writtenOut( "a: &k Ethernet1-2\n*k : 1\nc: { Ethernet1-3: &v x }\nd: [ *v ]" ),
      R"({"a":"Ethernet1-2","Ethernet1":1,"Ethernet2":1,)"
      R"("c":{"Ethernet1":"x","Ethernet2":"x","Ethernet3":"x"},"d":["x"]})" );
}

TEST( RangeKeys, PlacesAreThoseOfTheRange ) {
   auto const document = parseScenario( "x.yaml", "a:\n  Ethernet1-2:\n    b: 1\n" );
   int count = 0;
   Item( document ).forEachEntry( "", [ & ]( Item const& a ) {
      a.forEachEntry( "", [ & ]( Item const& port ) {
         EXPECT_EQ( port.key(), fmt::format( "Ethernet{}", ++count ) );
         EXPECT_EQ( port.keyPlace().line, 2u );
         EXPECT_EQ( port.keyPlace().column, 3u );
         EXPECT_EQ( port.path(), "a.Ethernet1-2" );
         port.forEachEntry(
            "", []( Item const& b ) { EXPECT_EQ( b.path(), "a.Ethernet1-2.b" ); } );
      } );
   } );
   EXPECT_EQ( count, 2 );
}

TEST( RangeKeys, CountAsIfWrittenOut ) {
   std::string const text = "a: { Ethernet1-60000: [ 0123456789 ] }";
   EXPECT_EQ(
      writtenOut( text, 100000 ),
      "x.yaml:1:6: with what the ranges stand for the file is longer than 100000 bytes: "
      "expected at most that, or a greater --max-input" );
   EXPECT_EQ( writtenOut( text, mebibyte * 4 ).size(), 1848901u );
   std::string nested = "1";
   for ( int i = 0; i < 400; ++i ) {
      nested = "{ Ethernet1-60000: " + nested + " }";
   }
   EXPECT_NE(
      writtenOut( nested ).find( "the file is longer than 256 MiB" ), std::string::npos );
}

} // namespace
} // namespace ostra
