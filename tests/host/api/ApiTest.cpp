// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "LiveApi"

#include <fmt/format.h>

#include <sstream>

namespace ostra {

namespace {

using http::bodyOf;
using http::statusOf;

} // namespace

TEST( Api, TellsTheStateAsAScenarioTakesIt ) {
   LiveApi api;
   EXPECT_EQ( api.json( "/v1/state" ), api.live.mounts().state() );
   EXPECT_EQ( api.json( "/v1/state/mlagConfig/reloadDelay" ), 300 );
   EXPECT_EQ(
      api.json( "/v1/state/lagInputConfig/phyIntf/Ethernet1/lag" ), "Port-Channel10" );
   EXPECT_EQ( api.json( "/v1/state/mlagissuCause/intfStatus/Ethernet3%2F1" ), 1 );
}

TEST( Api, SaysWhatIsNotThere ) {
   LiveApi api;
   std::vector< std::array< std::string, 3 > > const table = { {
      { "/v1/state/mlagConfg", "", "\"mlagConfg\"" },
      { "/v1/state/mlagConfig/delay", "mlagConfig", "\"delay\"" },
      { "/v1/state/mlagissuCause/intfStatus/Ethernet9",
        "mlagissuCause.intfStatus",
        "\"Ethernet9\"" },
   } };
   for ( auto const& [ target, where, found ] : table ) {
      std::string const answer = api.get( target );
      EXPECT_EQ( statusOf( answer ), 404 ) << target;
      EXPECT_EQ( errorOf( answer )[ "where" ], where );
      EXPECT_EQ( errorOf( answer )[ "found" ], found );
   }
   EXPECT_EQ( statusOf( api.get( "/v1/ports/Ethernet9" ) ), 404 );
   EXPECT_EQ( statusOf( api.get( "/v1/ports/nonsense" ) ), 404 );
   EXPECT_EQ( statusOf( api.get( "/v1/types/No::Type" ) ), 404 );
}

TEST( Api, AMethodThatIsNotServedIsToldWhichAreOnceEach ) {
   LiveApi api;
   std::string const answer = api.patch( "/v1/ports", "{}" );
   EXPECT_EQ( statusOf( answer ), 405 );
   EXPECT_NE( answer.find( "\r\nAllow: GET, HEAD\r\n" ), answer.npos ) << answer;
}

TEST( Api, PatchIsAppliedAndAnswersTheRevision ) {
   LiveApi api;
   std::string const answer =
      api.patch( "/v1/state/mlagConfig", "{\"reloadDelay\": 120, \"lacpStandby\": true}" );
   EXPECT_EQ( bodyOf( answer ), "{\"revision\":1}\n" );
   EXPECT_EQ( api.json( "/v1/state/mlagConfig/reloadDelay" ), 120 );
   EXPECT_EQ( bodyOf( api.patch( "/v1/state", "{}" ) ), "{\"revision\":2}\n" );
}

TEST( Api, PatchIsAcknowledgedWhenItIsDurable ) {
   LiveApi api;
   api.problem = "the disk is full";
   std::string const answer = api.patch( "/v1/state/mlagConfig", "{\"reloadDelay\": 120}" );
   EXPECT_EQ( statusOf( answer ), 503 );
   EXPECT_EQ( errorOf( answer )[ "found" ], "the disk is full" );
}

TEST( Api, AClientReleasesAPort ) {
   LiveApi api;
   EXPECT_FALSE( api.json( "/v1/ports/Ethernet2" )[ "hold" ].is_null() );
   std::string const answer =
      api.patch( "/v1/state/mlagissuCause", "{\"intfStatus\":{\"Ethernet2\":null}}" );
   EXPECT_EQ( statusOf( answer ), 200 ) << answer;
   EXPECT_TRUE( api.json( "/v1/ports/Ethernet2" )[ "hold" ].is_null() );
}

TEST( Api, TellsThePortsAndWhenTheyAreReleased ) {
   LiveApi api;
   Json const ports = api.json( "/v1/ports" );
   ASSERT_EQ( ports.size(), 3U );
   EXPECT_EQ( ports[ 0 ][ "interface" ], "Ethernet1" );
   EXPECT_EQ( ports[ 0 ][ "class" ], "mlag" );
   EXPECT_EQ( ports[ 0 ][ "hold" ][ "remaining" ], 300 );
   // Time goes on although nothing happens.
   api.clock.time += Milliseconds( 100'000 );
   EXPECT_EQ( api.json( "/v1/ports" )[ 0 ][ "hold" ][ "remaining" ], 200 );
   EXPECT_EQ( api.json( "/v1/ports/Ethernet3/1" ), api.json( "/v1/ports/Ethernet3%2F1" ) );
   EXPECT_EQ( api.json( "/v1/summary" )[ "mlag" ][ "remaining" ], 200 );
}

TEST( Api, SummaryTellsOfTheHostToo ) {
   LiveApi api;
   Json const summary = api.json( "/v1/summary" );
   EXPECT_EQ( summary[ "mlag" ][ "state" ], "held" );
   EXPECT_EQ( summary[ "counts" ][ "errdisabled" ], 3 );
   EXPECT_EQ( summary[ "driver" ][ "name" ], "none" );
   EXPECT_EQ( summary[ "boot" ][ "id" ], "the-boot" );
   EXPECT_EQ( summary[ "version" ], OSTRA_VERSION );
}

// Nothing would come to whoever waits there: with an error a client can begin anew.

TEST( Api, TypesAreThoseThatAreRegistered ) {
   LiveApi api;
   EXPECT_EQ( api.json( "/v1/types/Mlag::Config" )[ "name" ], "Mlag::Config" );
   EXPECT_GT( api.json( "/v1/types" ).size(), 20U );
}

TEST( Api, SaysThatItIsAliveAndReady ) {
   LiveApi api;
   EXPECT_EQ( bodyOf( api.get( "/healthz" ) ), "alive\n" );
   EXPECT_EQ( bodyOf( api.get( "/readyz" ) ), "ready\n" );
}

TEST( Api, MetricsCountWhatIsHeld ) {
   LiveApi api;
   std::string const metrics = bodyOf( api.get( "/metrics" ) );
   EXPECT_NE( metrics.find( "\nostra_ports 3\n" ), metrics.npos ) << metrics;
   EXPECT_NE( metrics.find( "\nostra_ports_held{kind=\"errdisable\"} 3\n" ), metrics.npos );
   EXPECT_NE( metrics.find( "\nostra_class_held{class=\"mlag\"} 1\n" ), metrics.npos );
}

TEST( Api, WhatIsToldAgainIsWhatHasChanged ) {
   LiveApi api;
   for ( int delay : { 120, 240 } ) {
      api.patch( "/v1/state/mlagConfig", fmt::format( R"({{"reloadDelay": {}}})", delay ) );
      EXPECT_EQ( api.json( "/v1/state" )[ "mlagConfig" ][ "reloadDelay" ], delay );
      EXPECT_EQ( api.json( "/v1/state" )[ "mlagConfig" ][ "reloadDelay" ], delay );
      EXPECT_EQ( api.json( "/v1/summary" )[ "mlag" ][ "remaining" ], delay );
   }
   EXPECT_EQ( api.json( "/v1/summary" )[ "revision" ], 2 );
}

TEST( Api, CountersEndAsCountersDo ) {
   LiveApi api;
   std::string const text = api.get( "/metrics" );
   EXPECT_NE( text.find( "\nostra_holds_undone_total 0\n" ), text.npos );
   std::istringstream lines( text );
   for ( std::string line; std::getline( lines, line ); ) {
      bool const isCounter = line.starts_with( "# TYPE" ) && line.ends_with( " counter" );
      EXPECT_TRUE( !isCounter || line.ends_with( "_total counter" ) ) << line;
   }
}

TEST( Api, TellsTheAlarmsAndCountsThem ) {
   LiveApi api;
   EXPECT_EQ( api.json( "/v1/alarms" ), Json::array() );
   EXPECT_EQ( api.json( "/v1/summary" )[ "alarms" ][ "peerLinkHeld" ], 0 );
   api.alarms.update(
      { { AlarmKind::peerLinkHeld, "Ethernet3/1", "in the peer link", "a release" } },
      Milliseconds( 2500 ) );
   api.live.touch();
   EXPECT_EQ( api.json( "/v1/alarms" ), Json::parse( R"([{"kind": "peerLinkHeld",
      "interface": "Ethernet3/1", "since": 2.5, "text": "in the peer link",
      "ending": "a release"}])" ) );
   EXPECT_EQ(
      api.json( "/v1/summary" )[ "alarms" ],
      Json::parse( R"({"heldWithoutEnd": 0, "standbyWithoutEnd": 0, "peerLinkHeld": 1,
         "notHeld": 0, "notEnforced": 0, "snoopingWithoutPort": 0})" ) );
   std::string const metrics = bodyOf( api.get( "/metrics" ) );
   EXPECT_NE( metrics.find( "\nostra_alarms{kind=\"peerLinkHeld\"} 1\n" ), metrics.npos );
   EXPECT_NE( metrics.find( "\nostra_alarms{kind=\"notHeld\"} 0\n" ), metrics.npos );
}

} // namespace ostra
