// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "TestServer"

#include <fmt/format.h>

#include <algorithm>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace ostra::http {

namespace {

using namespace std::chrono_literals;

std::string
getOf( std::string_view target, std::string_view headers = "" ) {
   return fmt::format( "GET {} HTTP/1.1\r\nHost: localhost\r\n{}\r\n", target, headers );
}

Json
echoed( std::string const& answer ) {
   return Json::parse( bodyOf( answer ), nullptr, false );
}

std::string
postOf( std::string_view body, std::string_view headers ) {
   return fmt::format(
      "POST /echo HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json; "
      "charset=utf-8\r\n{}\r\n{}",
      headers,
      body );
}

constexpr char patchHead[] =
   "PATCH /state HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\n"
   "Content-Type: application/merge-patch+json\r\n";

} // namespace

TEST( HttpServer, DividesThePathBeforeItDecodes ) {
   EchoServer echo;
   Json const json = echoed( echo.get( "/echo/a%2Fb/%C3%A4?limit=10&x=1+2%2B&flag" ) );
   EXPECT_EQ( json[ "path" ], Json::array( { "echo", "a/b", "\u00e4" } ) );
   EXPECT_EQ(
      json[ "query" ].dump(), "[[\"limit\",\"10\"],[\"x\",\"1 2+\"],[\"flag\",\"\"]]" );
}

TEST( HttpServer, TakesTheTargetOfAProxy ) {
   EchoServer echo;
   EXPECT_EQ(
      echoed( echo.get( "http://127.0.0.1:1/echo" ) )[ "path" ].dump(), "[\"echo\"]" );
}

TEST( HttpServer, TakesTheNamesAndAddressesOfThisMachine ) {
   EchoServer echo;
   for ( char const* host :
         { "localhost", "LOCALHOST:1", "127.0.0.1:8440", "[::1]:8440", "[::1]" } ) {
      std::string const answer =
         echo.answerTo( fmt::format( "GET /echo HTTP/1.1\r\nHost: {}\r\n\r\n", host ) );
      EXPECT_EQ( statusOf( answer ), 200 ) << host;
   }
}

TEST( HttpServer, TakesItsOwnPagesRequests ) {
   EchoServer echo;
   for ( char const* headers :
         { "Origin: http://localhost\r\nSec-Fetch-Site: same-origin\r\n",
           "Sec-Fetch-Site: none\r\n",
           "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: navigate\r\n" } ) {
      EXPECT_EQ( statusOf( echo.answerTo( getOf( "/echo", headers ) ) ), 200 ) << headers;
   }
}

TEST( HttpServer, TellsBrowsersToBeCareful ) {
   EchoServer echo;
   for ( char const* target : { "/echo", "/nothing" } ) {
      std::string const answer = echo.get( target );
      for ( char const* header :
            { "X-Content-Type-Options: nosniff\r\n",
              "Content-Security-Policy: default-src 'none'; frame-ancestors 'none'\r\n",
              "Cross-Origin-Resource-Policy: same-origin\r\n",
              "Referrer-Policy: no-referrer\r\n",
              "Cache-Control: no-store\r\n" } ) {
         EXPECT_NE( answer.find( header ), answer.npos ) << answer;
      }
      EXPECT_EQ( answer.find( "Access-Control" ), answer.npos );
   }
}

TEST( HttpServer, AnswersHeadWithoutTheBody ) {
   EchoServer echo;
   auto client = echo.client();
   client.send( "HEAD /echo HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n" );
   std::string const answer = client.readAll();
   EXPECT_EQ( statusOf( answer ), 200 );
   EXPECT_EQ( answer.find( "Content-Length: 0" ), answer.npos );
   EXPECT_EQ( bodyOf( answer ), "" );
}

TEST( HttpServer, TakesBodiesByLengthAndInChunks ) {
   EchoServer echo;
   EXPECT_EQ(
      echoed( echo.answerTo( postOf( "{\"a\":1}", "Content-Length: 7\r\n" ) ) )[ "body" ],
      "{\"a\":1}" );
   EXPECT_EQ(
      echoed( echo.answerTo( postOf(
         "4;name=x\r\n{\"a\"\r\n003\r\n:1}\r\n0\r\nTrailer: 1\r\n\r\n",
         "Transfer-Encoding: Chunked\r\n" ) ) )[ "body" ],
      "{\"a\":1}" );
}

