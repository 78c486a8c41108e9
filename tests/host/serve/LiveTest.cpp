// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Patches of a live switch: who may change what, and what is told of it.

#include "LiveProcess"

#include <gmock/gmock.h>

using ostra::Json;
using ostra::LiveProcess;
using ostra::PatchRefusal;
using ostra::reloadedSwitch;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class Live : public testing::Test {
 protected:
   PatchRefusal::Kind refusal( std::string const& text, ostra::Path const& path = {} ) {
      Json const before = process.at( {} );
      try {
         process.host().live().patch( path, text );
      } catch ( PatchRefusal const& refused ) {
         complaint = refused.complaint();
         EXPECT_EQ( process.at( {} ), before );
         return refused.kind();
      }
      ADD_FAILURE() << text;
      return PatchRefusal::Kind::invalid;
   }
   std::vector< std::string > types() {
      std::vector< std::string > types;
      for ( Json const& record : process.history() ) {
         types.push_back( record.at( "type" ) );
      }
      return types;
   }

 private:
   ostra::TemporaryDirectory const directory_;

 protected:
   ostra::SimulatedClock clock;
   ostra::NoDriver driver;
   LiveProcess process{ directory_.path(), clock, driver };
   ostra::Complaint complaint;
};

} // namespace

TEST_F( Live, APatchIsAppliedWholeAndAcknowledgedAtTheEndOfTheTurn ) {
   process.start();
   bool isDone = false;
   auto const revision = process.host().live().patch(
      {},
      R"({"mlagConfig": {"domainId": "a", "reloadDelay": 7}})",
      [ &isDone ]( auto const& problem ) { isDone = !problem; } );
   EXPECT_EQ( revision, 1 );
   EXPECT_EQ( process.at( { "mlagConfig", "reloadDelay" } ), 7 );
   EXPECT_FALSE( isDone );
   process.turn();
   EXPECT_TRUE( isDone );
}

TEST_F( Live, APatchOfAPathIsMergedThere ) {
   process.start();
   EXPECT_EQ( process.patch( "12.5", { "mlagConfig", "reloadDelay" } ), "" );
   EXPECT_EQ( process.at( { "mlagConfig", "reloadDelay" } ), 12.5 );
   ostra::Path const port{ "ethPhyIntfStatus", "intfStatus", "Ethernet3/1" };
   EXPECT_EQ( process.patch( "{\"linkStatus\": 2}", port ), "" );
   EXPECT_EQ( process.at( port ), Json( { { "linkStatus", 2 } } ) );
   EXPECT_EQ( process.patch( "null", port ), "" );
   EXPECT_FALSE( process.host().live().state( port ) );
}

TEST_F( Live, NothingOfAPatchHappensWhenAPartOfItIsWrong ) {
   process.start();
   EXPECT_EQ(
      refusal( R"({"mlagConfig": {"domainId": "a", "reloadDelay": "soon"}})" ),
      PatchRefusal::Kind::invalid );
   EXPECT_EQ( complaint.where, "mlagConfig.reloadDelay" );
   EXPECT_EQ( complaint.found, "\"soon\"" );
   EXPECT_EQ( complaint.expected, "a number of seconds, or .inf for never ending" );
   EXPECT_EQ( refusal( "[1]" ), PatchRefusal::Kind::invalid );
   EXPECT_EQ( complaint.found, "a list" );
   EXPECT_EQ( refusal( "{\"mlagConfig\": " ), PatchRefusal::Kind::invalid );
   EXPECT_EQ( refusal( "{\"agent\": null}" ), PatchRefusal::Kind::invalid );
   EXPECT_EQ( process.host().live().revision(), 0 );
}

TEST_F( Live, WhatClosesAPatchIsNotWhatStandsAroundIt ) {
   process.start();
   EXPECT_EQ(
      refusal( R"(1}, "mlagStatus": {"mlagState": 3)", { "mlagConfig", "reloadDelay" } ),
      PatchRefusal::Kind::invalid );
}

TEST_F( Live, APathToNothingIsNotFound ) {
   process.start();
   for ( ostra::Path const& path : std::vector< ostra::Path >{
            { "mlag" },
            { "mlagConfig", "delay" },
            { "mlagConfig", "reloadDelay", "x" },
            { "ethPhyIntfStatus", "intfStatus", "eth0" },
            { "ethPhyIntfStatus", "intfStatus", "Ethernet1", "speed" } } ) {
      EXPECT_EQ( refusal( "{}", path ), PatchRefusal::Kind::notFound ) << path.back();
      EXPECT_FALSE( process.host().live().state( path ) ) << path.back();
   }
   EXPECT_EQ( process.host().live().state( { "mlagConfig", "peerLinkIntf" } ), Json() );
}

