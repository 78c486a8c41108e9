// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Program"

#include <gmock/gmock.h>

#include <utility>

using ostra::expectRefused;
using ostra::jsonLines;
using ostra::ostraRun;
using ostra::Outcome;
using ostra::temporaryFile;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using namespace std::string_literals;

TEST( Cli, HelpAndVersionAreEverywhere ) {
   for ( std::string const command :
         { "", "run ", "check ", "types ", "import ", "schema " } ) {
      Outcome const help = ostraRun( command + "--help" );
      EXPECT_EQ( help.status, 0 );
      EXPECT_THAT( help.out, HasSubstr( "Usage: ostra" ) );
      EXPECT_EQ( help.err, "" );
      Outcome const version = ostraRun( command + "--version" );
      EXPECT_EQ( version.status, 0 );
      EXPECT_EQ( version.out, "ostra " OSTRA_VERSION "\n" );
   }
}

TEST( Cli, WrongCommandLinesSayWhereWhatAndWhatWasExpected ) {
   constexpr char instant[] =
      "expected a number of seconds from 0, in whole milliseconds, or a "
      "time like 1h30m or 01:30:00.000";
   constexpr char level[] = "expected a level from 0 to 15";
   constexpr char file[] = "expected a file, or - for standard input";
   constexpr char more[] = "expected nothing more, as one name is given already";
   std::vector< std::pair< std::string, std::string > > const refusals = {
      { "", "ostra: nothing to do: expected a command that `ostra --help` lists" },
      { "fly", "ostra: \"fly\": expected a command that `ostra --help` lists" },
      { "-x", "ostra: unknown option \"-x\": expected one that `ostra --help` lists" },
      { "run --bogus 1",
        "ostra run: unknown option \"--bogus\": expected one that `ostra run --help` "
        "lists" },
      { "run a b c", "ostra run: \"b\": "s + more },
      { "run a.yaml check", "ostra run: \"check\": "s + more },
      { "run ''", "ostra run: SCENARIO: \"\": "s + file },
      { "run --format xml",
        "ostra run: --format: \"xml\": expected text|table|json|ndjson|html|svg" },
      { "run --format",
        "ostra run: --format: no value: expected text|table|json|ndjson|html|svg" },
      { "run --against x", "ostra run: --against: another format: expected --format html" },
      { "run - --format html --against -",
        "ostra run: --against: \"-\": expected a file, as standard input is read already" },
      { "run --color blue", "ostra run: --colour: \"blue\": expected auto|always|never" },
      { "run --trace", "ostra run: --trace: no value: "s + level },
      { "run --trace loud", "ostra run: --trace: \"loud\": "s + level },
      { "run --trace 16", "ostra run: --trace: \"16\": "s + level },
      { "run --trace -1", "ostra run: --trace: \"-1\": "s + level },
      { "run --trace 1.5", "ostra run: --trace: \"1.5\": "s + level },
      { "run --until soon", "ostra run: --until: \"soon\": "s + instant },
      { "run --until -1", "ostra run: --until: \"-1\": "s + instant },
      { "run --until 0.0001", "ostra run: --until: \"0.0001\": "s + instant },
      { "run --until 1e20",
        "ostra run: --until: \"1e20\": expected at most 2251799813685.248" },
      { "run --trace 0x8", "ostra run: --trace: \"0x8\": "s + level },
      { "run - --mounts -",
        "ostra run: --mounts: \"-\": expected a file, as standard input is the scenario" },
      { "check --mounts - -",
        "ostra check: --mounts: \"-\": expected a file, as standard input is the "
        "scenario" },
      { "run --only Ethernet4-1",
        "ostra run: --only: \"Ethernet4-1\" is not a range of interfaces: expected a "
        "number "
        "greater than 4 behind \"4-\"" },
      { "run --only",
        "ostra run: --only: no value: expected interfaces, as Ethernet1-4,7" },
      { "run --trace-of",
        "ostra run: --trace-of: no value: expected the name of a handle or a function" },
      { "run --until", "ostra run: --until: no value: "s + instant },
      { "run --real-time=5", "ostra run: --real-time: a value: expected none" },
      { "run --version=maybe", "ostra run: --version: a value: expected none" },
      { "check --help=2", "ostra check: --help: a value: expected none" },
      { "--version=maybe", "ostra: --version: a value: expected none" },
      { "run --mounts ''", "ostra run: --mounts: \"\": "s + file },
      { "run --plugin", "ostra run: --plugin: no value: expected the plug-in's file" },
      { "run --plugin ''", "ostra run: --plugin: \"\": expected the plug-in's file" },
      { "check", "ostra check: no SCENARIO: "s + file },
      { "check a b", "ostra check: \"b\": "s + more },
      { "check --trace 8 a",
        "ostra check: unknown option \"--trace\": expected one that `ostra check --help` "
        "lists" },
      { "types Mlag::Nothing",
        "ostra types: NAME: \"Mlag::Nothing\": expected the name of a type, which `ostra "
        "types` lists" },
      { "schema state", "ostra schema: WHAT: \"state\": expected scenario|config|summary" },
      { "import", "ostra import: no FILE: "s + file },
      { "import x --names ''",
        "ostra import: --names: \"\": expected the configuration's file" },
      { "types a b", "ostra types: \"b\": "s + more },
   };
   for ( auto const& [ arguments, line ] : refusals ) {
      Outcome const outcome = ostraRun( arguments );
      expectRefused( outcome, 2 );
      EXPECT_EQ( outcome.err, line + "\n" ) << arguments;
   }
}

