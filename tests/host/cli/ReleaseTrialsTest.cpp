// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/ReleaseTrials>

#include "Play"

#include <host/cli/Input>
#include <host/cli/WhyInRun>
#include <host/run/Diagnostics>
#include <host/text/EventText>
#include <host/web/HtmlSink>

#include <gmock/gmock.h>

#include <set>
#include <sstream>

namespace ostra {
namespace {

using namespace std::chrono_literals;
using testing::Each;
using testing::ElementsAre;

// Ethernet4 waits in LACP standby, Ethernet3 for a delay of its own. Ethernet2 is released by hand,
// the domain changes, Ethernet6 comes, the delay grows, a secondary holds no more.
constexpr char waiting[] = R"(
startTime: 1000
mounts:
  mlagConfig:
    enabled: true
    domainId: pod1
    localInterface: Vlan4094
    peerAddress: 10.255.255.2
    peerLinkIntf: Port-Channel1000
    reloadDelay: 300
    reloadDelayNonMlagConfigured: true
    reloadDelayNonMlag: 330
    lacpStandby: true
    intfConfig: { Port-Channel10: { mlagId: "10" }, Port-Channel11: { mlagId: "11" } }
  mlagStatus: { mlagState: mlagSecondary, systemId: 02:00:00:00:10:01 }
  mlagProtoStatus: { holdInSecondary: true }
  ethPhyIntfStatus: { intfStatus: { Ethernet1-5: {}, Management1: {} } }
  ethPhyIntfConfig: { intfConfig: { Ethernet1-5: { adminEnabledStateLocal: 1 } } }
  lagInputIntfStatus: { intfStatus: { Port-Channel10-11: {} } }
  lacpConfig: { portChannel: { Port-Channel10-11: {} } }
  lacpOverride: { lagIdConfig: { Port-Channel11: 02:00:00:00:10:01 } }
  lagInputConfig:
    phyIntf:
      Ethernet1-2: { lag: Port-Channel10, mode: 2 }
      Ethernet4: { lag: Port-Channel11, mode: 2 }
      Ethernet5: { lag: Port-Channel1000, mode: 2 }
events:
  - { at: 50, mlagissuCause: { intfStatus: { Ethernet2: null } } }
  - { at: 100, mlagConfig: { domainId: pod2 } }
  - { at: 150, ethPhyIntfStatus: { intfStatus: { Ethernet6: {} } } }
  - { at: 200, mlagConfig: { reloadDelay: 320 } }
  - { at: 310, mlagProtoStatus: { holdInSecondary: false } }
)";

std::string
pageOfWaiting( std::optional< std::vector< Kovel::IntfId > > only = {} ) {
   RunOptions options;
   options.input.scenario = temporaryFile( "waiting.yaml", waiting );
   options.input.plugin = OSTRA_PLUGIN;
   options.format = RunFormat::html;
   options.narrowing.interfaces = std::move( only );
   std::ostringstream out;
   runScenario( options, out );
   return out.str();
}

// The records of a type inside a page.
std::vector< Json >
toldIn( std::string const& page, std::string const& type ) {
   std::vector< Json > records;
   std::istringstream lines( page );
   for ( std::string line; std::getline( lines, line ); ) {
      if (
         line.find( "\"type\":\"" + type + "\"" ) != line.npos &&
         line.starts_with( "{\"t\":" ) ) {
         records.push_back( Json::parse( line ) );
      }
   }
   return records;
}

// What is held at that time, with its class and how.
HeldPorts
heldAt( std::string const& page, double time ) {
   HeldPorts held;
   for ( Json const& record : toldIn( page, "ports" ) ) {
      if ( record.at( "t" ) > time ) {
         break;
      }
      for ( Json const& port : record.at( "ports" ) ) {
         std::string const name = port.at( "interface" );
         std::string const state = port.at( "state" );
         held.erase( name );
         if ( state != "notHeld" ) {
            held[ name ] = port.at( "class" ).get< std::string >() +
               ( state == "standby" ? " lacpStandby" : " errdisable" );
         }
      }
   }
   return held;
}

// Of a port, each meaning with what is said of it.
std::map< std::string, Json >
answersIn( Json const& changes, std::string const& port, std::string const& kind ) {
   std::map< std::string, Json > answers;
   for ( Json const& change : changes ) {
      Json const& releases = change.at( "releases" );
      Json const answer = !releases.is_object() ? releases
         : releases.contains( port )            ? releases.at( port )
                                                : releases.value( kind, Json() );
      answers[ change.at( "meaning" ) ] = answer;
   }
   return answers;
}

// The same, as each is asked by itself of a run of its own.
std::map< std::string, Json >
answersOfWhy( std::string const& port, double time ) {
   WhyOptions options;
   options.input.scenario = temporaryFile( "waiting.yaml", waiting );
   options.input.plugin = OSTRA_PLUGIN;
   options.interface = port;
   options.at = Milliseconds( std::llround( time * 1000 ) );
   options.isJson = true;
   std::ostringstream out;
   tellWhyInRun( options, out );
   Json const why = Json::parse( out.str() );
   std::map< std::string, Json > answers;
   for ( Json const& change : why.at( "changes" ) ) {
      std::string const meaning = change.at( "meaning" );
      answers
         [ meaning.starts_with( "released by hand" ) ? "it is released by hand"
                                                     : meaning ] = change.at( "releases" );
   }
   return answers;
}

std::vector< double >
timesOf( std::vector< Json > const& records ) {
   std::vector< double > times;
   for ( Json const& record : records ) {
      times.push_back( record.at( "t" ) );
   }
   return times;
}

TEST( ReleaseTrials, SayOfEachPortWhatWhySaysOfItAlone ) {
   std::string const page = pageOfWaiting();
   std::vector< Json > const told = toldIn( page, "releasers" );
   std::set< std::string > seen;
   for ( Json const& record : told ) {
      double const time = record.at( "t" );
      for ( auto const& [ port, kind ] : heldAt( page, time ) ) {
         auto const answers = answersIn( record.at( "changes" ), port, kind );
         for ( auto const& [ meaning, releases ] : answersOfWhy( port, time ) ) {
            if ( answers.contains( meaning ) ) {
               EXPECT_EQ( answers.at( meaning ), releases ) << time << port << meaning;
               seen.insert( meaning );
            }
         }
      }
   }
   // All but those of a port-channel alone.
   EXPECT_THAT(
      seen,
      ElementsAre(
         "MLAG is disabled",
         "a secondary does not hold ports",
         "it is released by hand",
         "no port-channel waits in LACP standby",
         "the MLAG state becomes mlagInactive",
         "the MLAG state becomes mlagPrimary",
         "there is no reload delay" ) );
}

// A port that is no longer held, one more of a class or another delay changes no answer; what could
// be changed is another thing in another state.
TEST( ReleaseTrials, AreToldWhenTheAnswersChange ) {
   EXPECT_THAT( timesOf( toldIn( pageOfWaiting(), "releasers" ) ), ElementsAre( 0, 310 ) );
}

TEST( ReleaseTrials, TheRunHearsNothingOfThem ) {
   std::string const page = pageOfWaiting();
   auto const streamed = play( waiting );
   EXPECT_EQ( writes( toldIn( page, "write" ) ), writes( streamed ) );
   EXPECT_EQ( toldIn( page, "log" ), ofType( streamed, "log" ) );
}

TEST( ReleaseTrials, OfPortsThatNobodyAskedForNothingIsTold ) {
   std::string const page = pageOfWaiting( std::vector{ Kovel::IntfId( "Ethernet3" ) } );
   for ( Json const& record : toldIn( page, "releasers" ) ) {
      for ( Json const& change : record.at( "changes" ) ) {
         EXPECT_TRUE( change.at( "releases" ).is_boolean() ) << change;
      }
   }
   EXPECT_EQ( toldIn( page, "releasers" ).size(), 2U );
}

// However much happens, a page is made.
TEST( ReleaseTrials, EndWhenMuchHasBeenTried ) {
   InputOptions options;
   options.scenario = temporaryFile( "waiting.yaml", waiting );
   options.plugin = OSTRA_PLUGIN;
   Input input( options );
   ScenarioTime time( input.scenario().startTime );
   Agent agent( input.agentType(), input.mounts() );
   ReleaseTrials trials( input.mounts(), agent, time, 10'000 );
   std::ostringstream out;
   HtmlSink sink( out, labelledEventText );
   Diagnostics const diagnostics(
      sink, [ &time ] { return time.instant(); }, std::nullopt );
   VirtualPacer pacer;
   std::vector< bool > areTried;
   auto const attempt = [ & ] {
      areTried.push_back( trials.of( { { "Ethernet1", "mlag errdisable" } } ).has_value() );
      return true;
   };
   ostra::Run( { input.scenario(), input.mounts(), agent, time, sink, pacer, attempt } )
      .play();
   ASSERT_GE( areTried.size(), 3U );
   EXPECT_TRUE( areTried[ 0 ] );
   areTried.erase( areTried.begin() );
   EXPECT_THAT( areTried, Each( false ) );
}

} // namespace
} // namespace ostra