TEST_F( Live, WhatTheFileSetsIsTheFilesAndWhatItDoesNotIsTheClients ) {
   process.start( reloadedSwitch() );
   EXPECT_EQ(
      refusal( R"({"mlagConfig": {"lacpStandby": true, "reloadDelay": 5}})" ),
      PatchRefusal::Kind::notOwned );
   EXPECT_EQ( complaint.where, "mlagConfig.reloadDelay" );
   EXPECT_EQ( complaint.found, "owned by the configuration file" );
   EXPECT_EQ(
      refusal( "null", { "ethPhyIntfStatus", "intfStatus", "Ethernet1" } ),
      PatchRefusal::Kind::notOwned );
   EXPECT_EQ(
      refusal( "{\"mlagConfig\": {\"intfConfig\": {\"Port-Channel10\": null}}}" ),
      PatchRefusal::Kind::notOwned );
   EXPECT_EQ( process.patch( "true", { "mlagConfig", "lacpStandby" } ), "" );
   EXPECT_EQ(
      process.patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet9": {},
      "Ethernet1": {"linkStatus": 2}}}})" ),
      "" );
}

TEST_F( Live, WhatThePluginWritesIsThePluginsButARelease ) {
   process.start( reloadedSwitch() );
   ASSERT_THAT( process.errdisabled(), SizeIs( 2 ) );
   for (
      char const* patch :
      { R"({"mlagProtoStatus": {"portsErrdisabled": false}})",
        R"({"mlagissuCause": {"intfStatus": {"Ethernet2": 5}}})",
        R"({"igmpsnoopingConfig": {"forceEnabledPorts": {"Port-Channel10": true}}})",
        R"({"lacpConfig": {"portChannel": {"Port-Channel10": {"stayInStandby": true}}}})" } ) {
      EXPECT_EQ( refusal( patch ), PatchRefusal::Kind::notOwned ) << patch;
      EXPECT_EQ( complaint.found, "owned by the plug-in" );
   }
   EXPECT_EQ( process.patch( R"({"mlagProtoStatus": {"holdInSecondary": true}})" ), "" );
   auto const before = process.history().size();
   EXPECT_EQ( process.patch( "null", { "mlagissuCause", "intfStatus", "Ethernet2" } ), "" );
   EXPECT_THAT( process.errdisabled(), ElementsAre( "Ethernet1" ) );
   // Releasing what is not held changes nothing.
   EXPECT_EQ( process.patch( "null", { "mlagissuCause", "intfStatus", "Ethernet9" } ), "" );
   auto const all = types();
   EXPECT_THAT(
      std::vector< std::string >( all.begin() + std::ptrdiff_t( before ), all.end() ),
      ElementsAre( "event", "release", "write", "port", "event" ) );
}

TEST_F( Live, AnotherFileTakesTheFirstOnesPlace ) {
   process.start( R"({"mlagConfig": {"domainId": "a", "reloadDelay": 5},
      "ethPhyIntfStatus": {"intfStatus": {"Ethernet1": {}}}})" );
   auto const next = ostra::parseDocument( "o", R"({"mlagConfig": {"domainId": "b"}})" );
   process.host().fileIs( &next );
   process.turn();
   EXPECT_EQ( process.at( { "mlagConfig", "domainId" } ), "b" );
   EXPECT_EQ( process.at( { "mlagConfig", "reloadDelay" } ), 0 );
   EXPECT_EQ( process.at( { "ethPhyIntfStatus", "intfStatus" } ), Json::object() );
   EXPECT_EQ( process.patch( "9", { "mlagConfig", "reloadDelay" } ), "" );
   auto const wrong = ostra::parseDocument( "o", R"({"mlagConfig": {"domainId": 1}})" );
   EXPECT_THROW( process.host().fileIs( &wrong ), PatchRefusal );
   EXPECT_EQ( process.at( { "mlagConfig", "domainId" } ), "b" );
   EXPECT_EQ(
      process.patch( "\"c\"", { "mlagConfig", "domainId" } ).substr( 0, 34 ),
      "mlagConfig.domainId: owned by the " );
}

