// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Program"

#include <gmock/gmock.h>

namespace ostra {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::vector< std::string >
linesIn( std::string const& text ) {
   std::vector< std::string > lines;
   std::istringstream in( text );
   for ( std::string line; std::getline( in, line ); ) {
      lines.push_back( line );
   }
   return lines;
}

// As `ip -json -details link` tells of a device, without what does not matter here.
std::string
device( std::string const& name, std::string const& more = "", bool isUp = true ) {
   return fmt::format(
      R"({{"ifindex":7,"ifname":"{}","flags":["BROADCAST","MULTICAST"{}],"mtu":1500,)"
      R"("operstate":"UP","link_type":"ether","address":"02:00:00:00:00:07"{}}})",
      name,
      isUp ? R"(,"UP","LOWER_UP")" : "",
      more );
}

std::string
bond( std::string const& name, std::string const& mode = "802.3ad" ) {
   return device(
      name,
      R"(,"linkinfo":{"info_kind":"bond","info_data":{"mode":")" + mode +
         R"(","miimon":100}})" );
}

std::string
memberIn( std::string const& name, std::string const& bond ) {
   return device(
      name, R"(,"master":")" + bond + R"(","linkinfo":{"info_slave_kind":"bond"})" );
}

std::string
linksOf( std::vector< std::string > const& devices ) {
   return fmt::format( "[{}]\n", fmt::join( devices, "," ) );
}

constexpr char loopback[] =
   R"({"ifindex":1,"ifname":"lo","flags":["LOOPBACK","UP","LOWER_UP"]})";

std::string
linuxLeaf() {
   return linksOf( { loopback,
                     device( "eth0" ),
                     memberIn( "swp1", "bond1" ),
                     memberIn( "swp2", "bond2" ),
                     memberIn( "swp3", "bond3" ),
                     device( "swp4" ),
                     device( "swp5", "", false ),
                     memberIn( "swp49", "bond1000" ),
                     memberIn( "swp50", "bond1000" ),
                     "{}",
                     bond( "bond1" ),
                     bond( "bond2" ),
                     bond( "bond3", "balance-xor" ),
                     bond( "bond1000" ),
                     device( "br0", R"(,"linkinfo":{"info_kind":"bridge"})" ) } );
}

constexpr char database[] = R"({
   "DEVICE_METADATA": { "localhost": { "hostname": "leaf1", "platform": "x" } },
   "PORT": {
      "Ethernet0": { "admin_status": "up", "alias": "Eth1/1", "lanes": "1,2", "speed": "25000" },
      "Ethernet1": { "admin_status": "up" },
      "Ethernet2": { "admin_status": "down" },
      "Ethernet3": { "alias": "Eth1/4" },
      "Ethernet48": { "admin_status": "up" }
   },
   "PORTCHANNEL": {
      "PortChannel0001": { "admin_status": "up", "min_links": "1" },
      "PortChannel2": { "static": "true" },
      "PortChannel1000": {}
   },
   "PORTCHANNEL_MEMBER": {
      "PortChannel0001|Ethernet0": {},
      "PortChannel2|Ethernet1": {},
      "PortChannel1000|Ethernet48": { "NULL": "NULL" }
   },
   "VLAN_INTERFACE": { "Vlan4094": {}, "Vlan4094|10.0.0.1/30": {} },
   "MCLAG_DOMAIN": {
      "1": { "source_ip": "10.0.0.1", "peer_ip": "10.0.0.2", "peer_link": "PortChannel1000",
             "mclag_system_id": "02:00:00:00:10:01", "delay_restore": "240" }
   },
   "MCLAG_INTERFACE": {
      "1|PortChannel0001": { "if_type": "PortChannel" },
      "1|PortChannel2": { "if_type": "PortChannel" }
   }
})";

// A line on standard error without anything written.
void
expectRefusal( std::string const& input, std::string const& why ) {
   Outcome const outcome = ostraRun( "import -", input );
   expectRefused( outcome, 2 );
   EXPECT_EQ( outcome.err, why + "\n" ) << input.substr( 0, 200 );
}

} // namespace

