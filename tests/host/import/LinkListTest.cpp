// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "ForeignFiles"
#include "Program"

#include <gmock/gmock.h>

namespace ostra {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

} // namespace

// Where no pattern knows the device's own.
TEST( Import, AlternativeNamesOfDevicesCount ) {
   std::string const links = linksOf(
      { device( "enp3s0", R"(,"altnames":["ens3","swp1"])" ),
        device( "swp2", R"(,"altnames":["swp7"])" ),
        device(
           "enp4s0",
           R"(,"altnames":["swp3"],"master":"lag1","linkinfo":{"info_slave_kind":"bond"})" ),
        device( "enp5s0", R"(,"altnames":["swp2"])" ),
        device( "enp6s0", R"(,"altnames":["enx"])" ),
        device(
           "lag1",
           R"(,"altnames":["bond9"],"linkinfo":{"info_kind":"bond","info_data":{"mode":"802.3ad"}})" ) } );
   Outcome const outcome = ostraRun( "import - --peer-link bond9", links );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_THAT(
      linesIn( outcome.err ),
      ElementsAre(
         testing::EndsWith( ": [3]: enp5s0: Ethernet2 is swp2 already: left out" ),
         testing::EndsWith( ": [4]: enp6s0: no pattern names it: left out" ) ) );
   EXPECT_THAT(
      outcome.out,
      AllOf(
         HasSubstr( "      Ethernet1-3: {}\n" ),
         HasSubstr( "      Ethernet3: { lag: Port-Channel9, mode: lacpActive }\n" ),
         HasSubstr( "    peerLinkIntf: Port-Channel9\n" ) ) );
}

TEST( Import, APatternOfAnAlternativeNameSaysThePortChannel ) {
   std::string const names = temporaryFile(
      "names.yaml",
      "linux: { interfaces: [ { device: 'swp(\\d+)', interface: 'Ethernet\\1', "
      "portChannel: "
      "Port-Channel5 } ] }\n" );
   Outcome const outcome = ostraRun(
      "import - --names " + names,
      linksOf( { device( "enp3s0", R"(,"altnames":["swp1"])" ) } ) );
   EXPECT_THAT( outcome.out, HasSubstr( "Ethernet1: { lag: Port-Channel5" ) );
}

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

TEST( Import, ABondThatIsNoPortChannelIsSaid ) {
   Outcome const outcome =
      ostraRun( "import -", linksOf( { memberIn( "swp1", "uplink" ), bond( "uplink" ) } ) );
   EXPECT_THAT(
      outcome.err,
      HasSubstr( "[0]: swp1: its bond uplink is no port-channel: left out\n" ) );
   EXPECT_THAT( outcome.out, Not( HasSubstr( "lagInputConfig" ) ) );
}

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
