// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Play"

#include <host/run/NdjsonSink>
#include <host/run/Run>

#include <Mlag/Config>
#include <Ryx/Registration>

#include <gmock/gmock.h>

using ostra::Json;
using ostra::ofType;
using ostra::play;
using ostra::RunOptions;
using ostra::writes;
using ostra::writesFrom;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

// A switch with one port that is no MLAG port, held for a while.
std::string
heldFor( std::string const& delay, std::string const& rest = {} ) {
   return "mounts:\n"
          "  mlagConfig: { enabled: true, domainId: d, localInterface: Vlan1,\n"
          "    peerAddress: 10.0.0.2, peerLinkIntf: Port-Channel1, reloadDelay: " +
      delay +
      " }\n"
      "  mlagStatus: { mlagState: mlagInactive }\n"
      "  ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } }\n"
      "  ethPhyIntfConfig: { intfConfig: { Ethernet1: { adminEnabledStateLocal: 1 } } }\n" +
      rest;
}

double
endOf( std::vector< Json > const& records ) {
   return records.back().at( "t" );
}

std::vector< double >
logTimes( std::vector< Json > const& records ) {
   std::vector< double > times;
   for ( Json const& log : ofType( records, "log" ) ) {
      times.push_back( log.at( "t" ) );
   }
   return times;
}

// The stream, and why the run failed, which is not in it.
class SinkThatKeepsWhy final : public ostra::RecordSink {
 public:
   explicit SinkThatKeepsWhy( std::ostream& out ) : stream_( out ) {}

   void start( ostra::StartRecord const& record, ostra::StateView const& state ) override {
      stream_.start( record, state );
   }
   void write( ostra::Milliseconds, ostra::WriteRecord const& ) override {}
   void event( ostra::Milliseconds, ostra::EventRecord const& ) override {}
   void log( ostra::Milliseconds, ostra::LogMessageRecord const& ) override {}
   void trace( ostra::Milliseconds, ostra::TraceLineRecord const& ) override {}
   void end( ostra::Milliseconds at, ostra::EndRecord const& record ) override {
      failure = record.failure;
      stream_.end( at, record );
   }

   std::string failure;

 private:
   ostra::NdjsonSink stream_;
};

// A plug-in's agent whose child cannot be made.
class Broken : public Ryx::EntityOf< Broken > {
 public:
   static constexpr std::string_view fwkTypeName = "Test::Broken";

   static constexpr auto attributes() {
      return Ryx::AttributeList< Ryx::Instantiating<
         "child",
         &Broken::child,
         &Broken::childIs,
         &Broken::childDel,
         "mlagConfig" > >();
   }
   static constexpr auto constructor() {
      return Ryx::Constructor< Broken, Ryx::Argument< "name", Ryx::Name > >();
   }
   static Ryx::Ptr< Broken > create( Ryx::Name name ) {
      return Ryx::make< Broken >( name );
   }

   explicit Broken( Ryx::Name name ) : EntityOf( std::move( name ) ) {}

   Ryx::Ptr< Broken > child() const { return nullptr; }
   Ryx::Ptr< Broken > childIs( Ryx::Ptr< Mlag::Config const > const& ) {
      Ryx::throwRangeException( "no child today" );
   }
   Ryx::Ptr< Broken > childDel() { return nullptr; }
};

} // namespace

TEST( Run, WakesAtTheFirstMillisecondThatIsNotTooEarly ) {
   auto const records = play( heldFor( "300" ) );
   EXPECT_THAT( logTimes( records ), ElementsAre( 225, 285 ) );
   EXPECT_EQ(
      ofType( records, "log" ).at( 1 ).dump(),
      R"({"t":285,"type":"log","id":"MLAG_RELOAD_DELAY_ENDING","severity":6,)"
      R"("text":"Mlag reload-delay period will end in 15 seconds"})" );
   EXPECT_EQ( endOf( records ), 300 );
}

TEST( Run, ReportsEveryWriteFromTheInstantTheChildrenAreSet ) {
   EXPECT_THAT(
      writes( play( heldFor( "5.001" ) ) ),
      ElementsAre(
         "0 mlagProtoStatus/portsErrdisabled true",
         "0 mlagProtoStatus/portsErrdisabledWhen 0",
         "0 mlagissuCause/intfStatus/Ethernet1 0",
         "5.001 mlagissuCause/intfStatus/Ethernet1 null",
         "5.001 mlagProtoStatus/portsErrdisabled false",
         "5.001 mlagProtoStatus/portsErrdisabledWhen \"inf\"" ) );
}

