// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// `ostra serve` as a process: how it starts, what it says and how it ends.

#include "Program"
#include "RunningProgram"

#include <host/http/Endpoint>
#include <host/serve/Database>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <ctime>
#include <memory>

using ostra::ostraRun;
using ostra::RunningProgram;
using testing::HasSubstr;

namespace {

class Serve : public testing::Test {
 protected:
   Serve() { configure( "  mlagConfig: { reloadDelay: 5 }\n" ); }

   // `rest`: of the top level; `listen`: beside the unix socket.
   void configure(
      std::string const& mounts,
      std::string const& rest = "",
      std::string const& listen = "" ) {
      std::ofstream( config ) << "state: " << directory_.path()
                              << "/state\nlisten: [ { unix: " << directory_.path()
                              << "/socket }" << listen << " ]\n"
                              << rest << "mounts:\n"
                              << mounts;
   }
   std::string stateDirectory() const { return directory_.path() + "/state"; }
   std::string socket() const { return directory_.path() + "/socket"; }
   // Of one that serves, reads its file again behind that change, and is told to end.
   template< class Change >
   ostra::Outcome outcomeOfReading( Change change ) {
      RunningProgram program( { "serve", "--config", config, "--plugin", OSTRA_PLUGIN } );
      EXPECT_TRUE( program.hasWritten() );
      change();
      program.signal( SIGHUP );
      program.signal( SIGTERM );
      return program.outcome();
   }
   // Of a signal that comes when it serves.
   ostra::Outcome outcomeOf( int signal ) {
      RunningProgram program( { "serve", "--config", config, "--plugin", OSTRA_PLUGIN } );
      EXPECT_TRUE( program.hasWritten() );
      program.signal( signal );
      return program.outcome();
   }

 private:
   ostra::TemporaryDirectory const directory_;

 protected:
   std::string const config = directory_.path() + "/ostra.yaml";
};

} // namespace

TEST_F( Serve, EndsInGoodOrderWhenItIsToldTo ) {
   for ( int const signal : { SIGTERM, SIGINT } ) {
      auto const outcome = outcomeOf( signal );
      EXPECT_EQ( outcome.status, 0 );
      EXPECT_THAT( outcome.out, HasSubstr( "ostra: serving on " ) );
      EXPECT_EQ( outcome.err, "" );
   }
}

TEST_F( Serve, StartsAgainAfterItWasKilled ) {
   EXPECT_EQ( outcomeOf( SIGKILL ).status, 128 + SIGKILL );
   EXPECT_EQ( outcomeOf( SIGTERM ).status, 0 );
}

TEST_F( Serve, EndsWhenAnotherProcessHasItsStore ) {
   outcomeOf( SIGTERM );
   std::string const store = socket().replace( socket().size() - 6, 6, "state/state.db" );
   ostra::Database operators( store, ostra::Milliseconds( 0 ) );
   operators.run( "BEGIN EXCLUSIVE" );
   RunningProgram program( { "serve", "--config", config, "--plugin", OSTRA_PLUGIN } );
   auto const outcome = program.outcome();
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_EQ( outcome.out, "" );
   EXPECT_EQ(
      outcome.err,
      store + ": another process has it: expected one that nobody has open\n" );
}

// What it holds is durable before anybody has asked it anything.
TEST_F( Serve, GoesOnWithTheDelayAlsoWhenItIsKilledAtOnce ) {
   configure( "  mlagConfig: { enabled: true, domainId: d, localInterface: Vlan1, "
              "peerAddress: 10.0.0.2, peerLinkIntf: Port-Channel1, reloadDelay: 300 }\n"
              "  ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } }\n" );
   outcomeOf( SIGKILL );
   timespec now{};
   clock_gettime( CLOCK_BOOTTIME, &now );
   RunningProgram program( { "serve", "--config", config, "--plugin", OSTRA_PLUGIN } );
   ASSERT_TRUE( program.hasWritten() );
   auto const shown = ostraRun( "show summary --format json --socket " + socket() );
   program.signal( SIGTERM );
   auto const mlag = ostra::Json::parse( shown.out ).at( "mlag" );
   EXPECT_EQ( mlag.at( "state" ), "held" );
   EXPECT_LT(
      mlag.at( "start" ).get< double >(),
      static_cast< double >( now.tv_sec ) + static_cast< double >( now.tv_nsec ) / 1e9 );
   EXPECT_EQ( program.outcome().status, 0 );
}

