// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The real program plays the examples with the real plug-in. What it must report, line by
// line, stands in the files beside this one:
//
//    ostra run examples/resume.yaml --format ndjson >tests/host/streams/resume.ndjson

#include "Accounts"
#include "Program"

#include <gmock/gmock.h>
#include <support/Examples>

#include <map>
#include <set>

using ostra::Json;
using ostra::jsonLines;
using ostra::ofType;
using ostra::ostraRun;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

std::string
streamOf( std::string const& example ) {
   return OSTRA_EXAMPLES "/../tests/host/streams/" + example + ".ndjson";
}

std::vector< Json >
playExample( std::string const& name ) {
   auto const outcome =
      ostraRun( "run --format ndjson " OSTRA_EXAMPLES "/" + name + ".yaml" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.err, "" );
   return jsonLines( outcome.out );
}

// When each of the errdisabled interfaces was held and released, in seconds.
std::map< std::string, std::vector< double > >
holdTimes( std::vector< Json > const& records ) {
   std::map< std::string, std::vector< double > > times;
   for ( Json const& write : ofType( records, "write" ) ) {
      if ( write.at( "path" ).at( 0 ) == "mlagissuCause" ) {
         times[ write.at( "path" ).at( 2 ) ].push_back( write.at( "t" ) );
      }
   }
   return times;
}

std::vector< std::string >
logs( std::vector< Json > const& records ) {
   std::vector< std::string > texts;
   for ( Json const& log : ofType( records, "log" ) ) {
      texts.push_back( log.at( "t" ).dump() + " " + log.at( "text" ).get< std::string >() );
   }
   return texts;
}

class Example : public testing::TestWithParam< std::string > {};

} // namespace

TEST_P( Example, ReportsExactlyItsStream ) {
   auto const outcome =
      ostraRun( "run --format ndjson " OSTRA_EXAMPLES "/" + GetParam() + ".yaml" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.err, "" );
   EXPECT_EQ( outcome.out, ostra::contentOf( streamOf( GetParam() ) ) );
}

TEST_P( Example, IsValidAndReadsAsAText ) {
   std::string const path = OSTRA_EXAMPLES "/" + GetParam() + ".yaml";
   EXPECT_EQ( ostraRun( "check " + path ).status, 0 );
   auto const outcome = ostraRun( "run " + path );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.err, "" );
   EXPECT_NE( outcome.out, "" );
}

TEST_P( Example, AccountsForEveryPort ) {
   std::string const path = OSTRA_EXAMPLES "/" + GetParam() + ".yaml";
   auto const mountsAtTheEndOf = []( std::string const& arguments ) {
      return jsonLines( ostraRun( "run --format ndjson " + arguments ).out )
         .back()
         .at( "state" );
   };
   EXPECT_EQ(
      ostra::misaccounts(
         ostraRun( "run " + path ).out,
         mountsAtTheEndOf( "--until 0 " + path ),
         mountsAtTheEndOf( path ) ),
      "" );
}

TEST_P( Example, FitsTheNarrowestTerminal ) {
   std::string const path = OSTRA_EXAMPLES "/" + GetParam() + ".yaml";
   std::istringstream report( ostra::shell( "COLUMNS=1 \"$ostra\" run " + path ).out );
   for ( std::string line; std::getline( report, line ); ) {
      EXPECT_LE( line.size(), 60u ) << line;
   }
}

INSTANTIATE_TEST_SUITE_P(
   EndToEnd,
   Example,
   testing::ValuesIn( support::exampleNames() ),
   support::exampleTestName );

TEST( EndToEnd, LeafHoldsEachClassForItsDelay ) {
   auto const times = holdTimes( playExample( "leaf-reload" ) );
   EXPECT_EQ( times.size(), 54u );
   for ( int port = 1; port <= 54; ++port ) {
      std::string const name =
         "Ethernet" + std::to_string( port ) + ( port > 48 ? "/1" : "" );
      double const end = port <= 40 ? 300 : 330;
      if ( port == 7 ) {
         EXPECT_THAT( times.at( name ), ElementsAre( 0, 95, 97.25, 300 ) );
      } else {
         EXPECT_THAT( times.at( name ), ElementsAre( 0, end ) ) << name;
      }
   }
}

