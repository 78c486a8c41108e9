// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "ForeignFiles"
#include "Program"

#include <gmock/gmock.h>

namespace ostra {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

} // namespace

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

TEST( Import, TablesThatAreNotReadAreNamedInOneLine ) {
   Outcome const outcome = ostraRun( "import -", R"({ "ACL_TABLE": { "a": {} },
"PORT": { "Ethernet1": { "admin_status": "up" } }, "CABLE_LENGTH": {}, "NTP": null,
"VLAN": { "Vlan7": {} }, "versions": 5 })" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ(
      outcome.err,
      "warning: <stdin>:1:1: 3 tables, of which a scenario has nothing: ACL_TABLE, VLAN, "
      "versions: left out\n" );
   EXPECT_THAT(
      outcome.out,
      HasSubstr(
         "# - 3 tables, of which a scenario has nothing: ACL_TABLE, VLAN, versions: "
         "left out\n" ) );
}

TEST( Import, TheAliasOfAPortCountsWhereNoPatternKnowsItsName ) {
   std::string const names = temporaryFile(
      "names.yaml",
      "linux: { interfaces: [ { device: 'Eth1/(\\d+)', interface: 'Ethernet\\1' } ] }\n" );
   Outcome const outcome = ostraRun( "import - --names " + names, R"({ "PORT": {
"Ethernet0": { "alias": "Eth1/7", "admin_status": "up" }, "Ethernet4": { "alias": "" } } })" );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ(
      outcome.err,
      "warning: <stdin>:2:59: PORT.Ethernet4: no pattern names it: left out\n" );
   EXPECT_THAT( outcome.out, HasSubstr( "      Ethernet7: {}\n" ) );
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

TEST( Import, ADomainWithoutAnIdIsSaid ) {
   std::string text = database;
   text.replace( text.find( "\"1\": { \"source_ip\"" ), 3, "\"\"" );
   Outcome const outcome = ostraRun( "import -", text );
   EXPECT_THAT( outcome.out, HasSubstr( "enabled: false\n" ) );
   EXPECT_THAT(
      linesIn( outcome.err ),
      ElementsAre(
         "warning: <stdin>:22:7: MCLAG_DOMAIN.: a domain without an id: left out",
         HasSubstr( "MCLAG_INTERFACE.1|PortChannel0001: \"1\" is no domain" ),
         HasSubstr( "MCLAG_INTERFACE.1|PortChannel2: \"1\" is no domain" ) ) );
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

} // namespace ostra