TEST( Import, TakesTheLinksOfALinuxSwitch ) {
   Outcome const outcome = ostraRun( "import - --peer-link bond1000", linuxLeaf() );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT(
      outcome.err,
      testing::MatchesRegex(
         "warning: <stdin>:1:[0-9]+: \\[14\\]: br0: no pattern names it: left out\n" ) );
   EXPECT_EQ(
      outcome.out,
      R"(# Imported from <stdin> by `ostra import`: edit it, check it with `ostra check`, play it with
# `ostra run`. The state of links is not taken over, as the switch boots.
#
# Not taken over:
# - [14]: br0: no pattern names it: left out

mounts:
  mlagConfig:
    # No port is held before all of these are set and MLAG is enabled.
    enabled: false
    # domainId: pod1
    # localInterface: Vlan4094
    # peerAddress: 10.255.255.2
    peerLinkIntf: Port-Channel1000
    reloadDelay: 300 # seconds; the file does not say it
    # intfConfig:
    #   Port-Channel1-3: { mlagId: $1 }
  # As after a reload beside a peer that carries the traffic.
  mlagStatus: { mlagState: mlagSecondary }
  mlagProtoStatus: { holdInSecondary: true }
  ethPhyIntfStatus:
    intfStatus:
      Ethernet1-5,49-50: {}
      Management0: {}
  ethPhyIntfConfig:
    intfConfig:
      Ethernet1-4,49-50: { adminEnabledStateLocal: enabled }
      Ethernet5: { adminEnabledStateLocal: shutdown }
      Management0: { adminEnabledStateLocal: enabled }
  lagInputIntfStatus:
    intfStatus:
      Port-Channel1-3,1000: {}
  lagInputConfig:
    phyIntf:
      Ethernet1-2: { lag: Port-Channel$1, mode: lacpActive }
      Ethernet3: { lag: Port-Channel3, mode: lacpOff }
      Ethernet49-50: { lag: Port-Channel1000, mode: lacpActive }

# events:
#   - at: 303
#     label: the port-channels come up
#     lagInputIntfStatus:
#       intfStatus:
#         Port-Channel1-3,1000: { linkStatus: linkUp }
)" );
}

TEST( Import, TakesAConfigurationDatabase ) {
   Outcome const outcome = ostraRun( "import -", database );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.err, "" );
   EXPECT_THAT( outcome.out, HasSubstr( R"(
name: "leaf1"

mounts:
  mlagConfig:
    enabled: true
    domainId: "1"
    localInterface: Vlan4094
    peerAddress: "10.0.0.2"
    peerLinkIntf: Port-Channel1000
    reloadDelay: 240
    intfConfig:
      Port-Channel1-2: { mlagId: $1 }
  # As after a reload beside a peer that carries the traffic.
  mlagStatus: { mlagState: mlagSecondary, systemId: "02:00:00:00:10:01" }
  mlagProtoStatus: { holdInSecondary: true }
  ethPhyIntfStatus:
    intfStatus:
      Ethernet0-3,48: {}
  ethPhyIntfConfig:
    intfConfig:
      Ethernet0-1,48: { adminEnabledStateLocal: enabled }
      Ethernet2-3: { adminEnabledStateLocal: shutdown }
  lagInputIntfStatus:
    intfStatus:
      Port-Channel1-2,1000: {}
  lagInputConfig:
    phyIntf:
      Ethernet0: { lag: Port-Channel1, mode: lacpActive }
      Ethernet1: { lag: Port-Channel2, mode: lacpOff }
      Ethernet48: { lag: Port-Channel1000, mode: lacpActive }
)" ) );
}

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

// What is proposed behind a "#" is right when it is taken.
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