TEST_F( Live, AnAttributeOfAnEntryThatTheFileLeavesOutGetsItsDefault ) {
   process.start( R"({"ethPhyIntfStatus": {"intfStatus": {
      "Ethernet1": {"linkStatus": 2}, "Ethernet2": {"linkStatus": 2}}}})" );
   Json const unset = Json::parse( R"({"linkStatus": 0})" );
   auto const next = ostra::parseDocument(
      "o", R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet1": {}}}})" );
   process.host().fileIs( &next );
   process.turn();
   EXPECT_EQ(
      process.at( { "ethPhyIntfStatus", "intfStatus" } ),
      Json( { { "Ethernet1", unset } } ) );
   EXPECT_EQ(
      process.patch( "1", { "ethPhyIntfStatus", "intfStatus", "Ethernet1", "linkStatus" } ),
      "" );
   auto const none = ostra::parseDocument( "o", "{}" );
   process.host().fileIs( &none );
   process.turn();
   EXPECT_EQ( process.at( { "ethPhyIntfStatus", "intfStatus" } ), Json::object() );
}

TEST_F( Live, SubscribersHearOfWhatIsDurableOnceAndInOrder ) {
   process.start();
   std::vector< std::int64_t > heard;
   auto& records = process.host().live().records();
   auto const subscription = records.subscribe(
      [ &heard ]( ostra::LiveRecord const& record ) { heard.push_back( record.id ); } );
   auto const first = records.nextId();
   process.host().live().patch( {}, R"({"mlagConfig": {"domainId": "a"}})" );
   EXPECT_THAT( heard, IsEmpty() );
   process.turn();
   EXPECT_THAT( heard, ElementsAre( first ) );
   records.unsubscribe( subscription );
   process.patch( R"({"mlagConfig": {"domainId": "b"}})" );
   EXPECT_THAT( heard, SizeIs( 1 ) );
}

TEST_F( Live, ARecordHasItsNumberTheClocksTimeAndTheDate ) {
   clock.moment = ostra::Milliseconds( 2500 );
   clock.offset = {};
   process.start();
   process.patch( R"({"mlagConfig": {"domainId": "a"}})" );
   EXPECT_EQ(
      process.history().back().dump(),
      R"({"seq":)" + std::to_string( process.history().size() ) +
         R"(,"t":2.5,"time":"1970-01-01T00:00:02.500Z","type":"event","index":1,"patch":{"mlagConfig":{"domainId":"a"}}})" );
}

TEST_F( Live, ARecordSaysWhatAClientHasChangedAndOfMuchInWhichMounts ) {
   process.start();
   process.patch( R"({"mlagConfig": {"domainId": "a"}})" );
   process.patch( R"("b")", { "mlagConfig", "domainId" } );
   std::string const longName( 4096, 'c' );
   process.patch(
      R"({"mlagConfig": {"domainId": ")" + longName +
      R"("}, "mlagStatus": {"mlagState": 3}})" );
   auto const changes = ostra::ofType( process.history(), "event" );
   ASSERT_THAT( changes, SizeIs( 3 ) );
   EXPECT_EQ( changes[ 0 ][ "patch" ].dump(), R"({"mlagConfig":{"domainId":"a"}})" );
   EXPECT_EQ( changes[ 1 ][ "patch" ].dump(), R"({"mlagConfig":{"domainId":"b"}})" );
   EXPECT_FALSE( changes[ 2 ].contains( "patch" ) );
   EXPECT_EQ( changes[ 2 ][ "mounts" ].dump(), R"(["mlagConfig","mlagStatus"])" );
}

TEST_F( Live, RecordsSayWhenTheHostStartedAndReadItsFileAgain ) {
   process.start();
   EXPECT_EQ( process.history().front().at( "type" ), "start" );
   EXPECT_EQ( process.history().front().at( "boot" ), "boot 1" );
   EXPECT_EQ( process.history().front().at( "isRestart" ), false );
   auto const next = ostra::parseDocument( "next.yaml", "{}" );
   process.host().fileIs( &next );
   process.turn();
   EXPECT_EQ( process.history().back().at( "type" ), "configuration" );
}

// A client's port, and those of the file.
TEST_F( Live, APortThatGoesIsRecordedWhoeverTakesIt ) {
   process.start( reloadedSwitch() );
   process.patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet7": {}}}})" );
   process.patch(
      R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet7": {"linkStatus": 1}}}})" );
   process.patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet8": null}}})" );
   auto const gone = [ this ] {
      std::vector< std::string > gone;
      for ( Json const& record : process.history() ) {
         if ( record.at( "type" ) == "gone" ) {
            gone.push_back( record.at( "interface" ) );
         }
      }
      return gone;
   };
   EXPECT_THAT( gone(), IsEmpty() );
   process.patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet7": null}}})" );
   EXPECT_THAT( gone(), ElementsAre( "Ethernet7" ) );
   auto const empty = ostra::parseDocument( "file", "{}" );
   process.host().fileIs( &empty );
   process.turn();
   EXPECT_THAT( gone(), ElementsAre( "Ethernet7", "Ethernet1", "Ethernet2", "Ethernet3" ) );
}

