// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The summary of a run, as an object and as a table, of scenarios that are really played.

#include "Play"

#include <host/base/IntfRanges>

#include <gmock/gmock.h>
#include <support/Examples>

#include <algorithm>
#include <map>

namespace ostra {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char rack[] = R"(
name: rack
startTime: 1000
mounts:
  mlagConfig:
    enabled: true
    domainId: d
    localInterface: Vlan4094
    peerAddress: 10.0.0.2
    peerLinkIntf: Port-Channel1000
    reloadDelay: 300
    reloadDelayNonMlagConfigured: true
    reloadDelayNonMlag: 330
    intfConfig: { Port-Channel10: { mlagId: $1 } }
  mlagStatus: { mlagState: mlagSecondary }
  mlagProtoStatus: { holdInSecondary: true }
  ethPhyIntfStatus: { intfStatus: { "Ethernet1-3,48": {}, Management1: {} } }
  ethPhyIntfConfig: { intfConfig: { Ethernet1-3: { adminEnabledStateLocal: enabled } } }
  lagInputIntfStatus: { intfStatus: { Port-Channel10: {} } }
  lagInputConfig:
    phyIntf:
      Ethernet1: { lag: Port-Channel10, mode: lacpActive }
      Ethernet48: { lag: Port-Channel1000, mode: lacpActive }
)";

std::string
rackWith( std::string const& rest ) {
   return rack + rest;
}

std::string
printed( RunFormat format, std::string const& scenario, char const* only = nullptr ) {
   RunOptions options;
   options.input.scenario = temporaryFile( "summarised.yaml", scenario );
   options.input.plugin = OSTRA_PLUGIN;
   options.format = format;
   options.colour = Colour::never;
   if ( only ) {
      options.narrowing.interfaces = interfacesOf( only );
   }
   std::ostringstream out;
   runScenario( options, out );
   return out.str();
}

Json
summaryOf( std::string const& scenario, char const* only = nullptr ) {
   return Json::parse( printed( RunFormat::json, scenario, only ) );
}

Json
portIn( Json const& summary, std::string const& name ) {
   for ( Json const& port : summary.at( "ports" ) ) {
      if ( port.at( "interface" ) == name ) {
         return port;
      }
   }
   return nullptr;
}

// "errdisable mlag 0 300 delay over".
std::vector< std::string >
holdsOf( Json const& interface ) {
   std::vector< std::string > texts;
   for ( Json const& hold : interface.at( "holds" ) ) {
      texts.push_back( fmt::format(
         "{} {} {} {} {}",
         hold.at( "kind" ).get< std::string >(),
         hold.at( "class" ).get< std::string >(),
         hold.at( "since" ).dump(),
         hold.at( "released" ).dump(),
         hold.at( "reason" ).get< std::string >() ) );
   }
   return texts;
}

// By interface, the times at which it was put into the cause and taken out.
using Times = std::map< std::string, std::vector< std::pair< Json, Json > > >;

Times
timesInStream( std::vector< Json > const& records ) {
   Times times;
   for ( Json const& write : ofType( records, "write" ) ) {
      if ( write.at( "path" ).at( 0 ) != "mlagissuCause" ) {
         continue;
      }
      auto& of = times[ write.at( "path" ).at( 2 ) ];
      bool const isOpen = !of.empty() && of.back().second.is_null();
      if ( write.at( "value" ).is_null() ) {
         if ( !isOpen ) {
            of.emplace_back( nullptr, nullptr );
         }
         of.back().second = write.at( "t" );
      } else if ( !isOpen ) {
         of.emplace_back( write.at( "t" ), nullptr );
      }
   }
   return times;
}

Times
timesInSummary( Json const& summary ) {
   Times times;
   for ( Json const& port : summary.at( "ports" ) ) {
      for ( Json const& hold : port.at( "holds" ) ) {
         // One from before the run that goes on is in no record.
         if ( !hold.at( "since" ).is_null() || !hold.at( "released" ).is_null() ) {
            times[ port.at( "interface" ) ].emplace_back(
               hold.at( "since" ), hold.at( "released" ) );
         }
      }
   }
   return times;
}

class SummarisedExample : public testing::TestWithParam< std::string > {};

} // namespace