TEST( Import, WhatHasNoPlaceIsSaidAndLeftOut ) {
   Outcome const outcome = ostraRun( "import -", R"({
"PORT": { "Ethernet1": {}, "Ethernet01": {}, "Port7": {}, "PortChannel5": {}, "swp1": {} },
"PORTCHANNEL": { "PortChannel1": {}, "PortChannel01": {}, "Ethernet9": {} },
"PORTCHANNEL_MEMBER": { "PortChannel1|Ethernet1": {}, "PortChannel8|Ethernet1": {},
  "PortChannel1|Ethernet8": {}, "PortChannel1": {} },
"MCLAG_DOMAIN": { "1": { "source_ip": "10.0.0.1", "peer_link": "PortChannel77" }, "2": {} },
"MCLAG_INTERFACE": { "3|PortChannel1": {}, "1|PortChannel6": {} } })" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT(
      linesIn( outcome.err ),
      ElementsAre(
         "warning: <stdin>:2:28: PORT.Ethernet01: Ethernet\\1 gives no name of an "
         "interface: "
         "left out",
         "warning: <stdin>:2:46: PORT.Port7: no pattern names it: left out",
         "warning: <stdin>:2:59: PORT.PortChannel5: Port-Channel5 is no port: left out",
         "warning: <stdin>:2:79: PORT.swp1: Ethernet1 is Ethernet1 already: left out",
         "warning: <stdin>:3:38: PORTCHANNEL.PortChannel01: Port-Channel1 is PortChannel1 "
         "already: left out",
         "warning: <stdin>:3:59: PORTCHANNEL.Ethernet9: Ethernet9 is no port-channel: left "
         "out",
         "warning: <stdin>:4:55: PORTCHANNEL_MEMBER.PortChannel8|Ethernet1: "
         "\"PortChannel8\" "
         "is no port-channel that is known: left out",
         "warning: <stdin>:5:3: PORTCHANNEL_MEMBER.PortChannel1|Ethernet8: \"Ethernet8\" "
         "is no "
         "port that is known: left out",
         "warning: <stdin>:5:33: PORTCHANNEL_MEMBER.PortChannel1: \"\" is no port that is "
         "known: left out",
         "warning: <stdin>:6:51: MCLAG_DOMAIN.1.peer_link: \"PortChannel77\" is no port or "
         "port-channel that is known: left out",
         "warning: <stdin>:6:83: MCLAG_DOMAIN.2: a second domain: left out",
         "warning: <stdin>:7:22: MCLAG_INTERFACE.3|PortChannel1: \"3\" is no domain that "
         "is "
         "known: left out",
         "warning: <stdin>:7:44: MCLAG_INTERFACE.1|PortChannel6: \"PortChannel6\" is no "
         "port "
         "or port-channel that is known: left out",
         "warning: <stdin>:6:19: MCLAG_DOMAIN.1: MLAG is not enabled, as there is no "
         "localInterface, a VLAN with source_ip; no peerAddress, the peer_ip; no "
         "peerLinkIntf, the peer_link" ) );
   for ( std::string const& line : linesIn( outcome.err ) ) {
      std::string const remark = line.substr( line.find( ": ", 9 ) + 2 );
      EXPECT_THAT( outcome.out, HasSubstr( "# - " + remark + "\n" ) );
   }
}

TEST( Import, ABondThatIsNoPortChannelIsSaid ) {
   Outcome const outcome =
      ostraRun( "import -", linksOf( { memberIn( "swp1", "uplink" ), bond( "uplink" ) } ) );
   EXPECT_THAT(
      outcome.err,
      HasSubstr( "[0]: swp1: its bond uplink is no port-channel: left out\n" ) );
   EXPECT_THAT( outcome.out, Not( HasSubstr( "lagInputConfig" ) ) );
}

