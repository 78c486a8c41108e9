// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "JsonState"
#include "Play"

#include <host/run/Run>
#include <host/text/EventText>
#include <host/web/HtmlSink>
#include <host/web/Page>

#include <gmock/gmock.h>

#include <map>
#include <sstream>
#include <utility>

namespace ostra {

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;
using namespace std::string_literals;

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

// Each as "type name".
std::vector< std::string >
startsOf( std::string const& page ) {
   std::vector< std::string > told;
   for ( Json const& record : jsonLines( recordsIn( page ) ) ) {
      std::string const type = record.at( "type" );
      if ( type == "start" || type == "against" || type == "end" ) {
         told.push_back( type + " " + record.value( "name", "" ) );
      }
   }
   return told;
}

} // namespace

TEST( HtmlSink, HasThePageAroundRecordsThatCannotEndIt ) {
   std::string const records = recordsIn( pageOf( leaf ) );
   EXPECT_EQ( records.find( '<' ), records.npos );
   EXPECT_EQ( jsonLines( records ).front().at( "name" ), "</script><b>leaf" );
   EXPECT_EQ( ofType( jsonLines( records ), "end" ).at( 0 ).at( "isTimerLeft" ), false );
   std::string const early = recordsIn( pageOf( leaf + "until: 200\n"s ) );
   EXPECT_EQ( ofType( jsonLines( early ), "end" ).at( 0 ).at( "isTimerLeft" ), true );
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

// What it was released for says nothing of a port that has changed.
TEST( HtmlSink, TellsTheReasonOfAReleaseAsLongAsThePortIsTheSame ) {
   auto const told = portsTold( jsonLines( recordsIn( pageOf( leaf + std::string( R"(
  - at: 400
    ethPhyIntfStatus: { intfStatus: { Ethernet2: {} } }
    lagInputConfig: { phyIntf: { Ethernet3: null } }
  - at: 500
    ethPhyIntfConfig: { intfConfig: { Ethernet1: { adminEnabledStateLocal: 1 } } }
)" ) ) ) ) );
   std::vector< std::string > const late( told.begin() + 6, told.end() );
   EXPECT_THAT(
      late,
      ElementsAre(
         "400 Ethernet2 nonMlag notHeld the reload delay is over",
         "400 Ethernet3 nonMlag notHeld the reload delay is over",
         "500 Ethernet1 mlag notHeld delay over" ) );
}

TEST( HtmlSink, TellsNothingAgainThatHasNotChanged ) {
   std::string scenario = leaf;
   for ( int i = 1; i < 20; ++i ) {
      scenario += fmt::format(
         "  - {{ at: {}, mlagConfig: {{ domainId: d{} }} }}\n", 100 + i / 10.0, i );
   }
   auto const records = jsonLines( recordsIn( pageOf( scenario ) ) );
   EXPECT_EQ( ofType( records, "periods" ).size(), 2U );
   EXPECT_EQ( ofType( records, "ports" ).size(), 3U );
   EXPECT_EQ( ofType( records, "event" ).size(), 20U );
}

TEST( HtmlSink, TellsThePeriodsInTheTimeOfTheRun ) {
   auto const periods = ofType( jsonLines( recordsIn( pageOf( leaf ) ) ), "periods" );
   ASSERT_EQ( periods.size(), 2U );
   EXPECT_EQ(
      periods[ 0 ].at( "mlag" ), Json::parse( R"({"state":"held","start":0,"end":300})" ) );
   EXPECT_EQ( periods[ 1 ].at( "t" ), 300 );
   EXPECT_EQ( periods[ 1 ].at( "nonMlag" ).at( "state" ), "released" );
}

TEST( HtmlSink, ComparesRunsAndRecordedStreams ) {
   RunOptions options;
   options.input.plugin = OSTRA_PLUGIN;
   options.input.scenario = temporaryFile( "one.yaml", leaf );
   options.format = RunFormat::ndjson;
   std::ostringstream recorded;
   runScenario( options, recorded );
   // An editor may have put its mark in front.
   std::string const stream =
      temporaryFile( "one.ndjson", "\xef\xbb\xbf" + recorded.str() );

   options.format = RunFormat::html;
   options.against = stream;
   std::ostringstream first;
   runScenario( options, first );
   EXPECT_THAT(
      startsOf( first.str() ),
      ElementsAre(
         "start </script><b>leaf", "end ", "against ", "start one.ndjson", "end " ) );
   EXPECT_EQ( recordsIn( first.str() ).find( '<' ), std::string::npos );

   std::swap( options.input.scenario, options.against );
   std::ostringstream second;
   runScenario( options, second );
   EXPECT_THAT(
      startsOf( second.str() ),
      ElementsAre(
         "start one.ndjson", "end ", "against ", "start </script><b>leaf", "end " ) );

   options.against.reset();
   std::ostringstream alone;
   runScenario( options, alone );
   EXPECT_THAT( startsOf( alone.str() ), ElementsAre( "start one.ndjson", "end " ) );
}

TEST( HtmlSink, RefusesWhatIsNoRecordOfAStream ) {
   RunOptions options;
   options.input.plugin = OSTRA_PLUGIN;
   options.format = RunFormat::html;
   for ( auto const& [ text, complaint ] : std::map< std::string, std::string >{
            { "{\"t\":0,\"type\":\"end\"}\n{\"t\":\n",
              ":2: no JSON: expected a record of `ostra run --format ndjson`" },
            { "{\"t\":0}\n",
              ":1: no record: expected a record of `ostra run --format ndjson`" } } ) {
      std::string const path = temporaryFile( "wrong.ndjson", text );
      options.input.scenario = path;
      std::ostringstream out;
      try {
         runScenario( options, out );
         ADD_FAILURE() << text;
      } catch ( Failure const& failure ) {
         EXPECT_EQ( failure.what(), path + complaint );
         EXPECT_EQ( failure.status(), ExitStatus::badInput );
      }
      EXPECT_EQ( out.str(), "" );
   }
}

// A stream has the state alone, and what a port is is not to be found out in another place.
TEST( HtmlSink, TellsOfAStreamWhatEachPortIsAtItsEnd ) {
   RunOptions options;
   options.input.plugin = OSTRA_PLUGIN;
   options.format = RunFormat::ndjson;
   options.input.scenario = temporaryFile( "whole.yaml", leaf );
   std::ostringstream stream;
   runScenario( options, stream );
   options.format = RunFormat::html;
   options.input.scenario = temporaryFile( "whole.ndjson", stream.str() );
   std::ostringstream page;
   runScenario( options, page );
   auto const told = ofType( jsonLines( recordsIn( page.str() ) ), "places" );
   ASSERT_EQ( told.size(), 1U );
   EXPECT_EQ( told[ 0 ].at( "t" ), 300 );
   // Ethernet2 was held and has gone.
   EXPECT_EQ(
      told[ 0 ].at( "places" ),
      Json::parse( R"({"Ethernet1":["mlag","Port-Channel10"],"Ethernet2":["nonMlag",null],
         "Ethernet3":["peerLink","Port-Channel1000"],"Management1":["management",null]})" ) );

   // What is no state of a switch has no ports.
   options.input.scenario = temporaryFile(
      "other.ndjson",
      "{\"t\":0,\"type\":\"write\",\"path\":[\"mlagissuCause\",\"intfStatus\",\"x\"],"
      "\"value\":1}\n{\"t\":1,\"type\":\"end\",\"state\":{\"x\":1}}\n" );
   std::ostringstream other;
   runScenario( options, other );
   EXPECT_EQ(
      ofType( jsonLines( recordsIn( other.str() ) ), "places" ).at( 0 ).at( "places" ),
      Json::object() );
}

TEST( HtmlSink, AStreamThatWasCutOffIsShownUpToThere ) {
   RunOptions options;
   options.input.plugin = OSTRA_PLUGIN;
   options.format = RunFormat::html;
   options.input.scenario = temporaryFile(
      "cut.ndjson", "{\"t\":0,\"type\":\"event\",\"index\":0}\n{\"t\":5,\"type\":\"wri" );
   std::ostringstream out;
   runScenario( options, out );
   auto const records = jsonLines( recordsIn( out.str() ) );
   ASSERT_EQ( records.size(), 2U );
   EXPECT_EQ( records[ 1 ].at( "type" ), "event" );
}

TEST( HtmlSink, SaysWhyARunHasFailed ) {
   JsonState const state( Json::object() );
   ScenarioTime const time( Milliseconds( 0 ) );
   std::ostringstream out;
   HtmlSink sink( out, labelledEventText );
   sink.start( {}, state );
   sink.end( Milliseconds( 1500 ), { true, "no child today" } );
   Json const end = jsonLines( recordsIn( out.str() ) ).back();
   EXPECT_EQ( end.at( "t" ), 1.5 );
   EXPECT_EQ( end.at( "failure" ), "no child today" );
   Json const whole = ofType( jsonLines( recordsIn( pageOf( leaf ) ) ), "end" ).at( 0 );
   EXPECT_FALSE( whole.contains( "failure" ) );
}

TEST( HtmlSink, TellsTheAlarmsAtTheEnd ) {
   auto const none = ofType( jsonLines( recordsIn( pageOf( leaf ) ) ), "alarms" );
   EXPECT_EQ( none.at( 0 ).at( "alarms" ), Json::array() );
   auto const told = ofType(
      jsonLines( recordsIn( pageOf( leaf + R"(
  - at: 200
    mlagConfig: { reloadDelay: .inf }
)"s ) ) ),
      "alarms" );
   ASSERT_EQ( told.size(), 1U );
   Json const& alarm = told[ 0 ].at( "alarms" ).at( 0 );
   EXPECT_EQ( told[ 0 ].at( "t" ), 200 );
   EXPECT_EQ( alarm.at( "kind" ), "heldWithoutEnd" );
   EXPECT_EQ( alarm.at( "interface" ), "Ethernet1" );
   EXPECT_NE( alarm.at( "text" ), "" );
}

TEST( HtmlSink, TellsWhatAnEventIsCalledAndDoes ) {
   auto const told = ofType(
      jsonLines( recordsIn( pageOf( leaf + R"(
  - { at: 150, label: "a <b>cable</b>\n is back",
      ethPhyIntfStatus: { intfStatus: { Ethernet2: {} } } }
)"s ) ) ),
      "event" );
   ASSERT_EQ( told.size(), 2U );
   EXPECT_EQ( told[ 0 ].at( "text" ), "Ethernet2 disappears" );
   EXPECT_EQ( told[ 1 ].at( "text" ), "a <b>cable</b> is back: Ethernet2 appears" );
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