TEST( RunSummary, SaysWhatTheRunComesTo ) {
   Json const summary = summaryOf( rackWith( "" ) );
   EXPECT_EQ( summary.at( "name" ), "rack" );
   EXPECT_EQ( summary.at( "startTime" ), 1000 );
   EXPECT_EQ( summary.at( "end" ), 330 );
   EXPECT_EQ( summary.at( "isTimerLeft" ), false );
   EXPECT_EQ( summary.at( "classes" ), Json::parse( R"({
      "mlag": { "delay": 300, "periods": [ { "start": 0, "end": 300 } ],
                "held": 1, "stillHeld": 0 },
      "nonMlag": { "delay": 330, "periods": [ { "start": 0, "end": 330 } ],
                   "held": 2, "stillHeld": 0 } })" ) );
   EXPECT_EQ( portIn( summary, "Ethernet1" ), Json::parse( R"({
      "interface": "Ethernet1", "class": "mlag", "portChannel": "Port-Channel10",
      "isPresent": true, "state": "notHeld", "reason": "delay over",
      "holds": [ { "kind": "errdisable", "class": "mlag", "since": 0, "released": 300,
                   "reason": "delay over" } ] })" ) );
   EXPECT_EQ( portIn( summary, "Ethernet48" ), Json::parse( R"({
      "interface": "Ethernet48", "class": "peerLink", "portChannel": "Port-Channel1000",
      "isPresent": true, "state": "notHeld",
      "reason": "never held: it is in the peer link", "holds": [] })" ) );
   EXPECT_EQ( portIn( summary, "Management1" ).at( "class" ), "management" );
   EXPECT_EQ( summary.at( "ports" ).size(), 5U );
   EXPECT_THAT( summary.at( "portChannels" ), IsEmpty() );
   ASSERT_EQ( summary.at( "announcements" ).size(), 4U );
   EXPECT_EQ( summary.at( "announcements" ).at( 0 ), Json::parse( R"({
      "t": 225, "id": "MLAG_RELOAD_DELAY_ENDING", "severity": 6,
      "text": "Mlag reload-delay period will end in 75 seconds" })" ) );
   EXPECT_EQ( summary.at( "snoopingForced" ), Json( { "Port-Channel10" } ) );
   EXPECT_THAT( summary.at( "missingConfig" ), IsEmpty() );
}

TEST( RunSummary, APeriodEndsOnTimeAlsoWhereNoPortIsReleasedThen ) {
   Json const summary = summaryOf( rackWith(
      "events: [ { at: 1, ethPhyIntfStatus: { intfStatus: { Ethernet1: null } } } ]\n" ) );
   EXPECT_EQ(
      summary.at( "classes" ).at( "mlag" ).at( "periods" ),
      Json::parse( R"([ { "start": 0, "end": 300 } ])" ) );
}

TEST( RunSummary, APeriodThatIsNotOverHasNoEnd ) {
   Json const summary = summaryOf( rackWith( "until: 310\n" ) );
   EXPECT_EQ( summary.at( "isTimerLeft" ), true );
   EXPECT_EQ( summary.at( "classes" ).at( "nonMlag" ), Json::parse( R"({
      "delay": 330, "periods": [ { "start": 0, "end": null } ], "held": 2, "stillHeld": 2 })" ) );
   EXPECT_EQ( portIn( summary, "Ethernet2" ).at( "state" ), "held" );
   EXPECT_EQ(
      portIn( summary, "Ethernet2" ).at( "reason" ),
      "still held, until the delay of 330 s is over" );
   EXPECT_THAT(
      holdsOf( portIn( summary, "Ethernet2" ) ),
      ElementsAre(
         "errdisable nonMlag 0 null still held, until the delay of 330 s is over" ) );
}

TEST( RunSummary, APortThatGoesAndComesBackHasTwoHolds ) {
   Json const summary = summaryOf( rackWith( R"(
events:
  - { at: 97.25, ethPhyIntfStatus: { intfStatus: { "Ethernet1,3": null } } }
  - { at: 98, ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } } }
)" ) );
   EXPECT_THAT(
      holdsOf( portIn( summary, "Ethernet1" ) ),
      ElementsAre(
         "errdisable mlag 0 97.25 interface gone", "errdisable mlag 98 300 delay over" ) );
   Json const gone = portIn( summary, "Ethernet3" );
   EXPECT_EQ( gone.at( "isPresent" ), false );
   EXPECT_EQ( gone.at( "reason" ), "interface gone" );
   EXPECT_EQ( summary.at( "classes" ).at( "mlag" ).at( "held" ), 1 );
}