TEST( Run, StartTimeMovesTheFrameworksTimeAndNotTheScenarios ) {
   for ( std::string const start : { "1000000000.125", "-7.5", "-5" } ) {
      auto const records = play( heldFor( "5", "startTime: " + start ) );
      EXPECT_THAT(
         writes( records ), Contains( "0 mlagissuCause/intfStatus/Ethernet1 " + start ) );
      EXPECT_EQ( endOf( records ), 5 ) << start;
   }
}

TEST( Run, EndsWithTheLastThingThatHappens ) {
   EXPECT_EQ( endOf( play( "{}" ) ), 0 );
   EXPECT_EQ( endOf( play( heldFor( ".inf" ) ) ), 0 );
   EXPECT_EQ( endOf( play( "events: [{at: 2}, {at: 7.25}]" ) ), 7.25 );
}

TEST( Run, UntilEndsItExactlyThen ) {
   EXPECT_EQ( endOf( play( heldFor( "300", "until: 400" ) ) ), 400 );
   EXPECT_EQ( endOf( play( "until: 400" ) ), 400 );
   auto const cut = play( heldFor( "300", "until: 284.999" ) );
   EXPECT_THAT( logTimes( cut ), ElementsAre( 225 ) );
   EXPECT_EQ( endOf( cut ), 284.999 );
}

TEST( Run, WhatIsDueAtUntilStillHappens ) {
   auto const records =
      play( heldFor( "300", "until: 300\nevents: [{at: 300}, {at: 300.001}]" ) );
   EXPECT_THAT( writesFrom( 300, records ), Not( IsEmpty() ) );
   EXPECT_EQ( ofType( records, "event" ).size(), 1u );
   EXPECT_EQ(
      ofType( play( "until: 0\nevents: [{at: 0}, {at: 1}]" ), "event" ).size(), 1u );
}

TEST( Run, UntilOfTheCommandLineOverridesTheFiles ) {
   RunOptions options;
   options.until = ostra::Milliseconds( 2500 );
   EXPECT_EQ( endOf( play( "until: 400", options ) ), 2.5 );
}

TEST( Run, AtOneInstantWakeUpsComeBeforeEvents ) {
   auto const records = play(
      heldFor( "300", "events: [{at: 300, mlagProtoStatus: {holdInSecondary: true}}]" ) );
   EXPECT_THAT(
      writesFrom( 300, records ),
      ElementsAre(
         "300 mlagissuCause/intfStatus/Ethernet1 null",
         "300 mlagProtoStatus/portsErrdisabled false",
         "300 mlagProtoStatus/portsErrdisabledWhen \"inf\"",
         "300 mlagProtoStatus/holdInSecondary true" ) );
}

TEST( Run, EventsOfOneTimeKeepTheirOrder ) {
   auto const records =
      play( "events:\n"
            "  - { at: 5, mlagProtoStatus: { portsErrdisabledWhen: 1 } }\n"
            "  - { at: 5, mlagProtoStatus: { portsErrdisabledWhen: 2 } }\n" );
   std::vector< std::string > order;
   for ( Json const& record : records ) {
      if ( record.at( "t" ) == 5 ) {
         order.push_back( record.at( "type" ) );
      }
   }
   EXPECT_THAT( order, ElementsAre( "event", "write", "event", "write", "end" ) );
   EXPECT_THAT(
      writesFrom( 5, records ),
      ElementsAre(
         "5 mlagProtoStatus/portsErrdisabledWhen 1",
         "5 mlagProtoStatus/portsErrdisabledWhen 2" ) );
}

TEST( Run, AgentCanBeTornDownAndMadeAgain ) {
   auto const records = play( heldFor(
      "100",
      "events:\n"
      "  - { at: 10, agent: null }\n"
      "  - { at: 200, agent: {} }\n" ) );
   EXPECT_THAT(
      writesFrom( 1, records ),
      ElementsAre(
         "200 mlagissuCause/intfStatus/Ethernet1 null",
         "200 mlagProtoStatus/portsErrdisabled false",
         "200 mlagProtoStatus/portsErrdisabledWhen \"inf\"" ) );
   EXPECT_EQ( endOf( records ), 200 );
}

TEST( Run, ChildThatIsSetAgainIsTheOneKept ) {
   auto const records = play( heldFor( "100", "events: [{at: 10, agent: {}}]" ) );
   EXPECT_THAT(
      writesFrom( 1, records ), Contains( "100 mlagProtoStatus/portsErrdisabled false" ) );
   EXPECT_EQ( writesFrom( 1, records ).size(), 3u );
}

