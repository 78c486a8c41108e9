// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "ForeignFiles"
#include "Program"

#include <gmock/gmock.h>

namespace ostra {
namespace {

using testing::AllOf;
using testing::HasSubstr;

} // namespace

TEST( Import, WhatItWritesCanBePlayed ) {
   for ( std::string const& input : { linuxLeaf(), std::string( database ) } ) {
      std::string const scenario = ostraRun( "import -", input ).out;
      Outcome const check = ostraRun( "check --strict -", scenario );
      EXPECT_EQ( check.status, 0 );
      EXPECT_EQ( check.err, "" );
   }
   std::string const scenario = ostraRun( "import -", database ).out;
   EXPECT_THAT(
      ostraRun( "run - --format table", scenario ).out,
      AllOf(
         HasSubstr( "Ethernet0-1  mlag      errdisable  00:00:00.000  00:04:00.000" ),
         HasSubstr( "Ethernet2-3  nonMlag   errdisable  00:00:00.000  00:04:00.000" ) ) );
   EXPECT_THAT(
      ostraRun( "run - --only Ethernet48", scenario ).out, HasSubstr( "never held" ) );
}

TEST( Import, ProposalsAreScenarios ) {
   std::string scenario;
   for ( std::string line :
         linesIn( ostraRun( "import - --peer-link bond1000", linuxLeaf() ).out ) ) {
      std::size_t const mark = line.find( "# " );
      bool const isProposal = mark != line.npos && line.find( ':' ) != line.npos &&
         !line.starts_with( "# Imported" ) && !line.starts_with( "# Not" ) &&
         !line.starts_with( "# - [" ) && line.find_first_not_of( ' ' ) == mark;
      scenario += ( isProposal ? line.erase( mark, 2 ) : line ) + "\n";
   }
   std::size_t const enabled = scenario.find( "enabled: false" );
   ASSERT_NE( enabled, scenario.npos );
   scenario.replace( enabled, 14, "enabled: true" );
   Outcome const check = ostraRun( "check --strict -", scenario );
   EXPECT_EQ( check.err, "" ) << scenario;
   EXPECT_THAT( check.out, HasSubstr( "1 event, 8 ports" ) );
}

TEST( Import, PatternsOfALiveHostsConfigurationNameTheInterfaces ) {
   std::string const config = temporaryFile( "names.yaml", R"(
linux:
  interfaces:
    - { device: 'swp(4)', interface: 'Ethernet1/\1', portChannel: Port-Channel9 }
    - { device: 'swp(\d+)', interface: 'Ethernet1/\1' }
    - { device: 'bond(\d+)', interface: 'Port-Channel\1' }
)" );
   Outcome const outcome = ostraRun( "import - --names " + config, linuxLeaf() );
   EXPECT_THAT(
      outcome.out,
      AllOf(
         HasSubstr( "Ethernet1/1-2: { lag: Port-Channel$2, mode: lacpActive }" ),
         HasSubstr( "Ethernet1/4: { lag: Port-Channel9, mode: lacpOff }" ) ) );
   EXPECT_THAT( outcome.err, HasSubstr( "[1]: eth0: no pattern names it: left out" ) );
   std::string const none = temporaryFile( "nonames.yaml", "driver: none\n" );
   Outcome const refused = ostraRun( "import - --names " + none, linuxLeaf() );
   expectRefused( refused, 2 );
   EXPECT_THAT( refused.err, HasSubstr( "linux.interfaces: none: expected patterns" ) );
}

TEST( Import, APortChannelOfAPatternCanBeThePeerLink ) {
   std::string const config = temporaryFile( "peerlink.yaml", R"(
linux:
  interfaces:
    - { device: 'swp9', interface: Ethernet9, portChannel: Port-Channel1000 }
)" );
   Outcome const outcome = ostraRun(
      "import - --peer-link Port-Channel1000 --names " + config,
      linksOf( { device( "swp9" ) } ) );
   EXPECT_EQ( outcome.status, 0 ) << outcome.err;
   EXPECT_THAT( outcome.out, HasSubstr( "peerLinkIntf: Port-Channel1000\n" ) );
}

TEST( Import, AFileWithoutPortsIsSaid ) {
   for ( std::string const input : { "[]", R"({"PORT":{}})" } ) {
      Outcome const outcome = ostraRun( "import -", input );
      EXPECT_EQ( outcome.status, 0 );
      EXPECT_EQ(
         outcome.err,
         "warning: <stdin>:1:1: no port is taken over: the scenario has none\n" );
   }
}

TEST( Import, SaysWhatCheckWouldWarnOf ) {
   Outcome const outcome = ostraRun( "import -", R"({ "PORT": { "Ethernet1": {} },
"PORTCHANNEL": { "PortChannel5": {} } })" );
   EXPECT_EQ( outcome.status, 0 );
   Outcome const check = ostraRun( "check -", outcome.out );
   EXPECT_NE( check.err, "" );
   std::string expected = check.err;
   for ( std::size_t at; ( at = expected.find( "<stdin>" ) ) != expected.npos; ) {
      expected.replace( at, 7, "<stdout>" );
   }
   EXPECT_EQ( outcome.err, expected );
}

TEST( Import, NamesStayNames ) {
   Outcome const outcome = ostraRun(
      "import -",
      R"({"DEVICE_METADATA":{"localhost":{"hostname":"a\"\nevents: 5\n# x: y"}},)"
      R"("PORT":{"x\nmounts: 7":{},"Ethernet1":{}},)"
      R"("MCLAG_DOMAIN":{"\" }: [\n":{}}})" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( ostraRun( "check --strict -", outcome.out ).err, "" ) << outcome.out;
}

} // namespace ostra
