// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is too much to be told while everybody else waits: a copy of the process tells it.

#include "LiveApi"

#include <host/api/LongAnswers>
#include <host/base/JsonLine>

#include <fmt/format.h>

#include <csignal>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

namespace ostra {

namespace {

using http::bodyOf;
using http::statusOf;

// More of both than is told at once.
constexpr int manyPorts = 2001;
constexpr int manyMembers = 20'001;

std::string
portsUpTo( int count, char const* value ) {
   std::string ports;
   for ( int i = 1; i <= count; ++i ) {
      ports += fmt::format( "Ethernet{}: {}, ", i, value );
   }
   return ports;
}

// An entry is smaller than a port, of which the plug-in is asked.
std::string
manyEntries() {
   return fmt::format(
      "{{ ethIntfStatusDir: {{ intfStatus: {{ {} }} }} }}",
      portsUpTo( manyMembers, "{}" ) );
}

// Answers that are made as a test says, in a server beside the one of the switch.
class MadeAnswers {
 public:
   explicit MadeAnswers( LongAnswers::Make make ) {
      server_.add( http::Route{
         "GET",
         "/made",
         [ this, make ]( http::Request const& request, http::Reply const& reply ) {
            answers_.send( request.target, make, reply );
         } } );
      server_.listen( http::ListeningSocket( UnixEndpoint{ path_ } ) );
   }

   http::TestClient ask() {
      http::TestClient client( api.loop, path_ );
      client.send( "GET /made HTTP/1.1\r\nHost: localhost\r\n\r\n" );
      return client;
   }

   // Its copy stops before it tells anything.
   pid_t stopped() {
      siginfo_t child{};
      while ( waitid( P_ALL, 0, &child, WSTOPPED | WNOHANG ) != 0 || child.si_pid == 0 ) {
         api.loop.turn();
      }
      return child.si_pid;
   }

   LiveApi api;

 private:
   TemporaryDirectory const directory_;
   std::string const path_ = directory_.path() + "/made.sock";
   LongAnswers answers_{ api.loop.base(), api.live };
   http::Server server_{ api.loop.base() };
};

} // namespace

TEST( LongAnswers, TellManyPortsAsEachOfThem ) {
   LiveApi api(
      fmt::format(
         "{{ mlagConfig: {{ enabled: true, domainId: pod1, localInterface: Vlan4094, "
         "peerAddress: 10.255.255.2, peerLinkIntf: Port-Channel1000, reloadDelay: 300 }}, "
         "ethPhyIntfStatus: {{ intfStatus: {{ {} }} }} }}",
         portsUpTo( manyPorts, "{}" ) ),
      Milliseconds( 1000 ) );
   api.clock.time = Milliseconds( 101'000 );
   std::string const answer = api.get( "/v1/ports" );
   EXPECT_EQ( statusOf( answer ), 200 );
   EXPECT_NE( answer.find( "Content-Type: application/json\r\n" ), answer.npos );
   EXPECT_TRUE( answer.ends_with( "]\n" ) );
   Json const ports = Json::parse( bodyOf( answer ) );
   ASSERT_EQ( ports.size(), std::size_t( manyPorts ) );
   EXPECT_EQ( ports[ 0 ].at( "hold" ).at( "remaining" ), 200 );
   for ( std::size_t i = 0; i < ports.size(); i += 500 ) {
      EXPECT_EQ( ports[ i ], api.json( fmt::format( "/v1/ports/Ethernet{}", i + 1 ) ) );
   }
}

TEST( LongAnswers, TellMuchOfTheStateAsItIs ) {
   LiveApi api( manyEntries(), Milliseconds( 1000 ) );
   for ( Path const& path : { Path{},
                              Path{ "ethIntfStatusDir" },
                              Path{ "ethIntfStatusDir", "intfStatus" } } ) {
      std::string target = "/v1/state";
      for ( std::string const& key : path ) {
         target += "/" + key;
      }
      std::string const answer = api.get( target );
      EXPECT_EQ( statusOf( answer ), 200 ) << target;
      // Reading so many keys as JSON takes long.
      EXPECT_TRUE( bodyOf( answer ) == lineOf( *api.live.state( path ) ) + "\n" ) << target;
   }
   EXPECT_EQ(
      statusOf( api.get( "/v1/state/ethIntfStatusDir/intfStatus/Ethernet0" ) ), 404 );
}

TEST( LongAnswers, LetOthersBeAnsweredMeanwhileAndTellWhatWasSoAtTheirBeginning ) {
   MadeAnswers made( [ & ] {
      raise( SIGSTOP );
      return made.api.live.state( { "mlagStatus", "mlagState" } )->dump();
   } );
   auto client = made.ask();
   pid_t const copy = made.stopped();
   EXPECT_EQ(
      statusOf( made.api.patch( "/v1/state/mlagStatus", "{\"mlagState\": 3}" ) ), 200 );
   EXPECT_EQ( made.api.json( "/v1/state/mlagStatus/mlagState" ), 3 );
   kill( copy, SIGCONT );
   EXPECT_EQ( bodyOf( client.readAnswer() ), "4\n" );
}

TEST( LongAnswers, AreMadeOnceForAllWhoAskBeforeSomethingChanges ) {
   MadeAnswers made( [] {
      raise( SIGSTOP );
      return std::to_string( getpid() );
   } );
   auto first = made.ask();
   pid_t const copy = made.stopped();
   auto second = made.ask();
   made.api.json( "/v1/state/mlagStatus" );
   made.api.patch( "/v1/state/mlagStatus", "{\"mlagState\": 3}" );
   auto third = made.ask();
   auto fourth = made.ask();
   made.api.json( "/v1/state/mlagStatus" );
   kill( copy, SIGCONT );
   EXPECT_EQ( bodyOf( first.readAnswer() ), fmt::format( "{}\n", copy ) );
   EXPECT_EQ( bodyOf( second.readAnswer() ), fmt::format( "{}\n", copy ) );
   pid_t const next = made.stopped();
   EXPECT_NE( next, copy );
   kill( next, SIGCONT );
   EXPECT_EQ( bodyOf( third.readAnswer() ), fmt::format( "{}\n", next ) );
   EXPECT_EQ( bodyOf( fourth.readAnswer() ), fmt::format( "{}\n", next ) );
}

TEST( LongAnswers, SayWhyTheyCouldNotBeMade ) {
   MadeAnswers made( []() -> std::string { throw std::runtime_error( "no such luck" ); } );
   std::string const answer = made.ask().readAnswer();
   EXPECT_EQ( statusOf( answer ), 503 );
   EXPECT_NE( answer.find( "Retry-After: 1\r\n" ), answer.npos );
   EXPECT_EQ(
      errorOf( answer ),
      Json( { { "where", "/made" },
              { "found", "no such luck" },
              { "expected", "another try later" } } ) );
}

} // namespace ostra
