// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which plug-ins are refused, and how.

#include "Program"

#include <gmock/gmock.h>

#include <sys/stat.h>

using ostra::expectRefused;
using ostra::ostraRun;
using ostra::Outcome;
using ostra::shell;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;
using namespace std::string_literals;

TEST( Cli, PluginThatCannotBeLoadedIsStatus3 ) {
   Outcome const missing = ostraRun( "run --plugin /nonexistent.so" );
   expectRefused( missing, 3 );
   EXPECT_THAT( missing.err, StartsWith( "plug-in /nonexistent.so: cannot open" ) );
   expectRefused( ostraRun( "run --plugin " OSTRA_EXAMPLES "/leaf-reload.yaml" ), 3 );
   expectRefused( ostraRun( "types --plugin nonexistent.so" ), 3 );
   EXPECT_EQ(
      ostraRun( "run --plugin nonexistent.so" ).err,
      "plug-in nonexistent.so: cannot open shared object file: No such file or directory: "
      "expected a library that defines OstraMlag::Agent\n" );
   EXPECT_EQ(
      ostraRun( "run --plugin /tmp" ).err,
      "plug-in /tmp: no regular file: expected a library that defines OstraMlag::Agent\n" );
}

TEST( Cli, PluginThatIsAPipeIsRefusedWithoutAWait ) {
   ostra::TemporaryDirectory const directory;
   std::string const pipe = directory.path() + "/pipe";
   ASSERT_EQ( mkfifo( pipe.c_str(), 0600 ), 0 );
   Outcome const outcome = ostraRun( "run --plugin '" + pipe + "'" );
   expectRefused( outcome, 3 );
   EXPECT_THAT( outcome.err, HasSubstr( "no regular file" ) );
}

TEST( Cli, LibraryThatIsNoPluginIsStatus3 ) {
   Outcome const outcome = ostraRun( "run --plugin libc.so.6 -", "{}" );
   expectRefused( outcome, 3 );
   std::string const other =
      std::string( OSTRA_PLUGIN )
         .replace(
            std::string( OSTRA_PLUGIN ).rfind( '/' ), std::string::npos, "/libRyx.so" );
   Outcome const library = ostraRun( "run --plugin '" + other + "' -", "{}" );
   expectRefused( library, 3 );
   EXPECT_THAT(
      library.err, HasSubstr( "expected a library that defines OstraMlag::Agent" ) );
}

TEST( Cli, PluginForAnotherVersionOfTheFrameworkIsStatus3 ) {
   std::string const other =
      shell( "f=$(mktemp --suffix=.so); sed 's/Ryx\\x00[0-9]/Ryx\\x009/' '" OSTRA_PLUGIN
             "' >$f; echo $f" )
         .out;
   std::string const path = other.substr( 0, other.find( '\n' ) );
   for ( char const* command : { "run", "check", "types" } ) {
      Outcome const outcome = ostraRun( command + " --plugin "s + path + " -", "{}" );
      expectRefused( outcome, 3 );
      EXPECT_THAT(
         outcome.err,
         MatchesRegex(
            "plug-in .*: built for version 9.* of the framework: expected .*\n" ) );
   }
   std::filesystem::remove( path );
}

TEST( Cli, PluginWhoseAgentHasNotTheTwoChildrenIsStatus3 ) {
   Outcome const outcome = ostraRun( "run --plugin " OSTRA_CHILDLESS_PLUGIN " -", "{}" );
   expectRefused( outcome, 3 );
   EXPECT_EQ(
      outcome.err,
      "plug-in " OSTRA_CHILDLESS_PLUGIN ": OstraMlag::Agent has no child mlagErrdisableSm: "
      "expected ethPeerIntfStatusReactor and "
      "mlagErrdisableSm\n" );
}

TEST( Cli, PluginThatContradictsWhatIsRegisteredIsStatus3 ) {
   for ( char const* command : { "run", "check", "types" } ) {
      Outcome const outcome =
         ostraRun( command + " --plugin " OSTRA_CONTRADICTING_PLUGIN " -"s, "{}" );
      expectRefused( outcome, 3 );
      EXPECT_EQ(
         outcome.err,
         "plug-in " OSTRA_CONTRADICTING_PLUGIN
         ": attribute 258 \"speed\" of Mlag::Config is already registered as 258 "
         "\"enabled\": expected a library that defines OstraMlag::Agent\n" );
   }
}

TEST( Cli, CheckLoadsAPluginThatIsNamed ) {
   for ( char const* plugin : { "/nonexistent.so", OSTRA_CHILDLESS_PLUGIN } ) {
      expectRefused( ostraRun( "check --plugin "s + plugin + " -", "{}" ), 3 );
   }
   EXPECT_EQ( ostraRun( "check --plugin " OSTRA_PLUGIN " -", "{}" ).status, 0 );
}

TEST( Cli, CheckOfAConfigurationLoadsAPluginThatIsNamed ) {
   ostra::TemporaryDirectory const directory;
   std::string const path = directory.path() + "/ostra.yaml";
   std::ofstream( path ) << "state: " << directory.path()
                         << "/state\nlisten: [ { unix: " << directory.path()
                         << "/socket } ]\n";
   for ( char const* plugin : { "/nonexistent.so", OSTRA_CHILDLESS_PLUGIN } ) {
      expectRefused(
         ostraRun( "serve --check --config " + path + " --plugin " + plugin ), 3 );
   }
   Outcome const outcome =
      ostraRun( "serve --check --config " + path + " --plugin " OSTRA_PLUGIN );
   EXPECT_EQ( outcome.status, 0 ) << outcome.err;
}
