// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Program"

#include <gmock/gmock.h>

using ostra::jsonLines;
using ostra::ostraRun;
using ostra::Outcome;
using ostra::shell;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

// Nothing was done but to say why, in one line.
void
expectRefused( Outcome const& outcome, int status ) {
   EXPECT_EQ( outcome.status, status ) << outcome.err;
   EXPECT_EQ( outcome.out, "" );
   EXPECT_EQ( std::count( outcome.err.begin(), outcome.err.end(), '\n' ), 1 )
      << outcome.err;
   EXPECT_THAT( outcome.err, EndsWith( "\n" ) );
}

} // namespace

TEST( Cli, HelpAndVersionAreEverywhere ) {
   for ( std::string const command : { "", "run ", "check ", "types " } ) {
      Outcome const help = ostraRun( command + "--help" );
      EXPECT_EQ( help.status, 0 );
      EXPECT_THAT( help.out, HasSubstr( "Usage: ostra" ) );
      EXPECT_EQ( help.err, "" );
      Outcome const version = ostraRun( command + "--version" );
      EXPECT_EQ( version.status, 0 );
      EXPECT_EQ( version.out, "ostra " OSTRA_VERSION "\n" );
   }
}

TEST( Cli, WrongCommandLinesAreOneLineAndStatus2 ) {
   for ( char const* arguments : { "",
                                   "fly",
                                   "run --bogus",
                                   "run a b",
                                   "run --format xml",
                                   "run --colour blue",
                                   "run --trace loud",
                                   "run --trace 16",
                                   "run --trace -1",
                                   "run --until soon",
                                   "run --until -1",
                                   "run --until 0.0001",
                                   "run --plugin",
                                   "check",
                                   "types Mlag::Nothing" } ) {
      expectRefused( ostraRun( arguments ), 2 );
   }
}

TEST( Cli, WrongFilesAreOneLineAndStatus2 ) {
   expectRefused( ostraRun( "run /nonexistent.yaml" ), 2 );
   expectRefused( ostraRun( "run /tmp" ), 2 );
   expectRefused( ostraRun( "run --mounts /nonexistent.json" ), 2 );
   expectRefused( ostraRun( "check -", "events: {}" ), 2 );
   expectRefused( ostraRun( "run - --mounts -", "{}" ), 2 );
}

TEST( Cli, StandardInputIsNamedInComplaints ) {
   Outcome const outcome = ostraRun( "run -", "mounts:\n  mlagConfig: { \"a\\nb\": 1 }\n" );
   expectRefused( outcome, 2 );
   EXPECT_THAT(
      outcome.err,
      StartsWith( "<stdin>:2:17: mounts.mlagConfig.a\\x0ab: unknown key: expected " ) );
}

TEST( Cli, NothingHappensWhenTheLastEventIsWrong ) {
   expectRefused(
      ostraRun(
         "run - --format ndjson", "events: [{at: 0}, {at: 1, mlagConfig: {enabled: 1}}]" ),
      2 );
}

