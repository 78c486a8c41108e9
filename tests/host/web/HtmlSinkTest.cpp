// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Play"

#include <host/web/Page>

#include <gmock/gmock.h>

#include <sstream>

namespace ostra {

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

constexpr char leaf[] = R"(
name: "</script><b>leaf"
startTime: 1000
mounts:
  mlagConfig:
    { enabled: true, domainId: pod1, localInterface: Vlan4094, peerAddress: 10.255.255.2,
      peerLinkIntf: Port-Channel1000, reloadDelay: 300,
      intfConfig: { Port-Channel10: { mlagId: "10" } } }
  mlagStatus: { mlagState: mlagSecondary }
  mlagProtoStatus: { holdInSecondary: true }
  ethPhyIntfStatus:
    intfStatus: { Ethernet1: {}, Ethernet2: {}, Ethernet3: {}, Management1: {} }
  lagInputConfig:
    phyIntf:
      Ethernet1: { lag: Port-Channel10, mode: lacpActive }
      Ethernet3: { lag: Port-Channel1000, mode: lacpActive }
events:
  - at: 100
    ethPhyIntfStatus: { intfStatus: { Ethernet2: null } }
)";

std::string
pageOf( std::string const& scenario ) {
   RunOptions options;
   options.input.scenario = temporaryFile( "scenario.yaml", scenario );
   options.input.plugin = OSTRA_PLUGIN;
   options.format = RunFormat::html;
   std::ostringstream out;
   runScenario( options, out );
   return out.str();
}

// What stands between the halves of the page.
std::string
recordsIn( std::string const& text ) {
   EXPECT_THAT( text, StartsWith( std::string( page::head() ) ) );
   EXPECT_THAT( text, EndsWith( std::string( page::tail() ) ) );
   return text.substr(
      page::head().size() + 1,
      text.size() - page::head().size() - page::tail().size() - 1 );
}

// "100 Ethernet2 notHeld interface gone" of each port that a record tells of.
std::vector< std::string >
portsTold( std::vector< Json > const& records ) {
   std::vector< std::string > told;
   for ( Json const& record : ofType( records, "ports" ) ) {
      for ( Json const& port : record.at( "ports" ) ) {
         told.push_back( fmt::format(
            "{} {} {} {} {}",
            record.at( "t" ).dump(),
            port.at( "interface" ).get< std::string >(),
            port.at( "class" ).get< std::string >(),
            port.at( "state" ).get< std::string >(),
            port.at( "why" ).get< std::string >() ) );
      }
   }
   return told;
}

} // namespace

TEST( HtmlSink, HasThePageAroundRecordsThatCannotEndIt ) {
   std::string const records = recordsIn( pageOf( leaf ) );
   EXPECT_EQ( records.find( '<' ), records.npos );
   EXPECT_EQ( jsonLines( records ).front().at( "name" ), "</script><b>leaf" );
   EXPECT_EQ( jsonLines( records ).back().at( "type" ), "end" );
}

TEST( HtmlSink, TellsOfEachPortWhenItChangesAndWhy ) {
   EXPECT_THAT(
      portsTold( jsonLines( recordsIn( pageOf( leaf ) ) ) ),
      ElementsAre(
         "0 Ethernet1 mlag held ",
         "0 Ethernet2 nonMlag held ",
         "0 Ethernet3 peerLink notHeld in the peer link",
         "0 Management1 management notHeld a management port",
         "100 Ethernet2 nonMlag notHeld interface gone",
         "300 Ethernet1 mlag notHeld delay over" ) );
}

TEST( HtmlSink, TellsThePeriodsInTheTimeOfTheRun ) {
   auto const periods = ofType( jsonLines( recordsIn( pageOf( leaf ) ) ), "periods" );
   ASSERT_EQ( periods.size(), 2U );
   EXPECT_EQ(
      periods[ 0 ].at( "mlag" ), Json::parse( R"({"state":"held","start":0,"end":300})" ) );
   EXPECT_EQ( periods[ 1 ].at( "t" ), 300 );
   EXPECT_EQ( periods[ 1 ].at( "nonMlag" ).at( "state" ), "released" );
}

TEST( HtmlSink, HasTheRecordsOfTheStreamToo ) {
   auto told = jsonLines( recordsIn( pageOf( leaf ) ) );
   auto const streamed = play( leaf );
   EXPECT_EQ( writes( told ), writes( streamed ) );
   EXPECT_EQ( ofType( told, "log" ), ofType( streamed, "log" ) );
   EXPECT_EQ(
      ofType( told, "event" ).at( 0 ).at( "patch" ).dump(),
      R"({"ethPhyIntfStatus":{"intfStatus":{"Ethernet2":null}}})" );
}

} // namespace ostra