TEST( HttpServer, TellsAClientThatWaitsToGoOn ) {
   EchoServer echo;
   auto client = echo.client();
   client.send( postOf( "", "Content-Length: 2\r\nExpect: 100-continue\r\n" ) );
   EXPECT_EQ( client.readUntil( "\r\n\r\n" ), "HTTP/1.1 100 Continue\r\n\r\n" );
   EXPECT_EQ( echoed( client.send( "{}" ).readAnswer() )[ "body" ], "{}" );
}

TEST( HttpServer, AnswersPipelinedRequestsInOrder ) {
   EchoServer echo;
   std::string requests;
   for ( int i = 0; i < 1000; ++i ) {
      requests += getOf( fmt::format( "/echo/{}", i ) );
   }
   auto client = echo.client();
   client.send( requests );
   for ( int i = 0; i < 1000; ++i ) {
      ASSERT_EQ( echoed( client.readAnswer() )[ "path" ][ 1 ], std::to_string( i ) );
   }
}

TEST( HttpServer, TakesNoMoreFromAClientThatPipelinesAndReadsNothing ) {
   EchoServer echo;
   auto client = echo.client();
   std::string requests;
   for ( int i = 0; i < 20; ++i ) {
      requests += getOf( "/big" );
   }
   client.send( requests );
   // 80 MiB altogether, of which the server holds an answer or two at a time.
   for ( int i = 0; i < 20; ++i ) {
      ASSERT_EQ( bodyOf( client.readAnswer() ).size(), 4U << 20 );
   }
}

TEST( HttpServer, KeepsPipelinedRequestsUntilAnAnswerThatComesLater ) {
   EchoServer echo;
   auto client = echo.client();
   client.send( getOf( "/later" ) + getOf( "/echo" ) );
   while ( echo.replies.empty() ) {
      echo.loop.turn();
   }
   echo.replies[ 0 ].send( textResponse( "text/plain", "at last" ) );
   EXPECT_EQ( bodyOf( client.readAnswer() ), "at last" );
   EXPECT_EQ( statusOf( client.readAnswer() ), 200 );
}

TEST( HttpServer, AnswersAClientThatHasClosedItsHalf ) {
   EchoServer echo;
   auto client = echo.client();
   client.send( getOf( "/echo" ) + getOf( "/later" ) ).finish();
   EXPECT_EQ( statusOf( client.readAnswer() ), 200 );
   while ( echo.replies.empty() ) {
      echo.loop.turn();
   }
   echo.replies[ 0 ].send( textResponse( "text/plain", "at last" ) );
   EXPECT_EQ( bodyOf( client.readAll() ), "at last" );
}

TEST( HttpServer, RefusesHalfARequest ) {
   EchoServer echo;
   auto client = echo.client();
   std::string const answer = client.send( "GET /echo HT" ).finish().readAll();
   EXPECT_EQ( statusOf( answer ), 400 );
}

TEST( HttpServer, EndsAConnectionOnWhichNothingWasAskedWithoutAnAnswer ) {
   EchoServer echo;
   EXPECT_EQ( echo.client().finish().readAll(), "" );
   EXPECT_EQ( echo.server.connections(), 0U );
}

TEST( HttpServer, AnswerToAClientThatHasGoneDoesNothing ) {
   EchoServer echo;
   {
      auto client = echo.client();
      client.send( getOf( "/later", "Connection: close\r\n" ) );
      while ( echo.replies.empty() ) {
         echo.loop.turn();
      }
   }
   echo.replies[ 0 ].send( textResponse( "text/plain", "too late" ) );
   while ( echo.server.connections() != 0 ) {
      echo.loop.turn();
   }
   EXPECT_FALSE( echo.replies[ 0 ].isOpen() );
   echo.replies[ 0 ].send( textResponse( "text/plain", "again" ) );
}

TEST( HttpServer, AnswersWhenTheHandlerForgetsTo ) {
   EchoServer echo;
   EXPECT_EQ( statusOf( echo.get( "/never" ) ), 500 );
}

