// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A client that asks for much, and takes little, does not keep the others from their answers.

#include "TestServer"

#include <fmt/format.h>

namespace ostra::http {

namespace {

std::string
getRequestOf( std::string_view target ) {
   return fmt::format( "GET {} HTTP/1.1\r\nHost: localhost\r\n\r\n", target );
}

// Each of four mebioctets, and nobody reads them.
std::vector< TestClient >
idleReaders( EchoServer& echo, std::size_t count ) {
   std::vector< TestClient > clients;
   for ( std::size_t i = 0; i < count; ++i ) {
      clients.push_back( echo.client() );
      clients.back().send( getRequestOf( "/big" ) );
      while ( echo.server.connections() <= i && !echo.loop.isOver() ) {
         echo.loop.turn();
      }
      for ( int turns = 0; turns < 5; ++turns ) {
         echo.loop.turn();
      }
   }
   return clients;
}

} // namespace

TEST( HttpFairness, TurnsAwayWhoIsTooManyAndNobodyOnTheOtherSocket ) {
   EchoServer echo( { .connections = 2 } );
   auto first = echo.client();
   auto second = echo.client();
   first.send( getRequestOf( "/echo" ) ).readAnswer();
   second.send( getRequestOf( "/echo" ) ).readAnswer();
   EXPECT_EQ( statusOf( echo.client().send( getRequestOf( "/echo" ) ).readAll() ), 503 );
   EXPECT_EQ(
      statusOf( echo.unixClient().send( getRequestOf( "/echo" ) ).readAnswer() ), 200 );
   EXPECT_EQ( statusOf( first.send( getRequestOf( "/echo" ) ).readAnswer() ), 200 );
}

TEST( HttpFairness, TurnsAwayWhoIsTooManyOfTheNetwork ) {
   EchoServer echo( { .networkConnections = 1 } );
   auto first = echo.client();
   first.send( getRequestOf( "/echo" ) ).readAnswer();
   EXPECT_EQ( statusOf( echo.client().send( getRequestOf( "/echo" ) ).readAll() ), 503 );
   auto other = echo.unixClient();
   EXPECT_EQ( statusOf( other.send( getRequestOf( "/echo" ) ).readAnswer() ), 200 );
   EXPECT_EQ(
      statusOf( echo.unixClient().send( getRequestOf( "/echo" ) ).readAnswer() ), 200 );
}

TEST( HttpFairness, ManyRequestsOfOneClientLeaveTurnsToTheOthers ) {
   EchoServer echo;
   auto eager = echo.client();
   std::string requests;
   for ( int i = 0; i < 400; ++i ) {
      requests += getRequestOf( "/echo" );
   }
   eager.send( requests );
   int turns = 0;
   echo.loop.turnEnd = [ &turns ] { ++turns; };
   for ( int i = 0; i < 400; ++i ) {
      ASSERT_EQ( statusOf( eager.readAnswer() ), 200 );
   }
   EXPECT_GE( turns, 50 );
}

TEST( HttpFairness, AnswersThatNobodyTakesAreLimitedForAllTogether ) {
   EchoServer echo( { .allSent = 8U << 20 } );
   auto const clients = idleReaders( echo, 1 );
   // The network has half of it, of which something waits: the system takes a part.
   EXPECT_EQ( statusOf( echo.client().send( getRequestOf( "/big" ) ).readAnswer() ), 503 );
   EXPECT_EQ( statusOf( echo.client().send( getRequestOf( "/echo" ) ).readAnswer() ), 200 );
   EXPECT_EQ(
      statusOf( echo.unixClient().send( getRequestOf( "/big" ) ).readAnswer() ), 200 );
}

TEST( HttpFairness, AnAnswerThatManyTakeCountsOnce ) {
   EchoServer echo( { .allSent = 8U << 20 } );
   Response const same = textResponse( "text/plain", std::string( 4U << 20, 'x' ) );
   std::vector< TestClient > clients;
   for ( std::size_t i = 0; i < 8; ++i ) {
      clients.push_back( echo.client() );
      clients.back().send( getRequestOf( "/later" ) );
      while ( echo.replies.size() <= i && !echo.loop.isOver() ) {
         echo.loop.turn();
      }
   }
   for ( Reply const& reply : echo.replies ) {
      reply.send( same );
   }
   // There is no room for another one, until all have taken this one.
   EXPECT_EQ( statusOf( echo.client().send( getRequestOf( "/big" ) ).readAnswer() ), 503 );
   for ( TestClient& client : clients ) {
      EXPECT_EQ( bodyOf( client.readAnswer() ).size(), same.body->size() );
   }
   EXPECT_EQ( statusOf( echo.client().send( getRequestOf( "/big" ) ).readAnswer() ), 200 );
}

TEST( HttpFairness, AnswersCountNoLongerThanTheirConnection ) {
   EchoServer echo( { .allSent = 8U << 20 } );
   for ( int i = 0; i < 3; ++i ) {
      auto clients = idleReaders( echo, 1 );
      clients.clear();
      while ( echo.server.connections() != 0 && !echo.loop.isOver() ) {
         echo.loop.turn();
      }
   }
   EXPECT_EQ( statusOf( echo.client().send( getRequestOf( "/big" ) ).readAnswer() ), 200 );
}

} // namespace ostra::http