// As `ip -json link` has it, without -details.
TEST( Import, AMasterWithoutAKindIsAPortChannelByItsName ) {
   std::string const master = R"(,"master":"bond1")";
   Outcome const outcome = ostraRun(
      "import -",
      linksOf( { device( "swp1", master ),
                 device( "swp2", master ),
                 device( "swp3", R"(,"master":"br0")" ),
                 device( "swp4", R"(,"master":"swp5")" ),
                 device( "swp5" ),
                 device( "bond1" ),
                 device( "br0" ) } ) );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT(
      outcome.out,
      AllOf(
         HasSubstr( "Ethernet1-2: { lag: Port-Channel1, mode: lacpActive }\n" ),
         HasSubstr( "#\n# To be looked at:\n# - [5]: bond1: a port-channel by its name" ),
         Not( HasSubstr( "Ethernet3: { lag" ) ) ) );
   EXPECT_THAT(
      linesIn( outcome.err ),
      ElementsAre(
         HasSubstr( "[6]: br0: no pattern names it: left out" ),
         HasSubstr( "[2]: swp3: its master br0 is no port-channel: left out" ),
         HasSubstr( "[3]: swp4: its master swp5 is no port-channel: left out" ),
         HasSubstr( "[5]: bond1: a port-channel by its name: its mode is not known: "
                    "Port-Channel1 with lacpActive is taken for Ethernet1-2" ) ) );
}

TEST( Import, AMasterThatIsNotListedIsAPortChannelByItsName ) {
   Outcome const outcome = ostraRun(
      "import - --peer-link bond9",
      linksOf(
         { memberIn( "swp1", "bond9" ),
           device( "swp2", R"(,"master":"bond9")" ),
           memberIn( "swp3", "uplink" ),
           device(
              "swp4", R"(,"master":"br0","linkinfo":{"info_slave_kind":"bridge"})" ) } ) );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT(
      outcome.out,
      AllOf(
         HasSubstr( "peerLinkIntf: Port-Channel9\n" ),
         HasSubstr( "    intfStatus:\n      Port-Channel9: {}\n" ),
         HasSubstr( "Ethernet1-2: { lag: Port-Channel9, mode: lacpActive }\n" ) ) );
   EXPECT_THAT(
      linesIn( outcome.err ),
      ElementsAre(
         HasSubstr( "[2]: uplink: no pattern names it: left out" ),
         HasSubstr( "[2]: swp3: its bond uplink is no port-channel: left out" ),
         HasSubstr( "[0]: bond9: it is not in the list: its mode is not known: "
                    "Port-Channel9 with lacpActive is taken for Ethernet1-2" ) ) );
}

TEST( Import, TeamDevicesArePortChannels ) {
   auto const team = []( std::string const& name, std::string const& data ) {
      return device( name, R"(,"linkinfo":{"info_kind":"team")" + data + "}" );
   };
   Outcome const outcome = ostraRun(
      "import -",
      linksOf( { device( "swp1", R"(,"master":"team1")" ),
                 device( "swp2", R"(,"master":"team2")" ),
                 device( "swp3", R"(,"master":"uplink")" ),
                 team( "team1", "" ),
                 team( "team2", R"(,"info_data":{"mode":"roundrobin"})" ),
                 team( "uplink", "" ) } ) );
   EXPECT_THAT(
      outcome.out,
      AllOf(
         HasSubstr( "Ethernet1: { lag: Port-Channel1, mode: lacpActive }\n" ),
         HasSubstr( "Ethernet2: { lag: Port-Channel2, mode: lacpOff }\n" ) ) );
   EXPECT_THAT(
      outcome.err,
      AllOf(
         HasSubstr( "[2]: swp3: its team uplink is no port-channel: left out\n" ),
         HasSubstr( "[3]: team1: a port-channel by its name: its mode is not known" ),
         Not( HasSubstr( "team2" ) ) ) );
}

TEST( Import, APortChannelInAnotherIsSaid ) {
   Outcome const outcome = ostraRun(
      "import -",
      linksOf( { device( "bond1", R"(,"master":"bond2")" ), bond( "bond2" ) } ) );
   EXPECT_THAT(
      outcome.err,
      HasSubstr( "[0]: bond1: a port-channel in bond2, which is one, too: left out\n" ) );
}