TEST_F( Serve, SaysAndTellsItsAlarms ) {
   configure( R"(  mlagConfig: { enabled: true, domainId: d, localInterface: Vlan1,
      peerAddress: 10.0.0.2, peerLinkIntf: Port-Channel1, reloadDelay: .inf }
  ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } }
)" );
   RunningProgram program( { "serve", "--config", config, "--plugin", OSTRA_PLUGIN } );
   ASSERT_TRUE( program.hasWritten() );
   std::string shown;
   for ( int tries = 0; tries < 200 && !shown.starts_with( "interface" ); ++tries ) {
      shown = ostraRun( "alarms --socket " + socket() ).out;
   }
   EXPECT_THAT( shown, HasSubstr( "\nEthernet1  heldWithoutEnd  " ) );
   program.signal( SIGTERM );
   ostra::Outcome const outcome = program.outcome();
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ(
      outcome.err,
      "ostra: alarm raised: heldWithoutEnd Ethernet1: errdisabled for a delay without an "
      "end; "
      "what ends it: `ostra release Ethernet1`; `ostra why Ethernet1` says what else\n" );
}

TEST_F( Serve, AWrongFileIsRefusedBeforeAnythingHappens ) {
   configure( "  mlagConfig: { reloadDelay: soon }\n" );
   auto const outcome = ostraRun( "serve --config " + config );
   EXPECT_EQ( outcome.status, 2 );
   EXPECT_THAT( outcome.err, HasSubstr( "reloadDelay: \"soon\": expected a number" ) );
   EXPECT_EQ( ostraRun( "serve --check --config " + config ).status, 2 );
}

TEST_F( Serve, ABootIdMayBeOfAnyOctets ) {
   std::string const noText = ostra::temporaryFile( "boot-id", "\xff\xfe\n" );
   configure( "  mlagConfig: { reloadDelay: 5 }\n", "bootId: " + noText + "\n" );
   for ( int i = 0; i < 2; ++i ) {
      auto const outcome = outcomeOf( SIGTERM );
      EXPECT_EQ( outcome.status, 0 ) << outcome.err;
   }
}

TEST_F( Serve, AFileCanBeCheckedWithoutServing ) {
   auto const outcome = ostraRun( "serve --check --config " + config );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, HasSubstr( ": ok, driver none" ) );
}

TEST_F( Serve, ACheckRefusesWhatServingWould ) {
   std::string const mounts = "  mlagConfig: { reloadDelay: 5 }\n";
   std::string const empty = ostra::temporaryFile( "boot-id", "\n" );
   for (
      auto const& [ rest, listen, expected ] : std::vector< std::array< std::string, 3 > >{
         { "tokenFile: /no/such/token\n", "", "/no/such/token" },
         { "bootId: " + empty + "\n", "", "empty: expected what tells one boot" },
         { "bootId: /no/such/boot\n", "", "/no/such/boot" },
         { "",
           ", { unix: /tmp/x, group: no-such-group }",
           ": listen[1].group: \"no-such-group\": expected a group of this machine" } } ) {
      configure( mounts, rest, listen );
      for ( char const* command : { "serve --check", "serve" } ) {
         auto const outcome = ostraRun( std::string( command ) + " --config " + config );
         ostra::expectRefused( outcome, 2 );
         EXPECT_THAT( outcome.err, HasSubstr( expected ) );
      }
   }
   configure( "  mlagProtoStatus: { portsErrdisabled: true }\n" );
   auto const owned = ostraRun( "serve --check --config " + config );
   ostra::expectRefused( owned, 2 );
   EXPECT_THAT(
      owned.err,
      HasSubstr(
         config + ": mounts: mlagProtoStatus.portsErrdisabled: owned by the plug-in" ) );
}

// A host that starts holds its ports all the same.
TEST_F( Serve, ACheckRefusesPlacesWhereNoHostCouldBe ) {
   std::string const mounts = "  mlagConfig: { reloadDelay: 5 }\n";
   std::string const file = ostra::temporaryFile( "plain", "" );
   for ( auto const& [ rest, listen, expected ] :
         std::vector< std::array< std::string, 3 > >{
            { "",
              ", { unix: " + file + " }",
              "listen: " + file + ": no socket: expected one, or nothing" },
            { "",
              ", { unix: /no/such/directory/socket }",
              "listen: /no/such/directory/socket: /no/such is no directory: expected "
              "one" } } ) {
      configure( mounts, rest, listen );
      auto const outcome = ostraRun( "serve --check --config " + config );
      ostra::expectRefused( outcome, 2 );
      EXPECT_THAT( outcome.err, HasSubstr( config + ": " + expected ) );
   }
   configure( mounts );
   std::ofstream( stateDirectory() ) << "no directory";
   auto const outcome = ostraRun( "serve --check --config " + config );
   ostra::expectRefused( outcome, 2 );
   EXPECT_THAT(
      outcome.err,
      HasSubstr(
         config + ": state: " + stateDirectory() + ": a file: expected a directory" ) );
}