TEST( RunSummary, APortIsToldInTheClassInWhichItWasHeld ) {
   Json const summary = summaryOf( rackWith( R"(
events:
  - at: 10
    mlagConfig: { intfConfig: { Ethernet2: { mlagId: "2" } } }
)" ) );
   Json const port = portIn( summary, "Ethernet2" );
   EXPECT_EQ( port.at( "class" ), "mlag" );
   EXPECT_EQ( port.at( "holds" ).at( 0 ).at( "class" ), "nonMlag" );
}

TEST( RunSummary, AHeldPortHasTheClassThatItHasAtTheEnd ) {
   Json const summary = summaryOf( rackWith( R"(
  mlagissuCause: { intfStatus: { Management1: 0 } }
events: [ { at: 60, mlagConfig: { peerLinkIntf: Ethernet1 } } ]
until: 100
)" ) );
   Json const port = portIn( summary, "Ethernet1" );
   EXPECT_EQ( port.at( "state" ), "held" );
   EXPECT_EQ( port.at( "class" ), "peerLink" );
   EXPECT_EQ( port.at( "holds" ).at( 0 ).at( "class" ), "mlag" );
   EXPECT_EQ( portIn( summary, "Management1" ).at( "class" ), "management" );
   EXPECT_EQ( portIn( summary, "Ethernet2" ).at( "class" ), "nonMlag" );
}

TEST( RunSummary, TheReportOfADelayThatGoesOnSaysWhatIsLeftOfIt ) {
   EXPECT_THAT(
      printed( RunFormat::text, R"(
startTime: 1000
mounts:
  mlagConfig: { enabled: true, domainId: d, localInterface: Vlan1, peerAddress: 10.0.0.2,
    peerLinkIntf: Port-Channel1, reloadDelay: 60 }
  mlagProtoStatus: { portsErrdisabled: true, portsErrdisabledWhen: 990 }
  ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } }
)" ),
      AllOf(
         HasSubstr( "1 non-MLAG port errdisabled for 50 s: Ethernet1\n" ),
         HasSubstr( "00:00:50.000  released" ) ) );
}

TEST( RunSummary, WhatWasHeldBeforeTheRunHasNoBeginning ) {
   Json const summary = summaryOf( R"(
mounts:
  ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } }
  mlagissuCause: { intfStatus: { Ethernet1: 0, Ethernet2: 0 } }
  lacpConfig: { portChannel: { Port-Channel3: { stayInStandby: true } } }
events:
  - { at: 5, agent: null, mlagissuCause: { intfStatus: { Ethernet1: null } } }
)" );
   EXPECT_THAT( holdsOf( portIn( summary, "Ethernet1" ) ), testing::SizeIs( 1 ) );
   EXPECT_EQ( portIn( summary, "Ethernet1" ).at( "holds" ).at( 0 ).at( "since" ), nullptr );
   EXPECT_THAT( summary.at( "missingConfig" ), testing::Contains( "peerAddress" ) );
}

TEST( RunSummary, WhatNothingReleasesIsSaidToBeSo ) {
   Json const summary = summaryOf( rackWith( "events: [ { at: 5, agent: null } ]\n" ) );
   EXPECT_THAT(
      holdsOf( portIn( summary, "Ethernet1" ) ),
      ElementsAre(
         "errdisable mlag 0 null still held, with nothing there to release it" ) );
   ASSERT_EQ( summary.at( "alarms" ).size(), 3U );
   Json const alarm = summary.at( "alarms" ).at( 0 );
   EXPECT_EQ( alarm.at( "kind" ), "heldWithoutEnd" );
   EXPECT_EQ( alarm.at( "interface" ), "Ethernet1" );
   EXPECT_FALSE( alarm.contains( "since" ) );
}

TEST( RunSummary, LacpStandbyIsOfPortChannels ) {
   std::ifstream file( OSTRA_EXAMPLES "/lacp-standby.yaml" );
   std::stringstream scenario;
   scenario << file.rdbuf();
   Json const summary = summaryOf( scenario.str() + "\nuntil: 100\n" );
   std::map< std::string, std::vector< std::string > > holds;
   for ( Json const& portChannel : summary.at( "portChannels" ) ) {
      holds[ portChannel.at( "interface" ) ] = holdsOf( portChannel );
   }
   EXPECT_THAT(
      holds[ "Port-Channel12" ],
      ElementsAre( testing::StartsWith(
         "lacpStandby mlag 60 null still held, until the delay of 300 s is over" ) ) );
}