TEST( Import, ADomainThatCannotBeEnabledIsSaid ) {
   std::string text = database;
   text.replace( text.find( "Vlan4094|10.0.0.1" ), 17, "Vlan4094|10.0.0.9" );
   Outcome const outcome = ostraRun( "import -", text );
   EXPECT_THAT( outcome.out, HasSubstr( "enabled: false\n" ) );
   std::string const why = "MCLAG_DOMAIN.1: MLAG is not enabled, as there is no "
                           "localInterface, a VLAN with source_ip\n";
   EXPECT_EQ( outcome.err, "warning: <stdin>:22:7: " + why );
   EXPECT_THAT( outcome.out, HasSubstr( "# - " + why ) );
   EXPECT_THAT(
      ostraRun( "import -", R"({"PORT":{},"MCLAG_DOMAIN":{"1":{}}})" ).err,
      HasSubstr(
         "source_ip; no peerAddress, the peer_ip; no peerLinkIntf, the peer_link\n" ) );
}

TEST( Import, TheLocalInterfaceHasTheAddressHoweverItIsWritten ) {
   std::string text = database;
   text.replace( text.find( "10.0.0.1\"" ), 8, "2001:db8::1" );
   text.replace( text.find( "10.0.0.1/30" ), 11, "2001:DB8:0:0::0001/64" );
   Outcome const outcome = ostraRun( "import -", text );
   EXPECT_EQ( outcome.err, "" );
   EXPECT_THAT( outcome.out, HasSubstr( "\n    localInterface: Vlan4094\n" ) );
}

TEST( Import, ASecondVlanWithTheAddressIsSaid ) {
   std::string text = database;
   text.replace(
      text.find( "\"Vlan4094\": {}" ),
      14,
      R"("Vlan9|10.0.0.1/24": {}, "Vlan9|10.0.0.1/25": {}, "Vlan8|x/1": {})" );
   Outcome const outcome = ostraRun( "import -", text );
   EXPECT_THAT( outcome.out, HasSubstr( "localInterface: Vlan9\n" ) );
   EXPECT_THAT(
      linesIn( outcome.err ),
      ElementsAre(
         HasSubstr( "VLAN_INTERFACE.Vlan8|x/1: \"x\" is no IP address: left out" ),
         HasSubstr( "VLAN_INTERFACE.Vlan4094|10.0.0.1/30: Vlan9 has the source_ip already: "
                    "left out" ) ) );
}

TEST( Import, UnknownValuesAreSaid ) {
   Outcome const outcome = ostraRun( "import -", R"({
"PORT": { "Ethernet1": { "admin_status": "UP" }, "Ethernet2": { "admin_status": 1 },
  "Ethernet3": { "admin_status": "down" }, "Ethernet4": {} },
"PORTCHANNEL": { "PortChannel1": { "static": "yes" }, "PortChannel2": { "static": "false" } },
"PORTCHANNEL_MEMBER": { "PortChannel1|Ethernet1": {}, "PortChannel2|Ethernet2": {} } })" );
   EXPECT_THAT(
      outcome.out, HasSubstr( "Ethernet1-4: { adminEnabledStateLocal: shutdown" ) );
   EXPECT_THAT(
      linesIn( outcome.err ),
      ElementsAre(
         "warning: <stdin>:2:26: PORT.Ethernet1.admin_status: \"UP\": expected up or down: "
         "taken as down",
         "warning: <stdin>:2:65: PORT.Ethernet2.admin_status: \"1\": expected up or down: "
         "taken as down",
         "warning: <stdin>:4:36: PORTCHANNEL.PortChannel1.static: \"yes\": expected true "
         "or "
         "false: taken as false" ) );
}

