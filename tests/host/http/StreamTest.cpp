// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "TestServer"

#include <fmt/format.h>

namespace ostra::http {

namespace {

using namespace std::chrono_literals;

constexpr char request[] = "GET /stream HTTP/1.1\r\nHost: localhost\r\n\r\n";

// Waits until somebody asks for the stream.
void
waitForReply( EchoServer& echo, std::size_t count = 1 ) {
   while ( echo.replies.size() < count && !echo.loop.isOver() ) {
      echo.loop.turn();
   }
}

} // namespace

TEST( HttpStream, SendsWhatThereIsWhenItIsWoken ) {
   EchoServer echo;
   auto client = echo.client();
   client.send( request );
   waitForReply( echo );
   EXPECT_NE(
      client.readUntil( "\r\n\r\n" ).find( "Content-Type: text/event-stream" ),
      std::string::npos );
   std::string waiting;
   appendEvent( waiting, 7, "{}" );
   echo.next = [ & ] { return std::exchange( waiting, {} ); };
   echo.replies[ 0 ].wake();
   EXPECT_EQ( client.readUntil( "\n\n\r\n" ), "10\r\nid: 7\ndata: {}\n\n\r\n" );
   waiting = "more";
   echo.replies[ 0 ].wake();
   EXPECT_EQ( client.readUntil( "more\r\n" ), "4\r\nmore\r\n" );
}

TEST( HttpStream, EndsAndTheConnectionGoesOn ) {
   EchoServer echo;
   int left = 2;
   echo.next = [ & ]() -> std::optional< std::string > {
      return left-- > 0 ? std::optional< std::string >( "line\n" ) : std::nullopt;
   };
   auto client = echo.client();
   client.send( request ).send( "GET /echo HTTP/1.1\r\nHost: localhost\r\n\r\n" );
   EXPECT_EQ(
      bodyOf( client.readUntil( "0\r\n\r\n" ) ),
      "5\r\nline\n\r\n5\r\nline\n\r\n0\r\n\r\n" );
   EXPECT_EQ( statusOf( client.readAnswer() ), 200 );
}

TEST( HttpStream, EndsWithTheConnectionWhereThereAreNoChunks ) {
   EchoServer echo;
   int left = 2;
   echo.next = [ & ]() -> std::optional< std::string > {
      return left-- > 0 ? std::optional< std::string >( "line\n" ) : std::nullopt;
   };
   auto client = echo.client();
   client.send( "GET /stream HTTP/1.0\r\nHost: localhost\r\n\r\n" );
   EXPECT_EQ( bodyOf( client.readAll() ), "line\nline\n" );
}

TEST( HttpStream, ShowsThatItIsAlive ) {
   EchoServer echo( { .heartbeat = 10ms } );
   auto client = echo.client();
   client.send( request );
   client.readUntil( "3\r\n:\n\n\r\n" );
   EXPECT_EQ( client.readUntil( "3\r\n:\n\n\r\n" ), "3\r\n:\n\n\r\n" );
}

TEST( HttpStream, AsksForNoMoreThanTheClientTakes ) {
   EchoServer echo;
   std::size_t asked = 0;
   echo.next = [ & ] {
      asked += 10000;
      return std::string( 10000, 'x' );
   };
   auto client = echo.client();
   client.send( request );
   waitForReply( echo );
   // Only the time ends what waits for the client; until then others are served.
   for ( int i = 0; i < 100; ++i ) {
      ASSERT_EQ( statusOf( echo.get( "/echo" ) ), 200 );
   }
   // The queue, and what the machine's own buffers take.
   EXPECT_LT( asked, 16U << 20 );
}

TEST( HttpStream, CutsOffWhoDoesNotRead ) {
   EchoServer echo( { .sendTime = 20ms } );
   echo.next = [] { return std::string( 10000, 'x' ); };
   auto client = echo.client();
   client.send( request );
   waitForReply( echo );
   while ( echo.replies[ 0 ].isOpen() && !echo.loop.isOver() ) {
      echo.loop.turn();
   }
   EXPECT_FALSE( echo.loop.isOver() );
}

TEST( HttpStream, EndsWhenTheClientGoes ) {
   EchoServer echo;
   echo.next = [] { return std::string(); };
   {
      auto client = echo.client();
      client.send( request );
      waitForReply( echo );
   }
   while ( echo.replies[ 0 ].isOpen() && !echo.loop.isOver() ) {
      echo.loop.turn();
   }
   EXPECT_FALSE( echo.loop.isOver() );
   echo.replies[ 0 ].wake();
}

TEST( HttpStream, AreLimitedAndCountedDownWhenTheyEnd ) {
   EchoServer echo( { .streams = 1 } );
   {
      auto first = echo.client();
      first.send( request );
      waitForReply( echo );
      EXPECT_EQ( statusOf( echo.answerTo( request ) ), 503 );
   }
   while ( echo.replies[ 0 ].isOpen() && !echo.loop.isOver() ) {
      echo.loop.turn();
   }
   EXPECT_EQ( statusOf( echo.answerTo( request ) ), 200 );
}

TEST( HttpServer, TellsWhoIsToAnswerThatTheClientHasGone ) {
   EchoServer echo;
   int gone = 0;
   for ( bool const isAnswered : { false, true } ) {
      auto client = echo.client();
      client.send( "GET /later HTTP/1.1\r\nHost: localhost\r\n\r\n" );
      while ( echo.replies.empty() && !echo.loop.isOver() ) {
         echo.loop.turn();
      }
      echo.replies.back().goneIs( [ &gone ] { ++gone; } );
      if ( isAnswered ) {
         echo.replies.back().send( textResponse( "text/plain", "here" ) );
      }
      client.finish();
      while ( echo.replies.back().isOpen() && !echo.loop.isOver() ) {
         echo.loop.turn();
      }
      EXPECT_EQ( gone, 1 );
      echo.replies.clear();
   }
}

TEST( HttpServer, SendsWhatItHasAnsweredBeforeARequestThatNobodyWaitsFor ) {
   EchoServer echo;
   bool isAsked = false;
   int gone = 0;
   echo.loop.turnEnd = [ & ] {
      if ( !isAsked && !echo.replies.empty() ) {
         isAsked = true;
         echo.replies.front().goneIs( [ &gone ] { ++gone; } );
      }
   };
   auto client = echo.unixClient();
   client.send( "GET /big HTTP/1.1\r\nHost: localhost\r\n\r\n"
                "GET /later HTTP/1.1\r\nHost: localhost\r\n\r\n" );
   client.finish();
   std::string const answer = client.readAll();
   EXPECT_EQ( statusOf( answer ), 200 );
   EXPECT_EQ( bodyOf( answer ).size(), 4U << 20 );
   EXPECT_EQ( gone, 1 );
}

} // namespace ostra::http
