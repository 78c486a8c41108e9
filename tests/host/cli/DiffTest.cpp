// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/Diff>

#include "Play"

#include <gmock/gmock.h>

#include <sstream>

namespace ostra {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string const end = "{\"t\":3,\"type\":\"end\",\"state\":{}}\n";

std::string
threePorts( std::string const& delay ) {
   return "mounts:\n"
          "  mlagConfig: { enabled: true, domainId: d, localInterface: Vlan1,\n"
          "    peerAddress: 10.0.0.2, peerLinkIntf: Port-Channel1, reloadDelay: " +
      delay +
      " }\n"
      "  mlagStatus: { mlagState: mlagInactive }\n"
      "  ethPhyIntfStatus: { intfStatus: { Ethernet1-3: {} } }\n"
      "  ethPhyIntfConfig: { intfConfig: { Ethernet1-3: { adminEnabledStateLocal: 1 } } "
      "}\n";
}

// What is told, behind it what is thrown.
std::string
diffOf( std::string const& first, std::string const& second ) {
   std::ostringstream out;
   try {
      diffRuns( { first, second, OSTRA_PLUGIN }, out );
   } catch ( Failure const& failure ) {
      out << static_cast< int >( failure.status() ) << ' ' << failure.what();
   }
   return out.str();
}

TEST( Diff, RunsThatDoTheSameHaveNoDifference ) {
   std::string const file = temporaryFile( "a.yaml", threePorts( "20" ) );
   EXPECT_EQ( diffOf( file, file ), "" );
   std::string recorded;
   for ( Json const& record : play( threePorts( "20" ) ) ) {
      recorded += record.dump() + "\n";
   }
   EXPECT_EQ( diffOf( temporaryFile( "a.ndjson", recorded ), file ), "" );
}

TEST( Diff, InterfacesThatDifferAlikeAreToldTogether ) {
   std::string const first = temporaryFile( "a.yaml", threePorts( "1000" ) );
   std::string const second = temporaryFile(
      "b.yaml",
      threePorts( "1000" ) +
         "events: [ { at: 5, mlagissuCause: { intfStatus: { Ethernet1-2: null } } } ]" );
   EXPECT_EQ(
      diffOf( first, second ),
      "Ethernet1-2 errdisabled: from 00:00:00.000, until 00:16:40.000 in " + first +
         ", from 00:00:00.000, until 00:00:05.000 in " + second +
         "\n1 ostra diff: " + first + ", " + second + ": 1 difference: expected none" );
}

TEST( Diff, MessagesAndStatesAreCompared ) {
   std::string const log = R"({"t":1,"type":"log","id":"A","severity":6,"text":"soon"})";
   std::string const state =
      R"({"t":2,"type":"write","path":["mlagProtoStatus","portsErrdisabledWhen"],"value":2})";
   EXPECT_THAT(
      differences( { "a", log + "\n" + log + "\n" + end }, { "b", state + "\n" + end } ),
      ElementsAre(
         "message \"soon\": at 00:00:01.000, at 00:00:01.000 in a, never in b",
         "mlagProtoStatus.portsErrdisabledWhen: never in a, 2 at 00:00:02.000 in b" ) );
   EXPECT_THAT(
      differences( { "a", log + "\n" + end }, { "b", log + "\n" + end } ), IsEmpty() );
}

// What is said of the stream of a run without its last octets.
std::string
cutOffBy( std::size_t octets ) {
   std::string recorded;
   for ( Json const& record : play( threePorts( "20" ) ) ) {
      recorded += record.dump() + "\n";
   }
   recorded.resize( recorded.size() - octets );
   std::string const file = temporaryFile( "a.ndjson", recorded );
   std::string const said = diffOf( file, file );
   return said.substr( std::min( said.size(), said.find( ':' ) ) );
}

TEST( Diff, AStreamThatWasCutOffIsRefused ) {
   std::size_t const end = play( threePorts( "20" ) ).back().dump().size() + 1;
   EXPECT_EQ( cutOffBy( 1 ), "" );
   EXPECT_EQ( cutOffBy( 2 ), ":13:1: the stream is cut off: expected a whole record" );
   EXPECT_EQ(
      cutOffBy( end - 1 ), ":13:1: the stream is cut off: expected a whole record" );
   EXPECT_EQ(
      cutOffBy( end ),
      ":12:1: the stream is cut off: expected an end record behind this line" );
   EXPECT_EQ(
      cutOffBy( end + 1 ),
      ":12:1: the stream is cut off: expected an end record behind this line" );
   EXPECT_EQ(
      cutOffBy( end + 2 ), ":12:1: the stream is cut off: expected a whole record" );
}

TEST( Diff, WhatIsNoRunIsRefused ) {
   std::string const file =
      temporaryFile( "a.ndjson", "{\"t\":1,\"type\":\"event\",\"index\":0}\nx\n" );
   EXPECT_EQ(
      diffOf( file, file ),
      "2 " + file + ":2:1: no record of an event stream: expected one in each line" );
   EXPECT_EQ( diffOf( "-", file ), "2 ostra diff: \"-\": expected a file" );
}

TEST( Diff, ARecordWithoutWhatItNeedsIsNone ) {
   std::string const whole = temporaryFile( "whole.ndjson", end );
   for ( char const* record : { R"({"t":0,"type":"write"})",
                                R"({"t":"x","type":"event","index":0})",
                                R"({"t":null,"type":"event","index":0})",
                                R"({"t":0,"type":5})",
                                R"({"t":0,"type":""})",
                                R"({"t":0,"type":"log","text":5})",
                                R"({"t":0,"type":"log"})",
                                R"({"t":0,"type":"write","path":[],"value":1})",
                                R"({"t":0,"type":"write","path":["a"],"value":1})",
                                R"({"t":0,"type":"write","path":{"a":1},"value":1})",
                                R"({"t":0,"type":"write","path":["a",2],"value":1})",
                                R"({"t":0,"type":"write","path":["a","b","c"],"value":1})",
                                R"({"t":0,"type":"write","path":["a","b"]})" } ) {
      std::string const file =
         temporaryFile( "a.ndjson", std::string( record ) + "\n" + end );
      EXPECT_EQ(
         diffOf( file, whole ),
         "2 " + file + ":1:1: no record of an event stream: expected one in each line" );
   }
   std::string const two = temporaryFile( "two.ndjson", end + end );
   EXPECT_EQ(
      diffOf( two, whole ), "2 " + two + ":2:1: a record behind the end: expected none" );
}

} // namespace
} // namespace ostra