TEST_F( Live, APortSaysWhatItIsAndUntilWhenItIsHeld ) {
   clock.moment = std::chrono::seconds( 100 );
   process.start( reloadedSwitch() );
   clock.moment = std::chrono::seconds( 105 );
   process.turn();
   Json const port = *process.host().ports().port( "Ethernet1" );
   EXPECT_EQ( port.at( "class" ), "mlag" );
   EXPECT_EQ( port.at( "portChannel" ), "Port-Channel10" );
   EXPECT_EQ(
      port.at( "hold" ),
      Json::parse( R"({"kind": "errdisable", "since": 100, "until": 120, "remaining": 15,
         "enforced": "unsupported", "error": "the driver none has no devices"})" ) );
   EXPECT_EQ( port.at( "reason" ), "errdisabled for the MLAG reload delay, 15 s left" );
   EXPECT_EQ( process.host().ports().port( "Ethernet2" )->at( "hold" ).at( "until" ), 130 );
   EXPECT_EQ( process.host().ports().port( "Ethernet3" )->at( "class" ), "peerLink" );
   EXPECT_EQ( process.host().ports().port( "Ethernet3" )->at( "hold" ), Json() );
   EXPECT_FALSE( process.host().ports().port( "Ethernet4" ) );
   EXPECT_THAT( Json::parse( process.host().ports().text().at( 105 ) ), SizeIs( 3 ) );
}

TEST_F( Live, AHeldPortThatJoinsThePeerLinkWaitsForTheDelayThatItIsHeldFor ) {
   clock.moment = std::chrono::seconds( 100 );
   std::string file = reloadedSwitch();
   process.start( file );
   std::string const peerLink = R"("peerLinkIntf": "Port-Channel1")";
   file.replace( file.find( peerLink ), peerLink.size(), R"("peerLinkIntf": "Ethernet1")" );
   auto const next = ostra::parseDocument( "o", file );
   clock.moment = std::chrono::seconds( 105 );
   process.host().fileIs( &next );
   process.turn();
   Json const port = *process.host().ports().port( "Ethernet1" );
   EXPECT_EQ( port.at( "class" ), "peerLink" );
   EXPECT_EQ( port.at( "hold" ).at( "until" ), 120 );
   EXPECT_EQ( port.at( "reason" ), "errdisabled for the MLAG reload delay, 15 s left" );
}

TEST_F( Live, ASummaryHasBothClasses ) {
   clock.moment = std::chrono::seconds( 100 );
   process.start( reloadedSwitch() );
   Json const held = process.host().ports().summary();
   EXPECT_EQ(
      held.at( "mlag" ),
      Json::parse( R"({"state": "held", "start": 100, "end": 120, "remaining": 20})" ) );
   EXPECT_EQ( held.at( "nextAnnouncement" ), 115 );
   // Whatever the host itself waits for is none, and comes all the same.
   ostra::WakeUp watchdog;
   watchdog.timeIs( 103 );
   EXPECT_EQ( process.host().ports().summary().at( "nextAnnouncement" ), 115 );
   EXPECT_EQ( Ryx::activityManager()->clock()->nextTimeMin(), 103 );
   EXPECT_EQ( held.at( "counts" ).at( "errdisabled" ), 2 );
   process.pass( 20'000 );
   Json const half = process.host().ports().summary();
   EXPECT_EQ( half.at( "mlag" ).at( "state" ), "released" );
   EXPECT_EQ( half.at( "nonMlag" ).at( "state" ), "held" );
}

TEST_F( Live, WithoutMlagNothingIsHeldAndTheSummaryIsIdle ) {
   process.start();
   EXPECT_EQ( process.host().ports().summary().at( "mlag" ).at( "state" ), "idle" );
}

// A client that sends one change behind the other.
TEST_F( Live, AChangeThatComesWithAnAnswerIsInTheHistory ) {
   process.start();
   bool isAnswered = false;
   auto const answer = [ &isAnswered ]( auto const& ) { isAnswered = true; };
   auto& live = process.host().live();
   live.patch( {}, R"({"mlagConfig": {"domainId": "a"}})", [ & ]( auto const& ) {
      live.patch( {}, R"({"mlagConfig": {"domainId": "b"}})", answer );
   } );
   process.turn();
   EXPECT_TRUE( isAnswered );
   std::int64_t next = process.history().front().at( "seq" );
   for ( Json const& record : process.history() ) {
      EXPECT_EQ( record.at( "seq" ), next++ );
   }
   EXPECT_EQ( next, live.records().nextId() );
}