TEST( Cli, PluginThatCannotBeLoadedIsStatus3 ) {
   Outcome const missing = ostraRun( "run --plugin /nonexistent.so" );
   expectRefused( missing, 3 );
   EXPECT_THAT( missing.err, StartsWith( "plug-in /nonexistent.so: cannot open" ) );
   expectRefused( ostraRun( "run --plugin " OSTRA_EXAMPLES "/leaf-reload.yaml" ), 3 );
   expectRefused( ostraRun( "types --plugin nonexistent.so" ), 3 );
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

TEST( Cli, PlaysTheBuiltInScenarioWithoutOne ) {
   Outcome const builtIn = ostraRun( "run --format ndjson" );
   EXPECT_EQ( builtIn.status, 0 );
   EXPECT_EQ( builtIn.err, "" );
   EXPECT_EQ(
      builtIn.out,
      ostraRun( "run --format ndjson " OSTRA_EXAMPLES "/leaf-reload.yaml" ).out );
}

TEST( Cli, TextIsTheDefaultAndHasNoColoursInAFile ) {
   Outcome const text = ostraRun( "run" );
   EXPECT_EQ( text.status, 0 );
   EXPECT_THAT(
      text.out, AllOf( HasSubstr( "Ethernet1-40" ), Not( HasSubstr( "\x1b" ) ) ) );
   EXPECT_THAT( ostraRun( "run --colour always" ).out, HasSubstr( "\x1b[" ) );
   EXPECT_EQ( ostraRun( "run --color never" ).out, text.out );
}

TEST( Cli, CheckTellsWhatTheScenarioHas ) {
   Outcome const outcome = ostraRun(
      "check -",
      "until: 20.5\nevents: [{at: 1}]\nmounts: {ethPhyIntfStatus: {intfStatus: {Vlan1: "
      "{}}}}" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.out, "<stdin>: ok, 1 event, 1 port, until 20.5 s\n" );
}

TEST( Cli, StateCanBeRead ) {
   Outcome const outcome = shell(
      "end=$(mktemp)\n"
      "\"$ostra\" run --until 100 --format ndjson | tail -1 >$end\n"
      "\"$ostra\" run - --format ndjson --mounts $end\n"
      "rm $end\n",
      "{startTime: 100, until: 0}" );
   EXPECT_EQ( outcome.err, "" );
   auto const end = jsonLines( outcome.out ).back();
   EXPECT_EQ( end.at( "state" ).at( "mlagConfig" ).at( "domainId" ), "rack1" );
   EXPECT_EQ( end.at( "state" ).at( "mlagissuCause" ).at( "intfStatus" ).size(), 54u );
}

TEST( Cli, ReaderThatLeavesEarlyEndsItQuietly ) {
   Outcome const outcome =
      shell( "{ \"$ostra\" run --trace 15 --format ndjson; echo $? >&2; } | head -1" );
   EXPECT_EQ( jsonLines( outcome.out ).size(), 1u );
   EXPECT_EQ( outcome.err, "0\n" );
   EXPECT_EQ( shell( "{ \"$ostra\" types; echo $? >&2; } | head -c 10" ).err, "0\n" );
}

TEST( Cli, OutputThatCannotBeWrittenIsAFailure ) {
   Outcome const outcome = ostraRun( "run >/dev/full" );
   expectRefused( outcome, 1 );
   EXPECT_EQ( outcome.err, "ostra: cannot write: No space left on device\n" );
}

TEST( Cli, RealTimeTellsTheSame ) {
   Outcome const outcome = ostraRun( "run - --real-time --format ndjson", "until: 0.001" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.out, ostraRun( "run - --format ndjson", "until: 0.001" ).out );
}

TEST( Cli, TypesAreListedWithIdsNamesTypesAndFlags ) {
   Outcome const all = ostraRun( "types" );
   EXPECT_EQ( all.status, 0 );
   EXPECT_THAT( all.out, HasSubstr( "Lacp::Config: entity" ) );
   EXPECT_THAT( all.out, HasSubstr( "OstraMlag::Agent: entity" ) );
   Outcome const one = ostraRun( "types Mlag::Status" );
   EXPECT_THAT(
      one.out, StartsWith( "Mlag::Status: entity, made from (Ryx::Name name)\n" ) );
   EXPECT_THAT(
      one.out, HasSubstr( "\n  258  mlagState                  Mlag::MlagState" ) );
   EXPECT_THAT( one.out, Not( HasSubstr( "Lacp::Config" ) ) );
}

TEST( Cli, TypesAsJson ) {
   auto const types =
      ostra::Json::parse( ostraRun( "types --format json Mlag::Status" ).out );
   ASSERT_EQ( types.size(), 1u );
   auto const& attributes = types.at( 0 ).at( "attributes" );
   EXPECT_EQ(
      attributes.at( 1 ).dump(),
      R"({"id":258,"name":"mlagState","valueType":"Mlag::MlagState",)"
      R"("flags":["readable","writable"]})" );
   EXPECT_GT( ostra::Json::parse( ostraRun( "types --format json" ).out ).size(), 30u );
}
