// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Program"

#include <utility>
#include <vector>

namespace ostra {

TEST( ClientLine, SaysInOneLineWhatIsWrongWithTheCommand ) {
   std::vector< std::pair< std::string, std::string > > const table = {
      { "set",
        "ostra set: no ASSIGNMENT: expected a path and its value, as "
        "mlagConfig.reloadDelay=120\n" },
      { "set a",
        "ostra set: \"a\": expected a path and a value, as mlagConfig.reloadDelay=120\n" },
      { "release", "ostra release: nothing to do: expected interfaces or --all\n" },
      { "release --all Ethernet1", "ostra release: both: expected interfaces or --all\n" },
      { "release --offline Ethernet1",
        "ostra release: --offline: expected --all with it\n" },
      { "show ports x", "ostra show: \"x\": expected a path behind state alone\n" },
      { "show nothing", "ostra show: WHAT: \"nothing\": expected summary|ports|state\n" },
      { "apply", "ostra apply: no FILE: expected a file, or -\n" },
      { "forecast --until soon",
        "ostra forecast: --until: \"soon\": expected a number of seconds from 0, in whole "
        "milliseconds, or a time like 1h30m or 01:30:00.000\n" },
      { "forecast ''",
        "ostra forecast: \"\": expected a path and a value, as "
        "mlagConfig.reloadDelay=120\n" },
      { "forecast =1",
        "ostra forecast: \"=1\": expected a path and a value, as "
        "mlagConfig.reloadDelay=120\n" },
      { "set 'a={'",
        "ostra set: value of a:1:2: not YAML: the end of the file: expected a value\n" },
      { "forecast ' {}x'", "patch:1:4: not YAML: \"x\": expected the end of the file\n" },
      { "forecast '[no, file]'",
        "[no, file]: cannot be read: No such file or directory\n" },
      { "set '[1]'",
        "ostra set: \"[1]\": expected a path and a value, as "
        "mlagConfig.reloadDelay=120\n" },
      { "apply '[1]'", "[1]: cannot be read: No such file or directory\n" },
      { "watch '[1]'",
        "ostra watch: \"[1]\": expected nothing more, as it takes no name\n" },
      { "forecast {}x", "patch:1:3: not YAML: \"x\": expected the end of the file\n" },
      { "why Ethernet1 --at 5", "ostra why: --at: expected a SCENARIO with it\n" },
      { "why Ethernet1 a.yaml --at x",
        "ostra why: --at: \"x\": expected a number of seconds from 0, in whole "
        "milliseconds, or a time like 1h30m or 01:30:00.000\n" },
      { "why", "ostra why: no INTERFACE: expected the name of a port\n" },
      { "watch --format json", "ostra watch: --format: \"json\": expected text|ndjson\n" },
   };
   for ( auto const& [ arguments, line ] : table ) {
      Outcome const outcome = ostraRun( arguments );
      EXPECT_EQ( outcome.status, 2 ) << arguments;
      EXPECT_EQ( outcome.out, "" ) << arguments;
      EXPECT_EQ( outcome.err, line );
   }
}

TEST( ClientLine, RefusesOptionsThatItWouldNotHeed ) {
   constexpr char colour[] =
      ": --colour always: another format: expected --format text with it";
   std::vector< std::pair< std::string, std::string > > table = {
      { "why Ethernet1 a.yaml --socket s",
        "ostra why: --socket: expected no SCENARIO with it, of which no host is asked" },
      { "why Ethernet1 a.yaml --format json --color always",
        std::string( "ostra why" ) + colour },
      { "release --all --config c", "ostra release: --config: expected --offline with it" },
      { "release Ethernet1 --config c",
        "ostra release: --config: expected --offline with it" },
      { "show state --colour always",
        "ostra show: --colour always: state: expected summary or ports" },
   };
   for ( auto const& [ command, format ] : { std::pair( "show", "json" ),
                                             std::pair( "alarms", "json" ),
                                             std::pair( "watch", "ndjson" ),
                                             std::pair( "history", "ndjson" ),
                                             std::pair( "set a=1", "json" ),
                                             std::pair( "apply x", "json" ),
                                             std::pair( "release --all", "json" ),
                                             std::pair( "forecast", "ndjson" ),
                                             std::pair( "why Ethernet1", "json" ) } ) {
      std::string const line( command );
      table.emplace_back(
         line + " --colour always --format " + format,
         "ostra " + line.substr( 0, line.find( ' ' ) ) + colour );
   }
   for ( auto const& [ arguments, line ] : table ) {
      Outcome const outcome = ostraRun( arguments );
      expectRefused( outcome, 2 );
      EXPECT_EQ( outcome.err, line + "\n" ) << arguments;
   }
}

TEST( ClientLine, ReleasesFromTheDevicesWithoutAHost ) {
   std::string const none = temporaryFile( "none.yaml", "driver: none\n" );
   Outcome const outcome = ostraRun( "release --all --offline --config " + none );
   EXPECT_EQ( outcome.status, 0 ) << outcome.err;
   EXPECT_EQ( outcome.out, "nothing to release: the driver none has no devices\n" );
}

} // namespace ostra