TEST( HttpServer, AnswersAndSaysWhatAHandlerThrows ) {
   EchoServer echo;
   std::string complaint;
   echo.server.complaintIs( [ & ]( std::string const& text ) { complaint = text; } );
   EXPECT_EQ( statusOf( echo.get( "/throws" ) ), 500 );
   EXPECT_EQ( complaint, "GET /throws: out of paper" );
}

TEST( HttpServer, KeepsTheConnectionAsTheVersionHasIt ) {
   EchoServer echo;
   auto old = echo.client();
   EXPECT_NE(
      old.send( "GET /echo HTTP/1.0\r\nHost: localhost\r\n\r\n" )
         .readAll()
         .find( "Connection: close" ),
      std::string::npos );
   auto kept = echo.client();
   kept.send( "GET /echo HTTP/1.0\r\nHost: localhost\r\nConnection: keep-alive\r\n\r\n" );
   EXPECT_EQ( statusOf( kept.readAnswer() ), 200 );
   kept.send( getOf( "/echo", "Connection: close\r\n" ) );
   EXPECT_EQ( statusOf( kept.readAll() ), 200 );
   auto listed = echo.client();
   listed.send( getOf( "/echo", "Connection: keep-alive\r\nConnection: close\r\n" ) );
   EXPECT_NE( listed.readAnswer().find( "Connection: close" ), std::string::npos );
}

TEST( HttpServer, WritesWithTheTokenOrThroughTheSocket ) {
   EchoServer echo;
   std::string const request( patchHead );
   EXPECT_EQ(
      statusOf( echo.answerTo( request + "Authorization: bearer open sesame\r\n\r\n{}" ) ),
      200 );
   EXPECT_EQ( statusOf( echo.unixClient().send( request + "\r\n{}" ).readAnswer() ), 200 );
   EXPECT_EQ( echo.writes, 2 );
   echo.server.tokenIs( "" );
   EXPECT_EQ( statusOf( echo.answerTo( request + "\r\n{}" ) ), 403 );
   EXPECT_EQ(
      statusOf( echo.answerTo( request + "Authorization: Bearer \r\n\r\n{}" ) ), 401 );
   EXPECT_EQ( echo.writes, 2 );
}

TEST( HttpServer, RefusesABodyBeforeItIsSent ) {
   EchoServer echo;
   auto client = echo.client();
   client.send( "PATCH /state HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1000000\r\n"
                "Content-Type: application/json\r\n\r\n" );
   EXPECT_EQ( statusOf( client.readAll() ), 401 );
}

TEST( HttpServer, AnswerReachesAClientThatIsStillSending ) {
   EchoServer echo;
   auto client = echo.client();
   client.send( postOf( std::string( 1U << 20, 'x' ), "Content-Length: 99999999\r\n" ) );
   EXPECT_EQ( statusOf( client.readAll() ), 413 );
}

TEST( HttpServer, EndsSlowHeaders ) {
   EchoServer echo( { .headTime = 20ms } );
   std::string const answer = echo.client().send( "GET /echo HTTP/1.1\r\n" ).readAll();
   EXPECT_EQ( statusOf( answer ), 408 );
}

TEST( HttpServer, EndsHeadersThatComeOctetByOctet ) {
   EchoServer echo( { .headTime = 20ms } );
   auto client = echo.client();
   client.send( "GET /echo HTTP/1.1\r\nX: " );
   // Each of these is a sign of life, and does not count as one.
   while ( echo.server.connections() != 0 && !echo.loop.isOver() ) {
      client.send( "x" );
      echo.loop.turn();
   }
   EXPECT_EQ( statusOf( client.readAll() ), 408 );
}

TEST( HttpServer, EndsSlowBodies ) {
   EchoServer echo( { .bodyTime = 20ms } );
   auto client = echo.client();
   client.send( postOf( "{", "Content-Length: 2\r\n" ) );
   EXPECT_EQ( statusOf( client.readAll() ), 408 );
}

TEST( HttpServer, EndsIdleConnections ) {
   EchoServer echo( { .headTime = 20ms, .idleTime = 20ms } );
   EXPECT_EQ( echo.client().readAll(), "" );
   auto client = echo.client();
   EXPECT_EQ( statusOf( client.send( getOf( "/echo" ) ).readAll() ), 200 );
}

