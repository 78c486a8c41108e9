// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "LiveApi"

#include <fmt/format.h>

#include <sstream>

namespace ostra {

namespace {

using http::bodyOf;
using http::statusOf;

Json
errorOf( std::string const& answer ) {
   return Json::parse( bodyOf( answer ), nullptr, false ).value( "error", Json() );
}

// Of the records in "data: {...}" lines.
std::vector< std::int64_t >
idsOf( std::string const& events ) {
   std::vector< std::int64_t > ids;
   constexpr std::string_view mark = "\ndata: ";
   for ( std::size_t at = events.find( mark ); at != events.npos;
         at = events.find( mark, at + 1 ) ) {
      std::size_t const begin = at + mark.size();
      std::string const text = events.substr( begin, events.find( '\n', begin ) - begin );
      Json const record = Json::parse( text, nullptr, false );
      EXPECT_TRUE( record.is_object() ) << text;
      ids.push_back( record.is_object() ? record.value( "seq", -1 ) : -1 );
   }
   return ids;
}

std::string
eventsRequest( std::string const& headers = "" ) {
   return fmt::format( "GET /v1/events HTTP/1.1\r\nHost: localhost\r\n{}\r\n", headers );
}

std::vector< std::int64_t >
numbers( std::int64_t first, std::int64_t last ) {
   std::vector< std::int64_t > all;
   for ( std::int64_t i = first; i <= last; ++i ) {
      all.push_back( i );
   }
   return all;
}

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

TEST( Api, EventsComeAsTheyHappen ) {
   LiveApi api;
   auto client = api.client();
   client.send( eventsRequest() );
   client.readUntil( "retry: 1000\n\n" );
   std::int64_t const last = api.stored.back().id;
   api.patch( "/v1/state/mlagissuCause", "{\"intfStatus\":{\"Ethernet2\":null}}" );
   std::string const events = client.readUntil( "\"Ethernet2\"],\"value\":null}\n\n" );
   auto const ids = idsOf( events );
   EXPECT_EQ( ids, numbers( last + 1, last + std::int64_t( ids.size() ) ) );
   EXPECT_EQ( events.find( "event:" ), events.npos );
}

TEST( Api, EventsResumeWithoutGapOrDouble ) {
   LiveApi api;
   for ( int i = 0; i < 3000; ++i ) {
      api.live.records().add( { { "type", "mark" }, { "number", i } } );
   }
   api.patch( "/v1/state", "{}" );
   std::int64_t const last = api.stored.back().id;
   for ( std::int64_t const seen : { std::int64_t( 0 ), std::int64_t( 17 ), last - 1 } ) {
      auto client = api.client();
      client.send( eventsRequest( fmt::format( "Last-Event-ID: {}\r\n", seen ) ) );
      std::string events = client.readUntil( fmt::format( "id: {}\ndata: ", last ) );
      events += client.readUntil( "\n\n" );
      EXPECT_EQ( idsOf( events ), numbers( seen + 1, last ) );
   }
}

namespace {

// What is stored, in small pieces.
ostra::History
storedIn( LiveApi& api ) {
   return [ &api ]( std::int64_t since, std::size_t ) {
      std::vector< LiveRecord > found;
      for ( LiveRecord const& record : api.stored ) {
         if ( record.id > since && found.size() < 2 ) {
            found.push_back( record );
         }
      }
      return found;
   };
}

void
addFeed( LiveApi& api, EventFeed& feed ) {
   api.server.add( { "GET",
                     "/again",
                     [ &feed ]( http::Request const& request, http::Reply const& reply ) {
                        feed.stream( request, reply );
                     } } );
}

} // namespace

TEST( Api, EventsBeginBehindWhatWasToldBeforeTheFeedKnewTheNumbers ) {
   LiveApi api;
   EventFeed feed( api.loop.base(), api.live.records(), storedIn( api ) );
   addFeed( api, feed );
   std::int64_t const next = api.stored.back().id + 50;
   api.live.records().nextIdIs( next );
   api.stored.push_back( { next - 1, {}, "{}" } );
   auto client = api.client();
   client.send( "GET /again HTTP/1.1\r\nHost: localhost\r\n\r\n" );
   std::string events = client.readUntil( "retry: 1000\n\n" );
   api.live.records().add( { { "type", "mark" } } );
   events += client.readUntil( "\"type\":\"mark\"}\n\n" );
   EXPECT_EQ( idsOf( events ), numbers( next, next ) );
}

TEST( Api, AStreamThatHasEndedIsCountedNoMore ) {
   LiveApi api;
   EventFeed feed( api.loop.base(), api.live.records(), storedIn( api ) );
   addFeed( api, feed );
   for ( int i = 0; i < 3; ++i ) {
      auto client = api.client();
      client.send( "HEAD /again HTTP/1.1\r\nHost: localhost\r\n\r\n" );
      client.readUntil( "\r\n\r\n" );
   }
   EXPECT_EQ( feed.streams(), 0U );
}

TEST( Api, EventsResumeFromTheHistoryOfAnEarlierProcess ) {
   LiveApi api;
   std::int64_t const last = api.stored.back().id;
   // The feed of a new process has nothing in memory.
   EventFeed feed( api.loop.base(), api.live.records(), storedIn( api ) );
   addFeed( api, feed );
   auto client = api.client();
   client.send( "GET /again?since=0 HTTP/1.1\r\nHost: localhost\r\n\r\n" );
   std::string events = client.readUntil( fmt::format( "id: {}\ndata: ", last ) );
   api.live.records().add( { { "type", "mark" } } );
   events += client.readUntil( "\"type\":\"mark\"}\n\n" );
   EXPECT_EQ( idsOf( events ), numbers( 1, last + 1 ) );
}

TEST( Api, EventsRefuseAnIdThatIsNone ) {
   LiveApi api;
   EXPECT_EQ( statusOf( api.get( "/v1/events", "Last-Event-ID: -1\r\n" ) ), 400 );
   EXPECT_EQ( statusOf( api.get( "/v1/events?since=x" ) ), 400 );
}

// Nothing would come to whoever waits there: with an error a client can begin anew.
TEST( Api, EventsRefuseAnIdBehindTheNewest ) {
   LiveApi api;
   std::int64_t const last = api.stored.back().id;
   std::string const beyond = std::to_string( last + 1 );
   std::string const answer = api.get( "/v1/events", "Last-Event-ID: " + beyond + "\r\n" );
   EXPECT_EQ( statusOf( answer ), 400 );
   Json const expected = { { "where", "Last-Event-ID" },
                           { "found", "\"" + beyond + "\"" },
                           { "expected", fmt::format( "at most {}, the newest", last ) } };
   EXPECT_EQ( errorOf( answer ), expected );
   EXPECT_EQ( statusOf( api.get( "/v1/events?since=" + beyond ) ), 400 );
   auto client = api.client();
   client.send(
      fmt::format( "GET /v1/events?since={} HTTP/1.1\r\nHost: localhost\r\n\r\n", last ) );
   EXPECT_NE( client.readUntil( "retry: 1000" ).find( " 200 " ), std::string::npos );
}

TEST( Api, AQueryThatIsWrongIsRefusedByEveryRequest ) {
   LiveApi api;
   struct Refused {
      std::string target;
      std::string where;
      std::string found;
      std::string expected;
   };
   std::vector< Refused > const table = {
      { "/v1/summary?a=1", "query", "\"a\"", "no parameters" },
      { "/v1/state/mlagConfig?a", "query", "\"a\"", "no parameters" },
      { "/metrics?format=text", "query", "\"format\"", "no parameters" },
      { "/v1/history?limits=1", "query", "\"limits\"", "since, limit" },
      { "/v1/history?since=1&since=2", "since", "more than one", "one" },
      { "/v1/history?limit=", "limit", "\"\"", "a whole number from 0" },
      { "/v1/history?since=1.5", "since", "\"1.5\"", "a whole number from 0" },
   };
   for ( Refused const& refused : table ) {
      std::string const answer = api.get( refused.target );
      EXPECT_EQ( statusOf( answer ), 400 ) << refused.target;
      Json const expected = { { "where", refused.where },
                              { "found", refused.found },
                              { "expected", refused.expected } };
      EXPECT_EQ( errorOf( answer ), expected ) << refused.target;
   }
}

TEST( Api, HistoryIsALineARecord ) {
   LiveApi api;
   std::int64_t const last = api.stored.back().id;
   auto client = api.client();
   client.send( fmt::format(
      "GET /v1/history?since=1&limit=2 HTTP/1.0\r\nHost: localhost\r\n\r\n" ) );
   auto const lines = jsonLines( bodyOf( client.readAll() ) );
   ASSERT_EQ( lines.size(), 2U );
   EXPECT_EQ( lines[ 0 ][ "seq" ], 2 );
   EXPECT_EQ( lines[ 1 ][ "seq" ], 3 );
   auto all = api.client();
   all.send( "GET /v1/history HTTP/1.0\r\nHost: localhost\r\n\r\n" );
   EXPECT_EQ( jsonLines( bodyOf( all.readAll() ) ).size(), std::size_t( last ) );
   EXPECT_EQ( statusOf( api.get( "/v1/history?limit=x" ) ), 400 );
}

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

TEST( Api, HistoryBehindTheGreatestNumberIsEmpty ) {
   LiveApi api;
   std::string const answer = api.get( "/v1/history?since=9223372036854775807" );
   EXPECT_EQ( http::statusOf( answer ), 200 );
   EXPECT_EQ( answer.find( "seq" ), answer.npos );
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