TEST( Import, APortChannelThatIsShutDownIsSaid ) {
   std::string text = database;
   text.replace( text.find( "\"static\"" ), 0, "\"admin_status\": \"down\", " );
   Outcome const outcome = ostraRun( "import -", text );
   EXPECT_THAT(
      outcome.err,
      HasSubstr( "PORTCHANNEL.PortChannel2: Port-Channel2 is shut down, which a scenario "
                 "does not say\n" ) );
   EXPECT_THAT(
      outcome.out, HasSubstr( "#         Port-Channel1,1000: { linkStatus: linkUp }" ) );
   EXPECT_THAT(
      ostraRun(
         "import -",
         linksOf( { memberIn( "swp1", "bond1" ), device( "bond1", "", false ) } ) )
         .err,
      HasSubstr( "[1]: bond1: Port-Channel1 is shut down" ) );
}

TEST( Import, LacpThatOnlyAnswersIsPassive ) {
   Outcome const outcome = ostraRun(
      "import -",
      linksOf( { memberIn( "swp1", "bond1" ),
                 device(
                    "bond1",
                    R"(,"linkinfo":{"info_kind":"bond",)"
                    R"("info_data":{"mode":"802.3ad","ad_lacp_active":"off"}})" ) } ) );
   EXPECT_EQ( outcome.err, "" );
   EXPECT_THAT(
      outcome.out, HasSubstr( "Ethernet1: { lag: Port-Channel1, mode: lacpPassive }\n" ) );
}

TEST( Import, ThePeerLinkIsNoInterfaceOfMlag ) {
   std::string text = database;
   text.replace( text.find( "\"1|PortChannel2\"" ), 0, "\"1|PortChannel1000\": {}, " );
   EXPECT_THAT(
      linesIn( ostraRun( "import -", text ).err ),
      ElementsAre( HasSubstr( "MCLAG_INTERFACE.1|PortChannel1000: the peer link is no "
                              "interface of MLAG: left out" ) ) );
   EXPECT_THAT(
      linesIn( ostraRun( "import - --peer-link PortChannel2", database ).err ),
      ElementsAre(
         HasSubstr( "MCLAG_DOMAIN.1: Port-Channel2 is an interface of MLAG, and is "
                    "the peer link: left out of those" ) ) );
}

// A range of them all would be more than a scenario may have.
TEST( Import, SeventyThousandPortsAreImported ) {
   std::string ports;
   for ( int i = 1; i <= 70'000; ++i ) {
      ports += fmt::format( R"({}"Ethernet{}":{{}})", i == 1 ? "" : ",", i );
   }
   Outcome const outcome = ostraRun( "import -", R"({"PORT":{)" + ports + "}}" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.err, "" );
   EXPECT_THAT(
      outcome.out,
      HasSubstr( "      Ethernet1-65536: {}\n      Ethernet65537-70000: {}\n" ) );
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

// The way to go on is said by `ostra check`, whose words these are.
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

// Names that would end a comment, a line or a text end nothing.
TEST( Import, NamesStayNames ) {
   Outcome const outcome = ostraRun(
      "import -",
      R"({"DEVICE_METADATA":{"localhost":{"hostname":"a\"\nevents: 5\n# x: y"}},)"
      R"("PORT":{"x\nmounts: 7":{},"Ethernet1":{}},)"
      R"("MCLAG_DOMAIN":{"\" }: [\n":{}}})" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( ostraRun( "check --strict -", outcome.out ).err, "" ) << outcome.out;
}

TEST( Import, TenMegabytesAreImported ) {
   std::vector< std::string > devices;
   for ( int i = 1; i <= 30'000; ++i ) {
      devices.push_back(
         memberIn( "swp" + std::to_string( i ), "bond" + std::to_string( i ) ) );
      devices.push_back( bond( "bond" + std::to_string( i ) ) );
   }
   std::string const links = linksOf( devices );
   EXPECT_GT( links.size(), 10'000'000U );
   Outcome const outcome = ostraRun( "import -", links );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.err, "" );
   EXPECT_THAT(
      outcome.out,
      HasSubstr( "Ethernet1-30000: { lag: Port-Channel$1, mode: lacpActive }\n" ) );
}

} // namespace ostra