TEST( HttpServer, CutsOffAClientThatTakesNoAnswer ) {
   EchoServer echo( { .sendTime = 20ms } );
   auto client = echo.client();
   client.send( getOf( "/big" ) );
   do {
      echo.loop.turn();
   } while ( echo.server.connections() != 0 && !echo.loop.isOver() );
   EXPECT_LT( bodyOf( client.readAll() ).size(), 4U << 20 );
}

TEST( HttpServer, LimitsTheBodiesOfAllTogether ) {
   EchoServer echo( { .allBodies = 1000 } );
   auto first = echo.client();
   auto second = echo.client();
   first.send( postOf( std::string( 900, 'x' ), "Content-Length: 901\r\n" ) );
   second.send( getOf( "/echo" ) );
   second.readAnswer();
   second.send( postOf( std::string( 900, 'x' ), "Content-Length: 901\r\n" ) );
   EXPECT_EQ( statusOf( second.readAll() ), 503 );
   EXPECT_EQ( statusOf( first.send( "x" ).readAnswer() ), 200 );
   EXPECT_EQ(
      statusOf(
         echo.answerTo( postOf( std::string( 900, 'x' ), "Content-Length: 900\r\n" ) ) ),
      200 );
}

TEST( HttpServer, AnswersThousandsOfConnections ) {
   rlimit files{};
   getrlimit( RLIMIT_NOFILE, &files );
   files.rlim_cur = files.rlim_max;
   setrlimit( RLIMIT_NOFILE, &files );
   // Both ends are here.
   std::size_t const count = std::min< std::size_t >( 5000, files.rlim_max / 2 - 100 );
   EchoServer echo( { .connections = 10000, .networkConnections = 10000 } );
   std::vector< TestClient > clients;
   clients.reserve( count );
   for ( std::size_t i = 0; i < count; ++i ) {
      clients.push_back( echo.client() );
      clients.back().send( "GET /echo HTTP/1.1\r\n" );
      while ( echo.server.connections() <= i && !echo.loop.isOver() ) {
         echo.loop.turn();
      }
   }
   EXPECT_EQ( statusOf( echo.get( "/echo" ) ), 200 );
   for ( TestClient& client : clients ) {
      client.send( "Host: localhost\r\n\r\n" );
   }
   for ( TestClient& client : clients ) {
      ASSERT_EQ( statusOf( client.readAnswer() ), 200 );
   }
}

TEST( HttpServer, IsUnderstoodByCurl ) {
   EchoServer echo;
   if ( std::system( "command -v curl >/dev/null" ) != 0 ) {
      GTEST_SKIP() << "curl is not installed";
   }
   std::string const output = outputOf(
      echo.loop,
      fmt::format(
         "head -c 900000 /dev/zero | tr '\\0' ' ' | curl -s -o /dev/null -w "
         "'%{{http_code}} ' "
         "-H 'Content-Type: application/json' --data-binary @- http://localhost:{0}/echo; "
         "curl -s http://localhost:{0}/echo/a%2Fb?c=d; "
         "curl -s --unix-socket {1} -X PATCH -H 'Content-Type: application/json' -d '{{}}' "
         "http://any.name/state",
         echo.port,
         echo.path ) );
   EXPECT_EQ(
      output,
      "200 {\"method\":\"GET\",\"path\":[\"echo\",\"a/b\"],\"query\":[[\"c\",\"d\"]],"
      "\"body\":\"\"}\n{\"revision\":1}\n" );
}

TEST( HttpServer, IsUnderstoodByPython ) {
   EchoServer echo;
   if ( std::system( "command -v python3 >/dev/null" ) != 0 ) {
      GTEST_SKIP() << "python3 is not installed";
   }
   std::string const output = outputOf(
      echo.loop,
      fmt::format(
         "python3 -c \"import urllib.request as u, urllib.error as e\n"
         "print( u.urlopen( 'http://127.0.0.1:{0}/echo' ).status )\n"
         "try: u.urlopen( 'http://127.0.0.1:{0}/nothing' )\n"
         "except e.HTTPError as error: print( error.code )\n\"",
         echo.port ) );
   EXPECT_EQ( output, "200\n404\n" );
}

} // namespace ostra::http
