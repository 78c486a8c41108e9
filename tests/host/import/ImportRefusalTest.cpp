// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "ForeignFiles"
#include "Program"

#include <gmock/gmock.h>

namespace ostra {
namespace {

using testing::HasSubstr;

// A line on standard error without anything written.
void
expectRefusal( std::string const& input, std::string const& why ) {
   Outcome const outcome = ostraRun( "import -", input );
   expectRefused( outcome, 2 );
   EXPECT_EQ( outcome.err, why + "\n" ) << input.substr( 0, 200 );
}

} // namespace

TEST( Import, WhatIsNoSuchFileIsOneLine ) {
   std::string const expected =
      "expected the list that `ip -json -details link` writes, or a map with PORT";
   expectRefusal( "", "<stdin>:1:1: nothing: " + expected );
   expectRefusal( "7", "<stdin>:1:1: 7: " + expected );
   expectRefusal( R"({"PORTS":{}})", "<stdin>:1:1: a map: " + expected );
   expectRefusal( R"({"PORT":[]})", "<stdin>:1:9: PORT: a list: expected a map of rows" );
   expectRefusal(
      R"({"PORT":{"Ethernet1":{},"Ethernet1":{}}})",
      "<stdin>:1:25: duplicate key \"Ethernet1\", first in line 1: expected it once" );
}

// What people write in YAML is in none of these files.
TEST( Import, WhatIsNoJsonIsRefused ) {
   for ( auto const& [ input, place ] :
         std::vector< std::pair< std::string, std::string > >{
            { R"([{"ifname":"swp1"},])", "1:20" },
            { "{\n  \"PORT\": { \"Ethernet1\": {}, }\n}", "2:30" },
            { "{ PORT: {} }", "1:3" },
            { "{\"PORT\":{}} # a comment", "1:13" },
            { "PORT:\n  Ethernet1: {}\n", "1:1" } } ) {
      expectRefusal(
         input, "<stdin>:" + place + ": no JSON from here on: expected JSON throughout" );
   }
}

TEST( Import, WrongTypesAreOneLine ) {
   for ( auto const& [ input, why ] : std::vector< std::pair< std::string, std::string > >{
            { "[ 5 ]", "<stdin>:1:3: [0]: 5: expected a map" },
            { "[ { \"ifname\": [] } ]", "[0].ifname: a list: expected a text" },
            { "[ { \"mtu\": 7 } ]", "[0]: \"\": expected a name of 1 to 128 octets" },
            { "[ { \"ifname\": \"swp1\", \"flags\": \"UP\" } ]",
              "[0].flags: \"UP\": expected a list of texts" },
            { "[ { \"ifname\": \"swp1\", \"flags\": [ {} ] } ]",
              "[0].flags[0]: a map: expected a text" },
            { "[ { \"ifname\": \"swp1\", \"linkinfo\": 5 } ]",
              "[0].linkinfo: 5: expected a map" },
            { linksOf( { device( "swp1" ), device( "swp1" ) } ),
              "[1]: \"swp1\": expected another name, as one before has it" },
            { linksOf( { device( std::string( 100'000, 'x' ) ) } ),
              "expected a name of 1 to 128 octets" },
            { R"({"PORT":{"Ethernet1":{"admin_status":true}}})",
              "PORT.Ethernet1.admin_status: true: expected a text" },
            { R"({"PORT":{},"MCLAG_DOMAIN":{"1":{"peer_ip":"10.0.0"}}})",
              "MCLAG_DOMAIN.1.peer_ip: \"10.0.0\": expected an IP address" },
            { R"({"PORT":{},"MCLAG_DOMAIN":{"1":{"source_ip":"x"}}})",
              "MCLAG_DOMAIN.1.source_ip: \"x\": expected an IP address" },
            { R"({"PORT":{},"MCLAG_DOMAIN":{"1":{"mclag_system_id":"x"}}})",
              "MCLAG_DOMAIN.1.mclag_system_id: \"x\": expected an Ethernet address" },
            { R"({"PORT":{},"MCLAG_DOMAIN":{"1":{"delay_restore":"soon"}}})",
              "MCLAG_DOMAIN.1.delay_restore: \"soon\": expected a number of seconds" },
            { R"({"PORT":{},"MCLAG_DOMAIN":{"1":{"delay_restore":"4294967296"}}})",
              "\"4294967296\": expected a number of seconds, at most 4294967295" },
            { R"({"PORT":{},"DEVICE_METADATA":[]})",
              "DEVICE_METADATA: a list: expected a map" },
            { R"([{"ifname":"swp1")", "<stdin>:" },
            { "[{\"ifname\":\"swp\x01\"}]", "<stdin>:1:" },
            { "[{\"ifname\":\"swp\xff\"}]", "<stdin>:1:" },
            { std::string( 10'000'000, '[' ), "<stdin>:1:" } } ) {
      Outcome const outcome = ostraRun( "import -", input );
      expectRefused( outcome, 2 );
      EXPECT_THAT( outcome.err, HasSubstr( why ) );
      EXPECT_LT( outcome.err.size(), 500U );
   }
}

TEST( Import, APeerLinkThatIsNotInTheFileIsRefused ) {
   for ( std::string const name : { "bond7", "Port-Channel7", "swp", "''" } ) {
      Outcome const outcome = ostraRun( "import - --peer-link " + name, linuxLeaf() );
      expectRefused( outcome, 2 );
      EXPECT_THAT(
         outcome.err, HasSubstr( "expected a port or port-channel of the file" ) );
   }
   EXPECT_THAT(
      ostraRun( "import - --peer-link Ethernet4", linuxLeaf() ).out,
      HasSubstr( "peerLinkIntf: Ethernet4\n" ) );
}

} // namespace ostra
