// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "JsonState"
#include "Play"

#include <host/base/IntfRanges>
#include <host/run/NdjsonSink>

#include <gmock/gmock.h>

#include <sstream>

namespace ostra {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

constexpr char fourPorts[] = R"(
mounts:
  mlagConfig:
    enabled: true
    domainId: d
    localInterface: Vlan1
    peerAddress: 10.0.0.2
    peerLinkIntf: Port-Channel1000
    reloadDelay: 300
    intfConfig: { Port-Channel3-5: { mlagId: $1 } }
  mlagStatus: { mlagState: mlagInactive }
  ethPhyIntfStatus: { intfStatus: { Ethernet1-4: {} } }
  ethPhyIntfConfig: { intfConfig: { Ethernet1-4: { adminEnabledStateLocal: 1 } } }
  lagInputIntfStatus: { intfStatus: { Port-Channel3-5: {} } }
  lagInputConfig: { phyIntf: { Ethernet3-4: { lag: Port-Channel$1, mode: 2 } } }
events:
  - { at: 1, label: moves, lagInputConfig: { phyIntf: { Ethernet3: { lag: Port-Channel5 } } } }
)";

RunOptions
only( char const* interfaces ) {
   RunOptions options;
   options.narrowing.interfaces = interfacesOf( interfaces );
   return options;
}

TEST( Narrowed, WritesOfTheOthersAreLeftOut ) {
   auto const records = play( fourPorts, only( "Ethernet1-2" ) );
   EXPECT_THAT(
      writes( records ),
      UnorderedElementsAre(
         "0 mlagProtoStatus/portsErrdisabled true",
         "0 mlagProtoStatus/portsErrdisabledWhen 0",
         "0 mlagissuCause/intfStatus/Ethernet1 0",
         "0 mlagissuCause/intfStatus/Ethernet2 0",
         "300 mlagissuCause/intfStatus/Ethernet1 null",
         "300 mlagissuCause/intfStatus/Ethernet2 null",
         "300 mlagProtoStatus/portsErrdisabled false",
         "300 mlagProtoStatus/portsErrdisabledWhen \"inf\"" ) );
   EXPECT_THAT( ofType( records, "event" ), IsEmpty() );
   EXPECT_EQ(
      records.back().at( "state" ).at( "ethPhyIntfStatus" ).at( "intfStatus" ).size(), 4u );
}

TEST( Narrowed, PortChannelsComeWithTheirPorts ) {
   auto const records = play( fourPorts, only( "Ethernet3" ) );
   std::vector< std::string > forced;
   for ( std::string const& write : writes( records ) ) {
      if ( write.find( "igmpsnoopingConfig" ) != std::string::npos ) {
         forced.push_back( write );
      }
   }
   EXPECT_THAT( forced, Not( IsEmpty() ) );
   EXPECT_THAT( forced, Each( Not( HasSubstr( "Port-Channel4" ) ) ) );
   EXPECT_THAT( forced, testing::Contains( HasSubstr( "Port-Channel3" ) ) );
}

TEST( Narrowed, APortChannelThatAPortComesIntoIsTakenFromThenOn ) {
   JsonState state( Json::parse( R"({"lagInputConfig":{"phyIntf":{"Ethernet3":{}}}})" ) );
   std::ostringstream out;
   NdjsonSink sink( out );
   Narrowed narrowed( sink, { interfacesOf( "Ethernet3" ), {} } );
   Json const patch = Json::parse(
      R"({"lagInputConfig":{"phyIntf":{"Ethernet3":{"lag":"Port-Channel5"}}}})" );
   Path const path = { "igmpsnoopingConfig", "forceEnabledPorts", "Port-Channel5" };
   Json const ofOthers =
      Json::parse( R"({"lagInputConfig":{"phyIntf":{"Ethernet4":{}}}})" );
   narrowed.start( {}, state );
   narrowed.write( Milliseconds( 0 ), { path, true } );
   EXPECT_EQ( out.str(), "" );
   Json all = patch;
   all.merge_patch( ofOthers );
   narrowed.event( Milliseconds( 0 ), { 0, [ & ] { return all; } } );
   state.apply( all );
   narrowed.write( Milliseconds( 0 ), { path, true } );
   EXPECT_THAT( out.str(), HasSubstr( "\"Port-Channel5\"" ) );
}

TEST( Narrowed, OfAnEventOnlyWhatConcernsThemIsTold ) {
   RunOptions options = only( "Ethernet1" );
   std::string const events =
      "  - { at: 2, ethPhyIntfStatus: { intfStatus: { Ethernet1-2: null } } }\n"
      "  - { at: 3, ethPhyIntfStatus: { intfStatus: { Ethernet2: {} } } }\n"
      "  - { at: 4, agent: null }\n"
      "  - { at: 5, mlagStatus: { mlagState: 3 } }\n";
   options.input.scenario = temporaryFile( "scenario.yaml", fourPorts + events );
   options.input.plugin = OSTRA_PLUGIN;
   std::ostringstream out;
   runScenario( options, out );
   EXPECT_THAT( out.str(), HasSubstr( "event 1     Ethernet1 disappears\n" ) );
   EXPECT_THAT( out.str(), Not( HasSubstr( "event 2 " ) ) );
   EXPECT_THAT( out.str(), HasSubstr( "event 3 " ) );
   EXPECT_THAT( out.str(), HasSubstr( "event 4 " ) );
   EXPECT_THAT( out.str(), Not( HasSubstr( "Ethernet2" ) ) );
}