TEST( RunSummary, TellsOfTheInterfacesThatAreAskedForAlone ) {
   Json const summary =
      summaryOf( rackWith( "events: [ { at: 5, agent: null } ]\n" ), "Ethernet2" );
   EXPECT_EQ( summary.at( "ports" ).size(), 1U );
   EXPECT_EQ( summary.at( "alarms" ).size(), 1U );
}

TEST( PortTable, HasALineForThePortsOfOneStory ) {
   EXPECT_EQ(
      "\n" + printed( RunFormat::table, rackWith( R"(
events: [ { at: 97.25, ethPhyIntfStatus: { intfStatus: { Ethernet3: null } } } ]
until: 310
)" ) ),
      R"(
interfaces   class       hold        since         released      why
Ethernet1    mlag        errdisable  00:00:00.000  00:05:00.000  delay over
Ethernet3    nonMlag     errdisable  00:00:00.000  00:01:37.250  interface gone
Ethernet2    nonMlag     errdisable  00:00:00.000  -             still held, until the delay of 330 s is over
Management1  management  -           -             -             never held: it is a management port
Ethernet48   peerLink    -           -             -             never held: it is in the peer link
)" );
}

TEST( PortTable, HasTheAlarmsBehindAnEmptyLine ) {
   std::string const text =
      printed( RunFormat::table, rackWith( "events: [ { at: 5, agent: null } ]\n" ) );
   EXPECT_THAT( text, HasSubstr( "peer link\n\n  ALARM" ) );
}

TEST( PortTable, OfAChassisIsAFewLines ) {
   std::ifstream file( OSTRA_EXAMPLES "/chassis/chassis-reload.yaml" );
   std::stringstream scenario;
   scenario << file.rdbuf();
   std::string const text = printed( RunFormat::table, scenario.str() );
   EXPECT_EQ( std::count( text.begin(), text.end(), '\n' ), 9 ) << text;
   EXPECT_THAT(
      text,
      HasSubstr( "Ethernet7/1-30/1                  mlag        errdisable  00:02:30.000  "
                 "00:05:00.000  delay over\n" ) );
}

// Whoever splits a line at its blanks finds the columns.
TEST( PortTable, ColumnsHaveNoBlanks ) {
   std::istringstream lines( printed( RunFormat::table, R"(
mounts:
  ethPhyIntfStatus: { intfStatus: { Ethernet1-2: {}, "Ethernet4,6,8,10,12,14,16,18,20,22,24": {},
    Recirc1: {}, Internal1: {} } }
)" ) );
   std::vector< std::string > first;
   for ( std::string line; std::getline( lines, line ); ) {
      std::istringstream words( line );
      std::vector< std::string > some( 5 );
      for ( std::string& word : some ) {
         words >> word;
      }
      first.push_back( some[ 0 ] );
      EXPECT_THAT( some[ 2 ], testing::AnyOf( "-", "hold" ) ) << line;
   }
   EXPECT_THAT( first, testing::Contains( "Ethernet1-2,4,6,8,10,12,14,16,18,20,22,24" ) );
   EXPECT_THAT( first, testing::Contains( "Internal1,Recirc1" ) );
}

TEST_P( SummarisedExample, SaysOfThePortsWhatItsStreamSays ) {
   std::ifstream file( OSTRA_EXAMPLES "/" + GetParam() + ".yaml" );
   std::stringstream scenario;
   scenario << file.rdbuf();
   auto const records = play( scenario.str() );
   Json const summary = summaryOf( scenario.str() );
   EXPECT_EQ( timesInSummary( summary ), timesInStream( records ) );
   EXPECT_EQ( summary.at( "end" ), records.back().at( "t" ) );
   std::vector< Json > logs = ofType( records, "log" );
   for ( Json& log : logs ) {
      log.erase( "type" );
   }
   EXPECT_EQ( summary.at( "announcements" ), Json( logs ) );
}

INSTANTIATE_TEST_SUITE_P(
   RunSummary,
   SummarisedExample,
   testing::ValuesIn( support::exampleNames() ),
   support::exampleTestName );

} // namespace ostra
