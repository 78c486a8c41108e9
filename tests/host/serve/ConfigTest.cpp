// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Play"

#include <host/serve/Config>

#include <sys/stat.h>

namespace ostra {

namespace {

Surroundings const root{ true, "/root", "", "" };
Surroundings const user{ false, "/home/me", "", "/run/user/7" };

Config
configOf( std::string const& text, Surroundings const& surroundings = root ) {
   return readConfig( parseDocument( "ostra.yaml", text ), surroundings );
}

std::string
failureOf( std::string const& text ) {
   try {
      configOf( text );
   } catch ( Failure const& failure ) {
      EXPECT_EQ( failure.status(), ExitStatus::badInput );
      return failure.what();
   }
   return "none";
}

UnixEndpoint
unixOf( Config const& config ) {
   return std::get< UnixEndpoint >( config.listen.at( 0 ) );
}

} // namespace

TEST( Config, DefaultsFollowWhoStartsTheHost ) {
   EXPECT_EQ( defaultConfig( root ).state, "/var/lib/ostra" );
   EXPECT_EQ( unixOf( defaultConfig( root ) ).path, "/run/ostra/ostra.sock" );
   EXPECT_EQ( defaultConfig( user ).state, "/home/me/.local/state/ostra" );
   EXPECT_EQ( unixOf( defaultConfig( user ) ).path, "/run/user/7/ostra.sock" );
   Surroundings const other{ false, "/home/me", "/data", "" };
   EXPECT_EQ( defaultConfig( other ).state, "/data/ostra" );
   EXPECT_EQ( unixOf( defaultConfig( other ) ).path, "/data/ostra/ostra.sock" );
   EXPECT_EQ( std::get< TcpEndpoint >( defaultConfig( root ).listen.at( 1 ) ).port, 8440 );
   EXPECT_EQ( defaultConfig( root ).driver, DriverKind::none );
}

TEST( Config, WhatTheFileDoesNotSayIsTheDefault ) {
   EXPECT_EQ( configOf( "" ).state, "/var/lib/ostra" );
   EXPECT_EQ( configOf( "{}" ).listen.size(), 2U );
   EXPECT_EQ( configOf( "history: { days: 7 }" ).historyRecords, 1'000'000 );
}

TEST( Config, ReadsAllOfIt ) {
   Config const config = configOf( R"(
driver: linux
state: /srv/ostra
bootId: /srv/boot
listen:
  - { unix: /run/a.sock, mode: "0660", group: ostra }
  - { tcp: "[::1]:8440" }
tokenFile: /etc/ostra/token
mounts:
  mlagConfig: { enabled: true, reloadDelay: .inf }
linux:
  interfaces:
    - { device: 'swp(\d+)s(\d+)', interface: 'Ethernet\1/\2' }
    - { device: 'swp(\d+)', interface: 'Ethernet\1' }
    - { device: 'mgmt', interface: 'Management1' }
  reasonBit: 5
  fallback: adminDown
history: { records: 10, days: 2 }
)" );
   EXPECT_EQ( config.driver, DriverKind::linux );
   EXPECT_EQ( config.state, "/srv/ostra" );
   EXPECT_EQ( config.bootId, "/srv/boot" );
   EXPECT_EQ( unixOf( config ).mode, 0660U );
   EXPECT_EQ( unixOf( config ).group, "ostra" );
   ASSERT_EQ( config.groups.size(), 1U );
   EXPECT_EQ( config.groups[ 0 ].name, "ostra" );
   EXPECT_EQ( config.groups[ 0 ].place, "ostra.yaml:6:47: listen[0].group" );
   EXPECT_EQ( std::get< TcpEndpoint >( config.listen.at( 1 ) ).address, "::1" );
   EXPECT_EQ( config.tokenFile, "/etc/ostra/token" );
   EXPECT_EQ(
      toJson( config.mounts->root() ).dump(),
      R"({"mlagConfig":{"enabled":true,"reloadDelay":"inf"}})" );
   EXPECT_EQ( config.linux.reasonBit, 5U );
   EXPECT_EQ( config.linux.fallback, Fallback::adminDown );
   EXPECT_EQ( config.historyRecords, 10 );
   EXPECT_EQ( config.historyDays, 2 );
   EXPECT_EQ( describe( config ), "driver linux, 2 sockets, 1 mount" );
}

TEST( Config, RulesNameInterfaces ) {
   auto const rules = configOf( R"(
linux: { interfaces: [ { device: 'swp(\d+)s(\d+)', interface: 'Ethernet\1/\2' } ] }
)" )
                         .linux.interfaces;
   EXPECT_EQ( rules.at( 0 ).interfaceOf( "swp1s2" ), "Ethernet1/2" );
   EXPECT_FALSE( rules.at( 0 ).interfaceOf( "swp1s2x" ) );
   EXPECT_FALSE( rules.at( 0 ).interfaceOf( "xswp1s2" ) );
   // A name with a leading zero is none.
   EXPECT_FALSE( rules.at( 0 ).interfaceOf( "swp01s2" ) );
}

TEST( Config, APatternMayBeLong ) {
   std::string const name( 256, 'a' );
   auto const rules =
      configOf(
         "linux: { interfaces: [ { device: " + name + ", interface: Ethernet1 } ] }" )
         .linux.interfaces;
   EXPECT_EQ( rules.at( 0 ).interfaceOf( name ), "Ethernet1" );
   auto const numbers =
      configOf(
         "linux: { interfaces: [ { device: 'swp12345{1,1000}', interface: Ethernet1 } ] }" )
         .linux.interfaces;
   EXPECT_EQ( numbers.at( 0 ).interfaceOf( "swp123455" ), "Ethernet1" );
}

TEST( Config, RefusesWithThePlaceWhatIsWrong ) {
   std::vector< std::pair< std::string, std::string > > const table = {
      { "drivr: none", "ostra.yaml:1:1: drivr: unknown key" },
      { "[]", "a list: expected a map of driver" },
      { "driver: windows", "ostra.yaml:1:9: driver: \"windows\": expected none or linux" },
      { "state: var", "ostra.yaml:1:8: state: \"var\": expected an absolute path" },
      { "state: 7", "ostra.yaml:1:8: state: 7: expected an absolute path" },
      { "listen: /run",
        "ostra.yaml:1:9: listen: \"/run\": expected a list of unix and tcp" },
      { "listen: [ { tcp: '8440' } ]",
        "ostra.yaml:1:18: listen[0].tcp: \"8440\": expected an address and a port" },
      { "listen: []",
        "ostra.yaml:1:9: listen: a list: expected at least one of unix and tcp" },
      { "listen: [ { tcp: '127.0.0.1:1' }, { unix: /a }, { tcp: '127.0.0.1:1' } ]",
        "ostra.yaml:1:49: listen[2]: the same as one before: expected another" },
      { "listen: [ { unix: /a }, { unix: /a, mode: '0660' } ]",
        "ostra.yaml:1:25: listen[1]: the same as one before: expected another" },
      { "listen: [ {} ]",
        "ostra.yaml:1:11: listen[0]: a map: expected either unix or tcp" },
      { "listen: [ { unix: /a, tcp: '127.0.0.1:1' } ]",
        "ostra.yaml:1:11: listen[0]: a map: expected either unix or tcp" },
      { "listen: [ { unix: /a, mode: rw } ]",
        "ostra.yaml:1:29: listen[0].mode: \"rw\": expected octal digits" },
      { "listen: [ { unix: /a, mode: '7777' } ]",
        "ostra.yaml:1:29: listen[0].mode: \"7777\": expected octal digits" },
      { "listen: [ { tcp: '127.0.0.1:1', mode: '0600' } ]",
        "ostra.yaml:1:11: listen[0]: a map: expected mode and group beside unix only" },
      { "listen: [ { unix: /" + std::string( 107, 'a' ) + " } ]",
        "expected a path of at most 107 octets" },
      { "history: { days: -1 }", "history.days: -1: expected a whole number from 0" },
      { "history: { days: 1.5 }", "history.days: 1.5: expected a whole number from 0" },
      { "linux: { reasonBit: 32 }",
        "linux.reasonBit: 32: expected a whole number from 0 to 31" },
      { "linux: { fallback: maybe }",
        "linux.fallback: \"maybe\": expected none or adminDown" },
      { "linux: { interfaces: [ { device: 'swp(', interface: Ethernet1 } ] }",
        "ostra.yaml:1:34: linux.interfaces[0].device: \"swp(\": expected a regular "
        "expression" },
      { "linux: { interfaces: [ { device: " + std::string( 257, 'a' ) +
           ", interface: Ethernet1 } ] }",
        "expected a regular expression of at most 256 octets, with numbers of at most 4 "
        "digits" },
      { "linux: { interfaces: [ { device: '(a)\\12345', interface: Ethernet1 } ] }",
        "expected a regular expression of at most 256 octets" },
      { "linux: { interfaces: [ { device: 'a{1,12345}', interface: Ethernet1 } ] }",
        "expected a regular expression of at most 256 octets" },
      { "linux: { interfaces: [ { device: 'swp', interface: 'Ethernet\\1' } ] }",
        "expected no \\, as device has no groups" },
      { "linux: { interfaces: [ { device: '(.)', interface: 'Ethernet\\2' } ] }",
        "expected a group of device from \\1 to \\1" },
      { "linux: { interfaces: [ { interface: 'eth\\1', device: '(.)' } ] }",
        "expected the name of a port or port-channel, as Ethernet\\1" },
      { "linux: { interfaces: [ { device: 'vlan(.)', interface: 'Vlan\\1' } ] }",
        "interface: \"Vlan\\1\": expected the name of a port or port-channel" },
      { "linux: { interfaces: [ { device: swp1 } ] }",
        "linux.interfaces[0]: no interface: expected the key interface" },
      { "linux: { interfaces: [ { interface: Ethernet1 } ] }",
        "linux.interfaces[0]: no device: expected the key device" },
      { "linux: { interfaces: [ { device: a, interface: Ethernet1, portChannel: Ethernet2 "
        "} ] }",
        "portChannel: \"Ethernet2\": expected the name of a port-channel, as "
        "Port-Channel\\1" },
      { "linux: { interfaces: [ { device: a, interface: Ethernet1, portChannel: "
        "'Port-Channel\\1' } ] }",
        "expected no \\, as device has no groups" },
      { "linux: { interfaces: [ { device: a, interface: Port-Channel1, portChannel: "
        "Port-Channel2 } ] }",
        "linux.interfaces[0]: a port-channel is in no other: expected no key portChannel" },
      { "mounts: { mlagConfig: { reloadDelay: fast } }",
        "ostra.yaml:1:38: mounts.mlagConfig.reloadDelay: \"fast\": expected" },
      { "mounts: { mlagConfg: {} }", "mlagConfg: unknown key" },
   };
   for ( auto const& [ text, expected ] : table ) {
      std::string const failure = failureOf( text );
      EXPECT_NE( failure.find( expected ), failure.npos ) << text << "\n" << failure;
   }
}

TEST( Config, TokenIsReadFromAFileThatOthersCannotRead ) {
   std::string const path = temporaryFile( "token", "  open sesame\n" );
   chmod( path.c_str(), 0640 );
   EXPECT_EQ( readToken( path ), "open sesame" );
   EXPECT_EQ( readToken( "" ), "" );
   chmod( path.c_str(), 0644 );
   EXPECT_THROW( readToken( path ), Failure );
   std::string const empty = temporaryFile( "empty", " \n" );
   chmod( empty.c_str(), 0600 );
   EXPECT_THROW( readToken( empty ), Failure );
   EXPECT_THROW( readToken( path + ".not" ), Failure );
}

TEST( Config, LoadsTheFileThatIsNamed ) {
   EXPECT_EQ(
      loadConfig( temporaryFile( "ostra.yaml", "state: /srv/x" ) ).state, "/srv/x" );
   EXPECT_THROW( loadConfig( "/no/such/file" ), Failure );
}

} // namespace ostra
