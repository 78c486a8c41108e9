// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "api/LiveApi"

#include <host/client/ClientCommands>
#include <host/client/HostConnection>
#include <host/client/LiveText>
#include <host/serve/Config>

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>

namespace ostra {

namespace {

// What a command says to the host, which goes on meanwhile; what it throws as a text.
template< class Command >
std::string
saidBy( LiveApi& api, Command command ) {
   auto said = std::async( std::launch::async, [ & ] {
      std::ostringstream out;
      try {
         command( ClientOptions{ api.path }, out );
      } catch ( Failure const& failure ) {
         return fmt::format(
            "{} {}", static_cast< int >( failure.status() ), failure.what() );
      }
      return out.str();
   } );
   using namespace std::chrono_literals;
   while ( said.wait_for( 0ms ) != std::future_status::ready && !api.loop.isOver() ) {
      api.loop.turn();
   }
   return said.get();
}

} // namespace

TEST( Client, AssignmentsAreAPatch ) {
   EXPECT_EQ(
      assignmentPatch( "mlagConfig.reloadDelay=120" ).dump(),
      R"({"mlagConfig":{"reloadDelay":120}})" );
   EXPECT_EQ( assignmentPatch( "a=.inf" ).dump(), R"({"a":"inf"})" );
   EXPECT_EQ( assignmentPatch( "a.b=null" ).dump(), R"({"a":{"b":null}})" );
   EXPECT_EQ( assignmentPatch( "a={ b: true }" ).dump(), R"({"a":{"b":true}})" );
   EXPECT_EQ( assignmentPatch( "a=\"10\"" ).dump(), R"({"a":"10"})" );
   EXPECT_EQ( assignmentPatch( "a=" ).dump(), R"({"a":""})" );
   for ( char const* text : { "", "a", "=1", ".a=1", "a.=1", "a..b=1" } ) {
      EXPECT_THROW( assignmentPatch( text ), Failure ) << text;
   }
}

TEST( Client, ShowsAndSets ) {
   LiveApi api;
   EXPECT_EQ(
      saidBy(
         api,
         []( auto const& options, auto& out ) {
            setLive(
               options,
               { "mlagConfig.reloadDelay=120", "mlagConfig.lacpStandby=true" },
               out );
         } ),
      "revision 1\n" );
   EXPECT_EQ(
      saidBy(
         api,
         []( auto const& options, auto& out ) {
            showLive( options, Shown::state, "mlagConfig.reloadDelay", out );
         } ),
      "120\n" );
}

TEST( Client, AsksTheHostThatTheUserHasStarted ) {
   TemporaryDirectory const directory;
   std::string const state = directory.path() + "/state";
   std::filesystem::create_directories( state + "/ostra" );
   Surroundings const user{ false, "/home/me", state, "" };
   EXPECT_EQ( defaultSocket( user ), "/run/ostra/ostra.sock" );
   std::string const socket = state + "/ostra/ostra.sock";
   std::ofstream( socket ) << "";
   EXPECT_EQ( defaultSocket( user ), socket );
   std::ofstream( directory.path() + "/ostra.sock" ) << "";
   EXPECT_EQ(
      defaultSocket( { false, "/home/me", state, directory.path() } ),
      directory.path() + "/ostra.sock" );
   EXPECT_EQ(
      defaultSocket( { true, "/root", "", directory.path() } ),
      directory.path() + "/ostra.sock" );
}

TEST( Client, SaysHowATextIsQuoted ) {
   LiveApi api;
   std::string const said = saidBy( api, []( auto const& options, auto& out ) {
      setLive( options, { "mlagConfig.intfConfig.Port-Channel2.mlagId=12" }, out );
   } );
   EXPECT_TRUE( said.starts_with( "2 ostra set: mlagConfig.intfConfig.Port-Channel2" ) )
      << said;
   EXPECT_TRUE( said.ends_with( "in quotes, as mlagId='\"12\"'" ) ) << said;
}

TEST( Client, ShowsThePortsAndTheSummary ) {
   LiveApi api;
   std::string const ports = saidBy( api, []( auto const& options, auto& out ) {
      showLive( options, Shown::ports, "", out );
   } );
   EXPECT_NE( ports.find( "Ethernet1    mlag" ), ports.npos ) << ports;
   EXPECT_NE( ports.find( "300 s" ), ports.npos ) << ports;
   std::string const summary = saidBy( api, []( auto const& options, auto& out ) {
      showLive( options, Shown::summary, "", out );
   } );
   EXPECT_NE( summary.find( "MLAG ports      held, remaining 300 s\n" ), summary.npos )
      << summary;
   EXPECT_NE( summary.find( "ports           3, 3 errdisabled" ), summary.npos ) << summary;
}

TEST( Client, ReleasesPortsByHand ) {
   LiveApi api;
   EXPECT_EQ(
      saidBy(
         api,
         []( auto const& options, auto& out ) {
            releaseLive( options, { "Ethernet3/1" }, out );
         } ),
      "1 port released\n" );
   EXPECT_EQ(
      saidBy(
         api,
         []( auto const& options, auto& out ) {
            releaseLive( options, { "Ethernet3/1" }, out );
         } ),
      "2 ostra release: \"Ethernet3/1\": expected an interface that is errdisabled" );
   EXPECT_EQ(
      saidBy(
         api, []( auto const& options, auto& out ) { releaseLive( options, {}, out ); } ),
      "2 ports released\n" );
   EXPECT_EQ( api.json( "/v1/summary" )[ "counts" ][ "errdisabled" ], 0 );
}

TEST( Client, AppliesAFile ) {
   LiveApi api;
   std::string const path =
      temporaryFile( "patch.yaml", "mlagConfig: { reloadDelay: .inf }\n" );
   EXPECT_EQ(
      saidBy(
         api,
         [ & ]( auto const& options, auto& out ) { applyLive( options, path, out ); } ),
      "revision 1\n" );
   EXPECT_EQ( api.json( "/v1/state/mlagConfig/reloadDelay" ), "inf" );
}

TEST( Client, ShowsTheHistory ) {
   LiveApi api;
   std::string const all = saidBy( api, []( auto const& options, auto& out ) {
      showHistory( options, "0", "2", out );
   } );
   EXPECT_NE( all.find( "mlagProtoStatus.portsErrdisabled = true\n" ), all.npos ) << all;
   EXPECT_EQ( std::count( all.begin(), all.end(), '\n' ), 2 );
}

TEST( Client, SaysInOneLineWhatTheHostRefuses ) {
   LiveApi api;
   EXPECT_EQ(
      saidBy(
         api,
         []( auto const& options, auto& out ) {
            showLive( options, Shown::state, "mlagConfg", out );
         } ),
      "2 ostra show: \"mlagConfg\": expected a mount" );
   std::string const refusal = saidBy( api, []( auto const& options, auto& out ) {
      setLive( options, { "mlagConfig.reloadDelay=fast" }, out );
   } );
   EXPECT_TRUE(
      refusal.starts_with( "2 ostra set: mlagConfig.reloadDelay: \"fast\": expected " ) )
      << refusal;
}

TEST( Client, SaysInOneLineThatThereIsNoHost ) {
   std::ostringstream out;
   try {
      showLive( { "/no/such/socket" }, Shown::summary, "", out );
      FAIL();
   } catch ( Failure const& failure ) {
      EXPECT_EQ( failure.status(), ExitStatus::failed );
      EXPECT_STREQ(
         failure.what(),
         "ostra show: /no/such/socket: No such file or directory: expected a host that "
         "listens there" );
   }
}

TEST( Client, RecordsAreALineEach ) {
   Style const plain( false );
   EXPECT_EQ(
      recordText(
         R"({"seq":1,"t":0,"time":"T","type":"write","path":["a","b"],"value":null})",
         plain ),
      "T  a.b removed" );
   EXPECT_EQ(
      recordText( R"({"seq":1,"t":0,"time":"T","type":"log","text":"ending"})", plain ),
      "T  ending" );
   EXPECT_EQ(
      recordText(
         R"({"seq":1,"t":0,"time":"T","type":"release","interface":"Ethernet1"})", plain ),
      "T  release interface Ethernet1" );
   EXPECT_EQ( recordText( "no record", plain ), "no record" );
}

} // namespace ostra