TEST( Run, SettingOneChildCreatesTheAgentAndOnlyThatChild ) {
   auto const records = play( heldFor(
      "100",
      "events:\n"
      "  - { at: 1, agent: null }\n"
      "  - { at: 2, agent: { mlagErrdisableSm: null } }\n"
      "  - { at: 3, agent: { ethPeerIntfStatusReactor: {} } }\n"
      "  - { at: 4, peerIntfStatusDir: { intfStatus: { PeerVlan1: {} } } }\n" ) );
   EXPECT_THAT(
      writesFrom( 1, records ),
      ElementsAre(
         R"(4 ethIntfStatusDir/intfStatus/PeerVlan1 {"linkStatus":0})",
         R"(4 allIntfStatusDir/intfStatus/PeerVlan1 {"linkStatus":0})" ) );
}

TEST( Run, EndIsTheLastLineAndTheAgentOutlivesIt ) {
   RunOptions options;
   options.trace = 15;
   auto const records = play( heldFor( "5" ), options );
   EXPECT_EQ( records.back().at( "type" ), "end" );
   EXPECT_EQ( ofType( records, "end" ).size(), 1u );
   EXPECT_GT( ofType( records, "trace" ).size(), 5u );
}

TEST( Run, TraceLevelIsTheHighestThatIsReported ) {
   RunOptions options;
   options.trace = 8;
   for ( Json const& trace : ofType( play( heldFor( "5" ), options ), "trace" ) ) {
      EXPECT_LE( trace.at( "level" ), 8 );
   }
   EXPECT_THAT( ofType( play( heldFor( "5" ) ), "trace" ), IsEmpty() );
   options.trace = 7;
   EXPECT_THAT( ofType( play( heldFor( "5" ), options ), "trace" ), IsEmpty() );
}

TEST( Run, LaterRunGoesOnWhereAnEarlierOneEnded ) {
   auto const whole = play( heldFor( "300" ) );
   auto const first = play( heldFor( "300", "until: 100" ) );
   RunOptions options;
   options.input.mounts = ostra::temporaryFile( "state", first.back().dump() );
   auto const second = play( "startTime: 100", options );
   EXPECT_THAT( logTimes( second ), ElementsAre( 125, 185 ) );
   EXPECT_EQ( endOf( second ), 200 );
   EXPECT_EQ( second.back().at( "state" ).dump(), whole.back().at( "state" ).dump() );
}

TEST( Run, ScenariosMountsLieOverTheState ) {
   RunOptions options;
   options.input.mounts = ostra::temporaryFile(
      "state",
      R"({"mlagConfig":{"domainId":"a","reloadDelay":5,"peerLinkIntf":"Vlan1"},)"
      R"("mlagissuCause":{"intfStatus":{"Ethernet1":1,"Ethernet2":2}}})" );
   auto const state = play(
                         "mounts:\n"
                         "  mlagConfig: { reloadDelay: 6, peerLinkIntf: null }\n"
                         "  mlagissuCause: { intfStatus: { Ethernet2: 3 } }\n"
                         "  igmpsnoopingConfig: { forceEnabledPorts: { Vlan1: false } }\n"
                         "events: [{at: 0, agent: null}]",
                         options )
                         .back()
                         .at( "state" );
   EXPECT_EQ( state.at( "mlagConfig" ).at( "domainId" ), "a" );
   EXPECT_EQ( state.at( "mlagConfig" ).at( "reloadDelay" ), 6 );
   EXPECT_TRUE( state.at( "mlagConfig" ).at( "peerLinkIntf" ).is_null() );
}

TEST( Run, WakeUpBehindTheEndOfTheClockIsNever ) {
   EXPECT_EQ( endOf( play( heldFor( "1e300" ) ) ), 0 );
}

TEST( Run, FailureOfThePluginStillHasItsEnd ) {
   Ryx::UnitRegistration< Broken > const unit( "test" );
   ostra::Mounts mounts;
   ostra::Scenario const scenario =
      readScenario( ostra::parseDocument( "x", "{}" ), mounts, {} );
   ostra::Agent agent( *Ryx::describedType< Broken >(), mounts );
   ostra::ScenarioTime time( ostra::Milliseconds( 0 ) );
   std::ostringstream out;
   SinkThatKeepsWhy sink( out );
   ostra::VirtualPacer pacer;
   ostra::Run run( { scenario, mounts, agent, time, sink, pacer, [] { return true; } } );
   try {
      run.play();
      FAIL();
   } catch ( ostra::Failure const& failure ) {
      EXPECT_EQ( failure.status(), ostra::ExitStatus::failed );
      EXPECT_STREQ( failure.what(), "ostra: the run failed at 0 s: no child today" );
   }
   EXPECT_EQ( ostra::jsonLines( out.str() ).back().at( "type" ), "end" );
   EXPECT_EQ( sink.failure, "no child today" );
}