// The general help would look like an answer.
TEST( Cli, WhatNobodyTakesIsRefusedAlsoBesideAQuestion ) {
   constexpr char command[] = "expected a command that `ostra --help` lists\n";
   constexpr char more[] = "expected nothing more, as one name is given already\n";
   std::vector< std::pair< std::string, std::string > > const refusals = {
      { "ctl", "ostra: \"ctl\": "s + command },
      { "help", "ostra: \"help\": "s + command },
      { "help run", "ostra: \"help\": "s + command },
      { "fly run", "ostra: \"fly\": "s + command },
      { "'[1]'", "ostra: \"[1]\": "s + command },
      { "-x", "ostra: unknown option \"-x\": expected one that `ostra --help` lists\n" },
      { "-x run",
        "ostra: unknown option \"-x\": expected one that `ostra --help` lists\n" },
      { "run foo bar", "ostra run: \"bar\": "s + more },
      { "run -x foo",
        "ostra run: unknown option \"-x\": expected one that `ostra run --help` lists\n" },
      { "alarms x", "ostra alarms: \"x\": expected nothing more, as it takes no name\n" },
      { "diff a b c",
        "ostra diff: \"c\": expected nothing more, as all names are given already\n" },
   };
   for ( auto const& [ arguments, line ] : refusals ) {
      for ( std::string const question : { "", " --help", " -h", " --version" } ) {
         Outcome const outcome = ostraRun( arguments + question );
         expectRefused( outcome, 2 );
         EXPECT_EQ( outcome.err, line ) << arguments << question;
      }
   }
   expectRefused( ostraRun( "--help ctl" ), 2 );
   expectRefused( ostraRun( "--version ctl" ), 2 );
   EXPECT_EQ( ostraRun( "run foo --help" ).status, 0 );
}

TEST( Cli, OptionsThatContradictEachOtherAreRefused ) {
   for ( std::string const format : { "table", "json", "html", "svg" } ) {
      for ( std::string const option : { "--trace 8", "--trace-of OstraMlag" } ) {
         Outcome const outcome = ostraRun( "run --format " + format + " " + option );
         expectRefused( outcome, 2 );
         EXPECT_EQ(
            outcome.err,
            "ostra run: " + option.substr( 0, option.find( ' ' ) ) +
               ": another format: expected --format text or ndjson with it\n" );
      }
   }
   for ( std::string const format : { "json", "ndjson", "html", "svg" } ) {
      Outcome const outcome = ostraRun( "run --colour always --format " + format );
      expectRefused( outcome, 2 );
      EXPECT_EQ(
         outcome.err,
         "ostra run: --colour always: another format: expected --format text or table "
         "with it\n" );
      EXPECT_EQ( ostraRun( "run - --colour never --format " + format, "{}" ).status, 0 );
   }
   EXPECT_EQ( ostraRun( "run - --colour always --trace 1 --trace-of x", "{}" ).status, 0 );
   EXPECT_EQ( ostraRun( "run - --colour always --format table", "{}" ).status, 0 );
   EXPECT_EQ( ostraRun( "run - --trace 1 --format ndjson", "{}" ).status, 0 );
}

