// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "SaidBy"

#include <host/client/ClientCommands>
#include <host/client/HostConnection>
#include <host/client/LiveText>
#include <host/client/RecordFilter>
#include <host/serve/Config>

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace ostra {

namespace {

// What a command makes of such answers, each of which ends there, without where the host
// should be. A client that asks more often waits.
template< class Command >
std::string
saidOf( std::vector< std::string_view > const& answers, Command command ) {
   TemporaryDirectory const directory;
   std::string const path = directory.path() + "/socket";
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   path.copy( address.sun_path, sizeof address.sun_path - 1 );
   int const listener = socket( AF_UNIX, SOCK_STREAM, 0 );
   auto const* const any = reinterpret_cast< sockaddr const* >( &address );
   EXPECT_EQ( bind( listener, any, sizeof address ), 0 );
   EXPECT_EQ( listen( listener, 1 ), 0 );
   auto said = std::async( std::launch::async, [ & ] {
      std::ostringstream out;
      try {
         command( path, out );
      } catch ( Failure const& failure ) {
         std::string_view const what = failure.what();
         std::size_t const at = what.find( path );
         out << ( at == what.npos ? what : what.substr( at + path.size() + 2 ) );
      }
      return out.str();
   } );
   std::vector< int > connections;
   for ( std::string_view const answer : answers ) {
      connections.push_back( accept( listener, nullptr, nullptr ) );
      EXPECT_EQ(
         ::write( connections.back(), answer.data(), answer.size() ),
         ssize_t( answer.size() ) );
      shutdown( connections.back(), SHUT_WR );
   }
   std::string const text = said.get();
   for ( int const connection : connections ) {
      close( connection );
   }
   close( listener );
   return text;
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

// A host that says no more than that and ends.
TEST( Client, TakesNoHalfOfAnAnswer ) {
   EXPECT_EQ(
      saidOf(
         { "HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\n{}\n" },
         []( std::string const& path, auto& out ) {
            out << HostConnection( "ostra forecast", path ).post( "/v1/forecast", {} );
         } ),
      "half an answer: expected a host that listens there" );
}

TEST( Client, AsksAgainAHostThatIsBusy ) {
   std::string_view const busy = "HTTP/1.1 503 Service Unavailable\r\nRetry-After: 0\r\n"
                                 "Content-Length: 2\r\n\r\n{}";
   auto const ask = []( std::string const& path, auto& out ) {
      out << HostConnection( "ostra forecast", path ).post( "/v1/forecast", {} );
   };
   EXPECT_EQ(
      saidOf( { busy, busy, "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}" }, ask ),
      "{}" );
   // It says when not to wait for it.
   std::string_view const full = "HTTP/1.1 503 Service Unavailable\r\nRetry-After: 3600\r\n"
                                 "Content-Length: 2\r\n\r\n{}";
   EXPECT_EQ( saidOf( { full }, ask ), "ostra forecast: the host answers 503" );
}

TEST( Client, WaitsForNoHostThatIsSilent ) {
   auto const ask = []( std::string const& path, auto& out ) {
      HostConnection const host( "ostra show", path, Milliseconds( 250 ) );
      out << host.get( "/v1/summary" );
   };
   EXPECT_EQ(
      saidOf( {}, ask ), "no answer for 0.25 s: expected a host that listens there" );
}

TEST( Client, WatchesUntilTheHostEndsAndSaysSo ) {
   EXPECT_EQ(
      saidOf(
         { "HTTP/1.1 200 OK\r\n\r\ndata: {}\n" },
         []( std::string const& path, auto& out ) {
            watchLive( { .socket = path, .isJson = true }, out );
         } ),
      "{}\nthe host has ended: expected one that goes on" );
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

TEST( Client, ShowsTheAlarms ) {
   LiveApi api;
   auto const shown = [ &api ]( bool isJson = false ) {
      return saidBy( api, [ isJson ]( ClientOptions options, auto& out ) {
         options.isJson = isJson;
         showAlarms( options, out );
      } );
   };
   EXPECT_EQ( shown(), "no alarms\n" );
   api.alarms.update(
      { { AlarmKind::notHeld, "Ethernet1", "not held", "an end" },
        { AlarmKind::heldWithoutEnd,
          "Ethernet3/1",
          "held",
          "`ostra release Ethernet3/1`" } },
      Milliseconds( 1000 ) );
   api.clock.time += Milliseconds( 95'000 );
   EXPECT_EQ(
      shown(),
      "interface    alarm           for   what is wrong  what ends it\n"
      "Ethernet1    notHeld         95 s  not held       an end\n"
      "Ethernet3/1  heldWithoutEnd  95 s  held           `ostra release Ethernet3/1`\n" );
   EXPECT_EQ( Json::parse( shown( true ) ), api.json( "/v1/alarms" ) );
   std::string const summary = saidBy( api, []( auto const& options, auto& out ) {
      showLive( options, Shown::summary, "", out );
   } );
   EXPECT_NE(
      summary.find( "alarms          2, which `ostra alarms` shows\n" ), summary.npos )
      << summary;
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

TEST( Client, SaysWhichPortChannelsAReleaseOfAllLeavesInStandby ) {
   LiveApi api;
   api.live.mounts().apply( Item( parseDocument(
      "state",
      "lacpConfig: { portChannel: { Port-Channel10: { stayInStandby: true }, "
      "Port-Channel11: {}, Port-Channel12: { stayInStandby: true } } }" ) ) );
   auto const release = []( auto const& interfaces ) {
      return [ &interfaces ]( auto const& options, auto& out ) {
         releaseLive( options, interfaces, out );
      };
   };
   EXPECT_EQ(
      saidBy( api, release( std::vector< std::string >{ "Ethernet2" } ) ),
      "1 port released\n" );
   EXPECT_EQ(
      saidBy( api, release( std::vector< std::string >{} ) ),
      "2 ports released\n"
      "2 port-channels in LACP standby, which this does not end: Port-Channel10, "
      "Port-Channel12\n" );
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
   std::string const wrong =
      temporaryFile( "wrong.yaml", "mlagConfig: { reloadDelay: soon }\n" );
   std::string const said = saidBy(
      api, [ & ]( auto const& options, auto& out ) { applyLive( options, wrong, out ); } );
   EXPECT_EQ( said.find( "2 ostra apply: " + wrong + ": mlagConfig.reloadDelay: " ), 0U )
      << said;
}

TEST( Client, ShowsTheHistory ) {
   LiveApi api;
   std::string const all = saidBy( api, []( auto const& options, auto& out ) {
      showHistory( options, "0", "2", out );
   } );
   EXPECT_NE( all.find( "mlagProtoStatus.portsErrdisabled = true\n" ), all.npos ) << all;
   EXPECT_EQ( std::count( all.begin(), all.end(), '\n' ), 2 );
}

TEST( Client, ShowsTheHistoryOfSomePortsAlone ) {
   LiveApi api;
   auto const history = [ &api ]( std::optional< std::string > const& limit ) {
      return saidBy( api, [ & ]( ClientOptions options, auto& out ) {
         options.only = { Kovel::IntfId( "Ethernet1" ), Kovel::IntfId( "Ethernet3/1" ) };
         showHistory( options, "0", limit, out );
      } );
   };
   std::string const held = history( std::nullopt );
   EXPECT_NE( held.find( "mlagissuCause.intfStatus.Ethernet1 = " ), held.npos ) << held;
   EXPECT_NE( held.find( "mlagissuCause.intfStatus.Ethernet3/1 = " ), held.npos );
   EXPECT_EQ( held.find( "Ethernet2" ), held.npos );
   EXPECT_EQ( held.find( "portsErrdisabled" ), held.npos );
   // The limit is of what is told, of which the first record of all is not.
   std::string const first = history( "1" );
   EXPECT_EQ( std::count( first.begin(), first.end(), '\n' ), 1 );
   EXPECT_TRUE( held.starts_with( first ) ) << first;
   EXPECT_EQ( history( "0" ), "" );
   EXPECT_EQ(
      history( "few" ), "2 ostra history: limit: \"few\": expected a whole number from 0" );
}

TEST( RecordFilter, TakesWhatNamesThemAndWhatIsOfTheHostAsAWhole ) {
   RecordFilter const filter( std::vector{ Kovel::IntfId( "Ethernet1" ) } );
   EXPECT_TRUE( filter.takes( R"({"type":"gone","interface":"Ethernet1"})" ) );
   EXPECT_TRUE( filter.takes( R"({"type":"event","patch":{"a":{"Ethernet1":null}}})" ) );
   EXPECT_TRUE(
      filter.takes( R"({"type":"event","index":1,"mounts":["ethPhyIntfStatus"]})" ) );
   EXPECT_FALSE( filter.takes( R"({"type":"gone","interface":"Ethernet11"})" ) );
   EXPECT_FALSE( filter.takes( R"({"type":"gone","interface":"Ethernet1/1"})" ) );
   EXPECT_FALSE( filter.takes( R"({"type":"write","path":["mlagProtoStatus","x"]})" ) );
   for ( char const* type : { "start", "configuration", "log" } ) {
      EXPECT_TRUE( filter.takes( fmt::format( R"({{"type":"{}"}})", type ) ) );
   }
   EXPECT_TRUE( RecordFilter( std::nullopt ).takes( "{}" ) );
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
   EXPECT_EQ(
      recordText(
         R"({"seq":1,"t":0,"time":"T","type":"alarm","state":"raised","kind":"notHeld",
            "interface":"Ethernet1","since":0,"text":"why","ending":"what"})",
         plain ),
      "T  alarm raised: notHeld Ethernet1: why" );
   EXPECT_EQ(
      recordText(
         R"({"seq":1,"t":0,"time":"T","type":"gone","interface":"Ethernet1"})", plain ),
      "T  Ethernet1 is gone" );
   EXPECT_EQ( recordText( "no record", plain ), "no record" );
}

} // namespace ostra
