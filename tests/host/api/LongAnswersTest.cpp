// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is too much to be told while everybody else waits: a copy of the process tells it.

#include "LiveApi"
#include "serve/LiveForecast"

#include <host/api/LongAnswers>
#include <host/base/JsonLine>

#include <fmt/format.h>
#include <support/AllocationCounter>

#include <csignal>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>

#include <sys/resource.h>
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

   // The next copy that has stopped; none when the client is answered without it.
   std::optional< pid_t > stoppedFor( http::TestClient const& client ) {
      siginfo_t child{};
      while ( !client.hasSomething() ) {
         bool const isOne = waitid( P_ALL, 0, &child, WSTOPPED | WNOHANG ) == 0;
         if ( isOne && child.si_pid != 0 ) {
            return child.si_pid;
         }
         api.loop.turn();
      }
      return std::nullopt;
   }

   // What it is answered if no further copy stops before.
   std::string told( http::TestClient& client ) {
      if ( auto const further = stoppedFor( client ) ) {
         ADD_FAILURE() << "a further copy was made";
         kill( *further, SIGCONT );
      }
      return bodyOf( client.readAnswer() );
   }

   LiveApi api;

 private:
   TemporaryDirectory const directory_;
   std::string const path_ = directory_.path() + "/made.sock";
   LongAnswers answers_{ api.loop.base(), api.live };
   http::Server server_{ api.loop.base() };
};

// Before it tells anything; not when this process itself is to tell it.
LongAnswers::Make
stopped( LongAnswers::Make const& make ) {
   return [ make, original = getpid() ] {
      if ( getpid() != original ) {
         raise( SIGSTOP );
      }
      return make();
   };
}

// Grows whenever a child that has ended is waited for: it has touched memory.
long
workOfCopies() {
   rusage used{};
   getrusage( RUSAGE_CHILDREN, &used );
   return used.ru_minflt;
}

// Whoever asks without a connection.
class Asker final : public http::Answerer {
 public:
   void answer( http::Response response ) override { status = response.status; }
   void answer( http::Stream ) override {}
   void wake() override {}
   void goneIs( std::function< void() > ) override {}

   int status = 0;
};

} // namespace

TEST( LongAnswers, AreMadeByACopyWhereThereIsMoreThanIsToldAtOnce ) {
   for ( int const more : { 0, 1 } ) {
      LiveApi api(
         fmt::format(
            "{{ ethPhyIntfStatus: {{ intfStatus: {{ {} }} }}, "
            "ethIntfStatusDir: {{ intfStatus: {{ {} }} }} }}",
            portsUpTo( manyPorts - 1 + more, "{}" ),
            portsUpTo( manyMembers - 1 + more, "{}" ) ),
         Milliseconds( 1000 ) );
      for ( char const* const target :
            { "/v1/ports", "/v1/state/ethIntfStatusDir/intfStatus" } ) {
         long const before = workOfCopies();
         EXPECT_EQ( statusOf( api.get( target ) ), 200 );
         EXPECT_EQ( workOfCopies() > before, more > 0 ) << target;
      }
   }
}

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
   MadeAnswers made( stopped( [ & ] {
      return made.api.live.state( { "mlagStatus", "mlagState" } )->dump();
   } ) );
   auto client = made.ask();
   auto const copy = made.stoppedFor( client );
   ASSERT_TRUE( copy );
   EXPECT_EQ(
      statusOf( made.api.patch( "/v1/state/mlagStatus", "{\"mlagState\": 3}" ) ), 200 );
   EXPECT_EQ( made.api.json( "/v1/state/mlagStatus/mlagState" ), 3 );
   kill( *copy, SIGCONT );
   EXPECT_EQ( made.told( client ), "4\n" );
}

TEST( LongAnswers, AreMadeOnceForAllWhoAskBeforeSomethingChanges ) {
   MadeAnswers made( stopped( [] { return std::to_string( getpid() ); } ) );
   auto first = made.ask();
   auto const copy = made.stoppedFor( first );
   ASSERT_TRUE( copy );
   auto second = made.ask();
   made.api.json( "/v1/state/mlagStatus" );
   made.api.patch( "/v1/state/mlagStatus", "{\"mlagState\": 3}" );
   auto third = made.ask();
   auto fourth = made.ask();
   made.api.json( "/v1/state/mlagStatus" );
   kill( *copy, SIGCONT );
   // The copy for the others may be there before their answer is.
   EXPECT_EQ( bodyOf( first.readAnswer() ), fmt::format( "{}\n", *copy ) );
   made.api.json( "/v1/state/mlagStatus" );
   ASSERT_TRUE( second.hasSomething() ) << "a further copy was made";
   EXPECT_EQ( bodyOf( second.readAnswer() ), fmt::format( "{}\n", *copy ) );
   auto const next = made.stoppedFor( third );
   ASSERT_TRUE( next ) << "it was told what was so before the change";
   EXPECT_NE( *next, *copy );
   kill( *next, SIGCONT );
   EXPECT_EQ( made.told( third ), fmt::format( "{}\n", *next ) );
   EXPECT_EQ( made.told( fourth ), fmt::format( "{}\n", *next ) );
}

// Every allocation on the way to a copy is refused once.
TEST( LongAnswers, OneThatCannotBeBegunKeepsNobodyElseFromTheirs ) {
   LiveApi api;
   LongAnswers answers( api.loop.base(), api.live );
   auto const ask = [ & ]( std::shared_ptr< Asker > const& asker ) {
      answers.send(
         "it", [] { return std::string( "1" ); }, http::Reply( asker ) );
   };
   bool isRefused = true;
   for ( std::size_t nth = 1; isRefused; ++nth ) {
      auto const first = std::make_shared< Asker >();
      {
         support::AllocationFailure const failure(
            nth, support::AllocationFailure::Of::one );
         try {
            ask( first );
         } catch ( std::bad_alloc const& ) {
            first->status = 500;
         }
         isRefused = failure.refused();
      }
      auto const second = std::make_shared< Asker >();
      ask( second );
      // What a copy has told is read in the turn behind its end.
      for ( int left = 2; second->status == 0 && left > 0; left -= hasChild() ? 0 : 1 ) {
         api.loop.turn();
      }
      ASSERT_EQ( second->status, 200 ) << nth;
      EXPECT_NE( first->status, 0 ) << nth;
   }
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