TEST( Cli, WarningsOfTwoRunsSayOfWhichTheyAre ) {
   auto const scenarioOf = []( std::string const& port ) {
      return temporaryFile(
         port + ".yaml",
         "mounts: { ethPhyIntfStatus: { intfStatus: { " + port + ": {} } } }\n" );
   };
   std::string const first = scenarioOf( "Ethernet1" );
   std::string const second = scenarioOf( "Ethernet2" );
   auto const warningOf = []( std::string const& ports, std::string const& scenario ) {
      return "warning: ostra run: --only: " + ports + ": not in the run of " + scenario +
         ": expected interfaces of the scenario\n";
   };
   auto const warnings = []( std::string const& arguments, std::string const& input = "" ) {
      Outcome const outcome = ostraRun( "run --format html " + arguments, input );
      EXPECT_EQ( outcome.status, 0 );
      return outcome.err;
   };
   std::string const both = first + " --against " + second;
   EXPECT_EQ( warnings( both + " --only Ethernet1" ), warningOf( "Ethernet1", second ) );
   EXPECT_EQ( warnings( both + " --only Ethernet2" ), warningOf( "Ethernet2", first ) );
   EXPECT_EQ(
      warnings( both + " --only Ethernet1-3" ),
      warningOf( "Ethernet2-3", first ) + warningOf( "Ethernet1,3", second ) );
   EXPECT_EQ(
      warnings( "- --against " + first + " --only Ethernet1", "{}" ),
      warningOf( "Ethernet1", "<stdin>" ) );
   EXPECT_EQ(
      warnings( "--against " + first + " --only Ethernet199" ),
      warningOf( "Ethernet199", "<built-in>" ) + warningOf( "Ethernet199", first ) );
   EXPECT_EQ(
      warnings( first + " --only Ethernet2" ),
      "warning: ostra run: --only: Ethernet2: not in this run: expected interfaces of the "
      "scenario\n" );
}

TEST( Cli, ARecordedStreamIsNotPlayedInAnotherWay ) {
   std::string const stream =
      temporaryFile( "recorded.ndjson", ostraRun( "run - --format ndjson", "{}" ).out );
   std::string const scenario = temporaryFile( "empty.yaml", "{}\n" );
   auto const refused = [ & ]( std::string const& option, std::string const& files ) {
      Outcome const outcome = ostraRun( "run --format html " + files + " " + option );
      bool const isRefused = outcome.status == 2;
      if ( isRefused ) {
         expectRefused( outcome, 2 );
         EXPECT_EQ(
            outcome.err,
            "ostra run: " + option.substr( 0, option.find( ' ' ) ) +
               ": a stream that was recorded: expected a scenario, which is played\n" );
      } else {
         EXPECT_EQ( outcome.status, 0 ) << outcome.err;
      }
      return isRefused;
   };
   for ( std::string const& option :
         { "--until 5"s, "--mounts " + scenario, "--real-time"s } ) {
      EXPECT_TRUE( refused( option, stream ) ) << option;
      EXPECT_TRUE( refused( option, stream + " --against " + stream ) ) << option;
      EXPECT_FALSE( refused( option, stream + " --against " + scenario ) ) << option;
      EXPECT_FALSE( refused( option, scenario + " --against " + stream ) ) << option;
   }
   // Whoever names one may name it always.
   EXPECT_FALSE( refused( "--plugin " OSTRA_PLUGIN, stream ) );
   EXPECT_TRUE( refused( "--only Ethernet1", stream ) );
   EXPECT_TRUE( refused( "--only Ethernet1", stream + " --against " + scenario ) );
   EXPECT_TRUE( refused( "--only Ethernet1", scenario + " --against " + stream ) );
   EXPECT_FALSE( refused( "--only Management1", scenario + " --against " + scenario ) );
}