TEST( EndToEnd, LeafAnnouncesTheEndOfEachPeriod ) {
   EXPECT_THAT(
      logs( playExample( "leaf-reload" ) ),
      ElementsAre(
         "225 Mlag reload-delay period will end in 75 seconds",
         "247.5 Mlag reload-delay period for non MLAG interfaces will end in 83 seconds",
         "285 Mlag reload-delay period will end in 15 seconds",
         "313.5 Mlag reload-delay period for non MLAG interfaces will end in 17 "
         "seconds" ) );
}

TEST( EndToEnd, LeafEndsWithNothingHeld ) {
   auto const state = playExample( "leaf-reload" ).back().at( "state" );
   EXPECT_TRUE( state.at( "mlagissuCause" ).at( "intfStatus" ).empty() );
   EXPECT_TRUE( state.at( "igmpsnoopingConfig" ).at( "forceEnabledPorts" ).empty() );
   EXPECT_EQ( state.at( "mlagProtoStatus" ).at( "portsErrdisabled" ), false );
   EXPECT_EQ( state.at( "mlagProtoStatus" ).at( "portsErrdisabledWhen" ), "inf" );
}

TEST( EndToEnd, PeerStatusShowsInBothDirectoriesEthernetFirst ) {
   auto const outcome = ostraRun(
      "run - --format ndjson",
      "events:\n"
      "  - { at: 1, peerIntfStatusDir: { intfStatus: { PeerEthernet1: { linkStatus: 2 } } "
      "} }\n"
      "  - { at: 2, peerIntfStatusDir: { intfStatus: { PeerEthernet1: null } } }\n" );
   EXPECT_THAT(
      ostra::writesFrom( 1, jsonLines( outcome.out ) ),
      ElementsAre(
         R"(1 ethIntfStatusDir/intfStatus/PeerEthernet1 {"linkStatus":2})",
         R"(1 allIntfStatusDir/intfStatus/PeerEthernet1 {"linkStatus":2})",
         "2 ethIntfStatusDir/intfStatus/PeerEthernet1 null",
         "2 allIntfStatusDir/intfStatus/PeerEthernet1 null" ) );
}

TEST( EndToEnd, TenThousandPortsAndEventsArePlayed ) {
   Json status = Json::object();
   Json config = Json::object();
   Json events = Json::array();
   for ( int i = 1; i <= 10000; ++i ) {
      std::string const name = "Ethernet" + std::to_string( i );
      ostra::appendMember( status, name, Json::object() );
      ostra::appendMember( config, name, { { "adminEnabledStateLocal", 1 } } );
      events.push_back(
         { { "at", i / 100.0 },
           { "ethPhyIntfStatus", { { "intfStatus", { { name, nullptr } } } } } } );
   }
   Json const scenario = { { "mounts",
                             { { "mlagConfig",
                                 { { "enabled", true },
                                   { "domainId", "d" },
                                   { "localInterface", "Vlan1" },
                                   { "peerAddress", "10.0.0.2" },
                                   { "peerLinkIntf", "Port-Channel1" },
                                   { "reloadDelay", 300 } } },
                               { "mlagStatus", { { "mlagState", 2 } } },
                               { "ethPhyIntfStatus", { { "intfStatus", status } } },
                               { "ethPhyIntfConfig", { { "intfConfig", config } } } } },
                           { "events", events } };
   auto const times =
      holdTimes( jsonLines( ostraRun( "run - --format ndjson", scenario.dump() ).out ) );
   ASSERT_EQ( times.size(), 10000u );
   EXPECT_THAT( times.at( "Ethernet10000" ), ElementsAre( 0, 100 ) );
}
