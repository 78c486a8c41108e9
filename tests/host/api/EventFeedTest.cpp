// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "LiveApi"

#include <fmt/format.h>

namespace ostra {

namespace {

using http::bodyOf;
using http::statusOf;

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

TEST( Api, HistoryBehindTheGreatestNumberIsEmpty ) {
   LiveApi api;
   std::string const answer = api.get( "/v1/history?since=9223372036854775807" );
   EXPECT_EQ( http::statusOf( answer ), 200 );
   EXPECT_EQ( answer.find( "seq" ), answer.npos );
}

} // namespace ostra