TEST( Cli, OfAnOptionGivenTwiceTheLastOneHolds ) {
   Outcome const outcome = ostraRun( "run --format text --format ndjson -", "{}" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT( outcome.out, StartsWith( "{" ) );
}

TEST( Cli, HelpFitsATerminalOf80Columns ) {
   for ( std::string const command :
         { "", "run ", "check ", "types ", "import ", "schema " } ) {
      EXPECT_THAT(
         ostraRun( command + "--help" ).out, Not( ContainsRegex( "[^\n]{81}" ) ) );
   }
}

TEST( Cli, HelpSaysWhatLevelsAndStatesAre ) {
   std::string const help = ostraRun( "run --help" ).out;
   EXPECT_THAT( help, HasSubstr( "levels 0 to LEVEL" ) );
   EXPECT_THAT( help, HasSubstr( "startTime" ) );
}

TEST( Cli, WrongFilesAreOneLineAndStatus2 ) {
   expectRefused( ostraRun( "run /nonexistent.yaml" ), 2 );
   expectRefused( ostraRun( "run /tmp" ), 2 );
   expectRefused( ostraRun( "run --mounts /nonexistent.json" ), 2 );
   expectRefused( ostraRun( "check -", "events: {}" ), 2 );
   expectRefused( ostraRun( "run - --mounts -", "{}" ), 2 );
}

TEST( Cli, InputWithoutEndIsRefused ) {
   Outcome const endless = ostraRun( "check --max-input 1 /dev/zero" );
   expectRefused( endless, 2 );
   EXPECT_EQ(
      endless.err,
      "/dev/zero: longer than 1 MiB: expected at most that, or a greater --max-input\n" );
   expectRefused( ostraRun( "run --max-input 1 --mounts /dev/zero" ), 2 );
   for ( char const* size : { "0", "-1", "4096", "1M", "0x10", "''" } ) {
      Outcome const outcome = ostraRun( std::string( "check --max-input " ) + size + " x" );
      expectRefused( outcome, 2 );
      EXPECT_THAT( outcome.err, HasSubstr( "expected a number of MiB from 1 to 4095" ) );
   }
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

TEST( Cli, AReportForPeopleIsNoState ) {
   std::string const path = temporaryFile( "report.txt", ostraRun( "run" ).out );
   Outcome const outcome = ostraRun( "run --mounts '" + path + "'" );
   expectRefused( outcome, 2 );
   EXPECT_THAT(
      outcome.err,
      MatchesRegex(
         path +
         ":[0-9]+:1: a report for people: expected that of --format ndjson, or its "
         "last line\n" ) );
}

TEST( Cli, StateCanBeRead ) {
   Outcome const first = ostraRun( "run --until 100 --format ndjson" );
   std::string const lastLine = jsonLines( first.out ).back().dump();
   std::string const state = jsonLines( first.out ).back().at( "state" ).dump( 2 );
   for ( std::string const& left : { first.out, lastLine, state } ) {
      Outcome const outcome = ostraRun(
         "run - --format ndjson --mounts " + ostra::temporaryFile( "left", left ),
         "{startTime: 100, until: 0}" );
      EXPECT_EQ( outcome.err, "" );
      auto const end = jsonLines( outcome.out ).back();
      EXPECT_EQ( end.at( "state" ).at( "mlagConfig" ).at( "domainId" ), "rack1" );
      EXPECT_EQ( end.at( "state" ).at( "mlagissuCause" ).at( "intfStatus" ).size(), 54u );
   }
}

TEST( Cli, StateThatIsNoneIsRefusedWithItsPlace ) {
   std::string const file = ostra::temporaryFile( "left", "" );
   auto const complaint = [ & ]( std::string const& left ) {
      ostra::temporaryFile( "left", left );
      Outcome const outcome = ostraRun( "run - --mounts " + file, "{}" );
      expectRefused( outcome, 2 );
      return outcome.err.substr( 0, file.size() ) == file
         ? outcome.err.substr( file.size() )
         : outcome.err;
   };
   EXPECT_EQ(
      complaint( "{\"t\":0,\"type\":\"end\"}" ),
      ":1:1: no state: expected the key state, as in the end of a run\n" );
   std::string const event = "{\"t\":0,\"type\":\"event\",\"index\":0}\n";
   EXPECT_EQ(
      complaint( event + event ),
      ":2:15: type: \"event\": expected the end of a run, which is the last line of its "
      "stream\n" );
   EXPECT_THAT(
      complaint( event + "{\"t\":0,\"type\":\"end\",\"state\":{\"mlagConfig\":[]}}\n" ),
      StartsWith( ":2:43: state.mlagConfig: a list: expected a map of enabled, " ) );
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
