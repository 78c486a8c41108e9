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
      differences( { "a", log + "\n" + log + "\n" }, { "b", state + "\n" } ),
      ElementsAre(
         "message \"soon\": at 00:00:01.000, at 00:00:01.000 in a, never in b",
         "mlagProtoStatus.portsErrdisabledWhen: never in a, 2 at 00:00:02.000 in b" ) );
   EXPECT_THAT( differences( { "a", log }, { "b", log } ), IsEmpty() );
}

TEST( Diff, WhatIsNoRunIsRefused ) {
   std::string const file =
      temporaryFile( "a.ndjson", "{\"t\":1,\"type\":\"event\",\"index\":0}\nx\n" );
   EXPECT_EQ(
      diffOf( file, file ),
      "2 " + file + ":2:1: no record of an event stream: expected one in each line" );
   EXPECT_EQ( diffOf( "-", file ), "2 ostra diff: \"-\": expected a file" );
}

} // namespace
} // namespace ostra