TEST( Narrowed, TheReportCountsTheSame ) {
   RunOptions options = only( "Ethernet1,3" );
   options.input.scenario = temporaryFile( "scenario.yaml", fourPorts );
   options.input.plugin = OSTRA_PLUGIN;
   std::ostringstream out;
   runScenario( options, out );
   EXPECT_THAT( out.str(), HasSubstr( "1 MLAG port errdisabled for 300 s: Ethernet3\n" ) );
   EXPECT_THAT(
      out.str(), HasSubstr( "1 non-MLAG port errdisabled for 300 s: Ethernet1\n" ) );
   EXPECT_THAT( out.str(), HasSubstr( "event 0     moves: " ) );
   EXPECT_THAT( out.str(), Not( HasSubstr( "Ethernet2" ) ) );
}

TEST( Narrowed, ThatNoneOfThemIsHeldSaysNothingOfOthers ) {
   RunOptions options = only( "Port-Channel5" );
   options.input.scenario = temporaryFile( "scenario.yaml", fourPorts );
   options.input.plugin = OSTRA_PLUGIN;
   std::ostringstream out;
   runScenario( options, out );
   EXPECT_THAT(
      out.str(), HasSubstr( "00:00:00.000  held        none of these interfaces\n" ) );
   EXPECT_THAT( out.str(), Not( HasSubstr( "no port to hold is there yet" ) ) );
   EXPECT_THAT(
      out.str(), HasSubstr( "  done          none of these interfaces was held\n" ) );
   options.narrowing.interfaces = interfacesOf( "Ethernet1" );
   std::ostringstream of;
   runScenario( options, of );
   EXPECT_THAT(
      of.str(),
      HasSubstr( "  done          none of these interfaces is held any more\n" ) );
}

TEST( Narrowed, TracesAreThoseOfAHandleOrAFunction ) {
   RunOptions options;
   options.trace = 9;
   auto const all = ofType( play( fourPorts, options ), "trace" );
   ASSERT_THAT( all, Not( IsEmpty() ) );
   for ( char const* key : { "handle", "function" } ) {
      options.narrowing.traces = all.front().at( key );
      auto const some = ofType( play( fourPorts, options ), "trace" );
      ASSERT_THAT( some, Not( IsEmpty() ) );
      for ( Json const& trace : some ) {
         EXPECT_EQ( trace.at( key ), all.front().at( key ) );
      }
   }
   options.narrowing.traces = "no such function";
   EXPECT_THAT( ofType( play( fourPorts, options ), "trace" ), IsEmpty() );
}

std::vector< std::string >
warningsOf( RunOptions options ) {
   options.input.scenario = temporaryFile( "scenario.yaml", fourPorts );
   options.input.plugin = OSTRA_PLUGIN;
   std::ostringstream out;
   return runScenario( options, out );
}

TEST( Narrowed, InterfacesThatTheRunNeverNamesAreWarnedOf ) {
   EXPECT_THAT(
      warningsOf( only( "Ethernet4-7,Port-Channel5,9" ) ),
      ElementsAre( "warning: ostra run: --only: Ethernet5-7, Port-Channel9: not in this "
                   "run: expected interfaces of the scenario" ) );
   // One of the state, one that only an event names, and one that only something refers to.
   for ( char const* named : { "Ethernet1", "Port-Channel5", "Port-Channel1000" } ) {
      EXPECT_THAT( warningsOf( only( named ) ), IsEmpty() ) << named;
   }
   EXPECT_THAT( warningsOf( {} ), IsEmpty() );
}

TEST( Narrowed, TracesThatNeverComeAreWarnedOf ) {
   RunOptions options;
   options.trace = 9;
   options.narrowing.traces = "mlagErrdisablSm";
   EXPECT_THAT(
      warningsOf( options ),
      ElementsAre( "warning: ostra run: --trace-of: \"mlagErrdisablSm\": no trace of this "
                   "run is of it: expected a handle or a function of the plug-in; did you "
                   "mean MlagErrdisableSm?" ) );
   options.narrowing.traces = "x";
   EXPECT_THAT(
      warningsOf( options ),
      ElementsAre( "warning: ostra run: --trace-of: \"x\": no trace of this run is of it: "
                   "expected a handle or a function of the plug-in" ) );
   for ( char const* known : { "MlagErrdisableSm", "handleIntfStatus" } ) {
      options.narrowing.traces = known;
      EXPECT_THAT( warningsOf( options ), IsEmpty() ) << known;
   }
}

} // namespace
} // namespace ostra