// A host that starts says so, and tries again.
TEST_F( Serve, ACheckWarnsOfPlacesThatSomebodyHas ) {
   std::string const mounts = "  mlagConfig: { reloadDelay: 5 }\n";
   ostra::http::ListeningSocket const port( ostra::TcpEndpoint{ "127.0.0.1", 0 } );
   ostra::http::ListeningSocket const file( ostra::UnixEndpoint{ socket() } );
   std::string const taken = fmt::format( "127.0.0.1:{}", port.port() );
   configure( mounts, "", fmt::format( ", {{ tcp: '{}' }}, {{ tcp: 8.8.8.8:1 }}", taken ) );
   auto const outcome = ostraRun( "serve --check --config " + config );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, HasSubstr( ": ok, driver none" ) );
   EXPECT_EQ(
      outcome.err,
      fmt::format(
         "warning: listen: {}: another process listens there\n"
         "warning: listen: {}: Address already in use\n"
         "warning: listen: 8.8.8.8:1: Cannot assign requested address\n",
         socket(),
         taken ) );
}

TEST_F( Serve, APortThatIsTakenDoesNotKeepItFromServing ) {
   ostra::http::ListeningSocket const taken( ostra::TcpEndpoint{ "127.0.0.1", 0 } );
   configure(
      "  mlagConfig: { reloadDelay: 5 }\n",
      "",
      fmt::format( ", {{ tcp: '127.0.0.1:{}' }}", taken.port() ) );
   auto const outcome = outcomeOf( SIGTERM );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, HasSubstr( "/socket\n" ) );
   EXPECT_THAT( outcome.err, HasSubstr( taken.name() + ": Address already in use" ) );
   EXPECT_THAT( outcome.err, HasSubstr( "tried again" ) );
}

TEST_F( Serve, APortThatBecomesFreeIsListenedTo ) {
   auto taken = std::make_unique< ostra::http::ListeningSocket >(
      ostra::TcpEndpoint{ "127.0.0.1", 0 } );
   std::string const name = taken->name();
   configure(
      "  mlagConfig: { reloadDelay: 5 }\n", "", fmt::format( ", {{ tcp: '{}' }}", name ) );
   RunningProgram program( { "serve", "--config", config, "--plugin", OSTRA_PLUGIN } );
   ASSERT_TRUE( program.hasWritten() );
   taken.reset();
   // It is tried every five seconds.
   std::this_thread::sleep_for( std::chrono::milliseconds( 5500 ) );
   program.signal( SIGTERM );
   EXPECT_THAT( program.outcome().out, HasSubstr( "ostra: serving on " + name ) );
}

TEST_F( Serve, AFileThatIsWrongWhenItIsReadAgainChangesNothing ) {
   auto const outcome =
      outcomeOfReading( [ & ] { configure( "  mlagConfig: { reloadDelay: soon }\n" ); } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.err, HasSubstr( "the configuration stays as it was: " ) );
}

TEST_F( Serve, SaysWhatWaitsForTheNextStart ) {
   auto const outcome = outcomeOfReading( [ & ] {
      configure(
         "  mlagConfig: { reloadDelay: 7 }\n",
         "linux: { reasonBit: 5 }\n",
         ", { tcp: '127.0.0.1:0' }" );
   } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ(
      outcome.err,
      "ostra: the configuration was read again\n"
      "ostra: listen: has changed: it takes effect with the next start\n"
      "ostra: linux: has changed: it takes effect with the next start\n" );
}

TEST_F( Serve, SaysNothingOfWhatHasNotChanged ) {
   configure( "  mlagConfig: { reloadDelay: 5 }\n", "linux: { reasonBit: 5 }\n" );
   EXPECT_EQ( outcomeOfReading( [] {} ).err, "ostra: the configuration was read again\n" );
}

// Whoever writes a file anew empties it first.
TEST_F( Serve, AFileThatIsEmptyChangesNothing ) {
   auto const outcome =
      outcomeOfReading( [ & ] { std::ofstream( config ) << "# soon\n"; } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT(
      outcome.err,
      HasSubstr(
         "the configuration stays as it was: " + config +
         ": empty: expected {} for no configuration" ) );
}

// What the next start would not take is not taken now.
TEST_F( Serve, AFileThatCannotBeServedChangesNothing ) {
   auto const outcome = outcomeOfReading( [ & ] {
      configure( "  mlagConfig: { reloadDelay: 7 }\n", "bootId: /nowhere/to/be/found\n" );
   } );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.err, HasSubstr( "the configuration stays as it was: " ) );
   EXPECT_THAT( outcome.err, HasSubstr( "/nowhere/to/be/found" ) );
}
