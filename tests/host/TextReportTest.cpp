// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/TextReport>

#include "JsonState"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace ostra {
namespace {

Json
parse( char const* text ) {
   return Json::parse( text );
}

// A switch with two MLAG ports, two others, a peer link, and one port of each kind that is
// never held.
Json
smallSwitch() {
   return parse( R"({
      "mlagConfig": {
         "enabled": true, "domainId": "pod1", "localInterface": "Vlan4094",
         "peerAddress": "10.255.255.2", "peerLinkIntf": "Port-Channel1000",
         "reloadDelay": 300, "reloadDelayNonMlagConfigured": true,
         "reloadDelayNonMlag": 330, "lacpStandby": false,
         "intfConfig": { "Port-Channel10": { "mlagId": "10" } }
      },
      "mlagStatus": { "mlagState": 4, "systemId": "02:00:00:00:10:01" },
      "mlagProtoStatus": {
         "portsErrdisabled": false, "portsErrdisabledWhen": "inf", "holdInSecondary": true
      },
      "ethPhyIntfStatus": { "intfStatus": {
         "Ethernet4": {}, "Ethernet1": {}, "Ethernet3": {}, "Ethernet2": {},
         "Ethernet5": {}, "Management1": {}, "Internal1": {}, "Recirc1": {} } },
      "lagInputConfig": { "phyIntf": {
         "Ethernet1": { "lag": "Port-Channel10", "mode": 2 },
         "Ethernet2": { "lag": "Port-Channel10", "mode": 2 },
         "Ethernet3": { "lag": null, "mode": 0 },
         "Ethernet5": { "lag": "Port-Channel1000", "mode": 2 } } }
   })" );
}

// What the report says of a run that a test plays record by record.
class TextReportTest : public testing::Test {
 protected:
   void start( Json const& mounts, TextOptions options = {} ) {
      state_.emplace( mounts );
      report_.emplace( out_, options );
      report_->start( { "leaf1 reloads", mounts }, *state_ );
   }

   void startAndSkipHeading( Json const& mounts, TextOptions options = {} ) {
      start( mounts, options );
      out_.str( "" );
   }

   void write( long long at, std::vector< std::string > const& path, Json const& value ) {
      Json patch = value;
      for ( auto key = path.rbegin(); key != path.rend(); ++key ) {
         patch = Json{ { *key, patch } };
      }
      state_->apply( patch );
      report_->write( at, { path, value } );
   }

   void hold( long long at, std::vector< char const* > ports ) {
      for ( auto const* port : ports ) {
         write( at, { "mlagissuCause", "intfStatus", port }, at / 1000 );
      }
   }

   void release( long long at, std::vector< char const* > ports ) {
      for ( auto const* port : ports ) {
         write( at, { "mlagissuCause", "intfStatus", port }, nullptr );
      }
   }

   void delayRuns( long long at, bool runs ) {
      write( at, { "mlagProtoStatus", "portsErrdisabled" }, runs );
   }

   void standby( long long at, char const* portChannel, bool isIn ) {
      write( at, { "lacpConfig", "portChannel", portChannel, "stayInStandby" }, isIn );
   }

   void event( long long at, std::size_t index, char const* patch ) {
      report_->event( at, { index, parse( patch ) } );
      state_->apply( parse( patch ) );
   }

   // The text so far, all of the last moment included.
   std::string text() {
      report_->settle();
      return out_.str();
   }

   // What comes after everything that is written already.
   std::string textOfEnd( long long at ) {
      report_->settle();
      out_.str( "" );
      report_->end( at, {} );
      return out_.str();
   }

   std::ostringstream out_;
   std::optional< JsonState > state_;
   std::optional< TextReport > report_;
};

TEST_F( TextReportTest, AWholeReload ) {
   start( smallSwitch() );
   delayRuns( 0, true );
   write( 0, { "mlagProtoStatus", "portsErrdisabledWhen" }, 0 );
   hold( 0, { "Ethernet4", "Ethernet2", "Ethernet1", "Ethernet3" } );
   write( 0, { "igmpsnoopingConfig", "forceEnabledPorts", "Port-Channel10" }, true );
   report_->log(
      225'000,
      { "MLAG_RELOAD_DELAY_ENDING",
        6,
        "Mlag reload-delay period will end in 75 seconds" } );
   release( 300'000, { "Ethernet2", "Ethernet1" } );
   release( 330'000, { "Ethernet4", "Ethernet3" } );
   delayRuns( 330'000, false );
   report_->end( 330'000, {} );
   EXPECT_EQ( out_.str(), R"(leaf1 reloads

  MLAG          domain pod1, local interface Vlan4094, peer 10.255.255.2
  MLAG state    secondary, holds its ports
  peer link     Port-Channel1000
  reload delay  300 s for MLAG ports, 330 s for non-MLAG ports
  LACP standby  off

00:00:00.000  held        2 MLAG ports errdisabled for 300 s: Ethernet1-2
              held        2 non-MLAG ports errdisabled for 330 s: Ethernet3-4
              snooping    IGMP snooping forced on 1 port-channel: Port-Channel10
              never held  the peer link and its 1 member: Ethernet5, Port-Channel1000
              never held  1 management port: Management1
              never held  2 internal ports: Internal1, Recirc1
00:03:45.000  log info    MLAG_RELOAD_DELAY_ENDING: Mlag reload-delay period will end in 75 seconds
00:05:00.000  released    2 MLAG ports, delay over: Ethernet1-2
00:05:30.000  released    2 non-MLAG ports, delay over: Ethernet3-4
              over        the reload delay is over

Summary at 00:05:30.000

                   count  held from     released at   held for      why
  MLAG ports           2  00:00:00.000  00:05:00.000  00:05:00.000  delay over
  non-MLAG ports       2  00:00:00.000  00:05:30.000  00:05:30.000  delay over
  LACP standby         0  -             -             -             -

  done          nothing is held any more
  note          IGMP snooping is still forced on 1 port-channel: Port-Channel10
)" );
}

TEST_F( TextReportTest, AnEmptyScenario ) {
   start( Json::object() );
   delayRuns( 0, true );
   delayRuns( 0, false );
   report_->end( 0, {} );
   EXPECT_EQ( out_.str(), R"(leaf1 reloads

  MLAG          not configured, missing enabled, domainId, localInterface, peerAddress, peerLinkIntf
  MLAG state    unknown
  peer link     none
  reload delay  0 s for all ports
  LACP standby  off

00:00:00.000  held        nothing: MLAG is not configured, missing enabled, domainId,
                          localInterface, peerAddress, peerLinkIntf

Summary at 00:00:00.000

                   count  held from     released at   held for      why
  MLAG ports           0  -             -             -             -
  non-MLAG ports       0  -             -             -             -
  LACP standby         0  -             -             -             -

  done          nothing was held
  WARNING       no port is held without a full MLAG configuration, missing enabled, domainId,
                localInterface, peerAddress, peerLinkIntf
)" );
}

TEST_F( TextReportTest, LacpStandbyInsteadOfErrdisabledMembers ) {
   auto mounts = smallSwitch();
   mounts[ "mlagConfig" ][ "lacpStandby" ] = true;
   start( mounts );
   EXPECT_NE(
      out_.str().find( "  LACP standby  on, for port-channels whose LACP override is "
                       "02:00:00:00:10:01\n" ),
      std::string::npos );
   out_.str( "" );
   hold( 0, { "Ethernet3", "Ethernet4" } );
   standby( 0, "Port-Channel10", true );
   standby( 300'000, "Port-Channel10", false );
   EXPECT_EQ(
      text(),
      R"(00:00:00.000  held        2 non-MLAG ports errdisabled for 330 s: Ethernet3-4
              standby     1 port-channel in LACP standby instead of errdisabling 2 members:
                          Port-Channel10
              never held  the peer link and its 1 member: Ethernet5, Port-Channel1000
              never held  1 management port: Management1
              never held  2 internal ports: Internal1, Recirc1
00:05:00.000  released    LACP standby of 1 port-channel, delay over: Port-Channel10
)" );
}

TEST_F( TextReportTest, APortWhoseChannelGoesIntoStandbyIsReleasedForIt ) {
   startAndSkipHeading( smallSwitch() );
   hold( 0, { "Ethernet1", "Ethernet2" } );
   text();
   out_.str( "" );
   event(
      60'000,
      0,
      R"({"lacpOverride":{"lagIdConfig":{"Port-Channel10":"02:00:00:00:10:01"}}})" );
   release( 60'000, { "Ethernet1", "Ethernet2" } );
   standby( 60'000, "Port-Channel10", true );
   EXPECT_EQ(
      text(),
      R"(00:01:00.000  event 0     lacpOverride.lagIdConfig.Port-Channel10 = 02:00:00:00:10:01
              standby     1 port-channel in LACP standby: Port-Channel10
              released    2 MLAG ports, in LACP standby instead: Ethernet1-2
)" );
}

TEST_F( TextReportTest, EarlyReleasesSayWhy ) {
   struct Case {
      char const* patch;
      char const* why;
   };
   for ( auto const& [ patch, why ] : {
            Case{ R"({"mlagStatus":{"mlagState":3}})", "MLAG became primary" },
            Case{ R"({"mlagStatus":{"mlagState":2}})", "MLAG became inactive" },
            Case{ R"({"mlagConfig":{"enabled":false}})", "MLAG not configured" },
            Case{ R"({"mlagConfig":{"peerAddress":"0.0.0.0"}})", "MLAG not configured" },
            Case{ R"({"mlagConfig":{"reloadDelay":120}})", "delay changed" },
            Case{ R"({"ethPhyIntfStatus":{"intfStatus":{"Ethernet1":null}}})",
                  "interface gone" },
            Case{ R"({"mlagissuCause":{"intfStatus":{"Ethernet1":null}}})",
                  "by the event" },
            Case{ R"({"agent":{}})", "delay was over" },
         } ) {
      out_.str( "" );
      startAndSkipHeading( smallSwitch() );
      hold( 0, { "Ethernet1" } );
      event( 100'000, 7, patch );
      release( 100'000, { "Ethernet1" } );
      EXPECT_NE(
         text().find( std::string( "1 MLAG port, " ) + why + ": Ethernet1\n" ),
         std::string::npos )
         << out_.str();
      EXPECT_NE(
         textOfEnd( 100'000 ).find( std::string( "00:01:40.000  " ) + why ),
         std::string::npos );
   }
}

TEST_F( TextReportTest, AnEventOfAnEarlierTimeIsNoReason ) {
   startAndSkipHeading( smallSwitch() );
   hold( 0, { "Ethernet1" } );
   event( 100'000, 0, R"({"mlagConfig":{"reloadDelay":120}})" );
   release( 120'000, { "Ethernet1" } );
   EXPECT_NE( text().find( "1 MLAG port, delay over: Ethernet1\n" ), std::string::npos );
}

TEST_F( TextReportTest, WhatIsReleasedByMissingConfigurationIsAWarning ) {
   startAndSkipHeading( smallSwitch() );
   hold( 0, { "Ethernet1" } );
   event( 1'000, 0, R"({"mlagConfig":{"domainId":"","peerLinkIntf":null}})" );
   release( 1'000, { "Ethernet1" } );
   EXPECT_NE(
      textOfEnd( 1'000 ).find(
         "  WARNING       no port is held without a full MLAG configuration, missing "
         "domainId, peerLinkIntf\n" ),
      std::string::npos )
      << out_.str();
}

TEST_F( TextReportTest, WhatIsStillHeldAtTheEndIsAWarning ) {
   auto mounts = smallSwitch();
   mounts[ "mlagConfig" ][ "reloadDelayNonMlag" ] = "inf";
   startAndSkipHeading( mounts );
   delayRuns( 0, true );
   hold( 0, { "Ethernet1", "Ethernet3", "Ethernet4" } );
   release( 300'000, { "Ethernet1" } );
   EXPECT_NE(
      text().find( "2 non-MLAG ports errdisabled without end: Ethernet3-4\n" ),
      std::string::npos );
   EXPECT_EQ( textOfEnd( 400'000 ), R"(
Summary at 00:06:40.000

                   count  held from     released at   held for      why
  MLAG ports           1  00:00:00.000  00:05:00.000  00:05:00.000  delay over
  non-MLAG ports       2  00:00:00.000  -             00:06:40.000  still held
  LACP standby         0  -             -             -             -

  WARNING       2 non-MLAG ports still held when the run ends, waiting without end: Ethernet3-4
)" );
}

TEST_F( TextReportTest, PortsThatNobodyCanReleaseAreAWarningOfTheirOwn ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0, true );
   hold( 0, { "Ethernet1" } );
   event( 30'000, 0, R"({"agent":{"mlagErrdisableSm":null}})" );
   EXPECT_NE(
      textOfEnd( 400'000 ).find(
         "1 MLAG port still held when the run ends, with nothing there to release them:" ),
      std::string::npos );
}

TEST_F( TextReportTest, WhatIsHeldFromBeforeTheRunIsTold ) {
   auto mounts = smallSwitch();
   mounts[ "mlagissuCause" ] = parse( R"({"intfStatus":{"Ethernet1":970.5}})" );
   mounts[ "lacpConfig" ] =
      parse( R"({"portChannel":{"Port-Channel11":{"stayInStandby":true}}})" );
   mounts[ "mlagProtoStatus" ][ "portsErrdisabled" ] = true;
   startAndSkipHeading( mounts );
   EXPECT_TRUE( text().starts_with(
      "00:00:00.000  held        1 MLAG port errdisabled for 300 s, since before the run: "
      "Ethernet1\n"
      "              standby     1 port-channel in LACP standby instead of errdisabling "
      "0 members, since\n"
      "                          before the run: Port-Channel11\n" ) )
      << out_.str();
   release( 270'000, { "Ethernet1" } );
   delayRuns( 270'000, false );
   std::string const end = textOfEnd( 270'000 );
   EXPECT_NE(
      end.find( "     1  before        00:04:30.000  -             delay over\n" ),
      std::string::npos )
      << end;
   EXPECT_NE( end.find( "although the reload delay is over:\n" ), std::string::npos )
      << end;
}

TEST_F( TextReportTest, TheClassOfAPortIsTheOneItWasHeldIn ) {
   startAndSkipHeading( smallSwitch() );
   hold( 0, { "Ethernet1" } );
   event( 10'000, 0, R"({"lagInputConfig":{"phyIntf":{"Ethernet1":{"lag":null}}}})" );
   release( 330'000, { "Ethernet1" } );
   EXPECT_NE(
      text().find( "released    1 MLAG port, delay over: Ethernet1\n" ),
      std::string::npos );
}

TEST_F( TextReportTest, APortWithAnMlagConfigurationOfItsOwnIsAnMlagPort ) {
   auto mounts = smallSwitch();
   mounts[ "mlagConfig" ][ "intfConfig" ][ "Ethernet4" ] = { { "mlagId", "4" } };
   mounts[ "mlagConfig" ][ "intfConfig" ][ "Ethernet3" ] = { { "mlagId", "" } };
   startAndSkipHeading( mounts );
   hold( 0, { "Ethernet3", "Ethernet4" } );
   EXPECT_TRUE( text().starts_with(
      "00:00:00.000  held        1 MLAG port errdisabled for 300 s: Ethernet4\n"
      "              held        1 non-MLAG port errdisabled for 330 s: Ethernet3\n" ) )
      << out_.str();
}

TEST_F( TextReportTest, PortsThatFlapAreHeldTwice ) {
   startAndSkipHeading( smallSwitch() );
   hold( 0, { "Ethernet1", "Ethernet2" } );
   event( 10'000, 0, R"({"ethPhyIntfStatus":{"intfStatus":{"Ethernet1":null}}})" );
   release( 10'000, { "Ethernet1" } );
   event( 10'000, 1, R"({"ethPhyIntfStatus":{"intfStatus":{"Ethernet1":{}}}})" );
   hold( 10'000, { "Ethernet1" } );
   release( 300'000, { "Ethernet1", "Ethernet2" } );
   text();
   EXPECT_NE(
      textOfEnd( 300'000 ).find(
         "  MLAG ports           1  00:00:00.000  00:00:10.000  00:00:10.000  interface "
         "gone\n"
         "  MLAG ports           1  00:00:00.000  00:05:00.000  00:05:00.000  delay over\n"
         "  MLAG ports           1  00:00:10.000  00:05:00.000  00:04:50.000  delay "
         "over\n" ),
      std::string::npos )
      << out_.str();
}

TEST_F( TextReportTest, TooManyTimesOfOneClassAreCounted ) {
   startAndSkipHeading( smallSwitch() );
   for ( int i = 1; i <= 10; ++i ) {
      hold( i * 1000, { "Ethernet3" } );
      release( i * 1000 + 10, { "Ethernet3" } );
   }
   hold( 20'000, { "Ethernet3", "Ethernet4" } );
   std::string const end = textOfEnd( 30'000 );
   EXPECT_NE(
      end.find(
         "  non-MLAG ports       2  00:00:20.000  -             00:00:10.000  still held\n"
         "  non-MLAG ports       3  -             -             -             at other "
         "times\n" ),
      std::string::npos )
      << end;
}

TEST_F( TextReportTest, PeerInterfacesComeAndGo ) {
   startAndSkipHeading( smallSwitch() );
   text();
   out_.str( "" );
   write( 10'000, { "ethIntfStatusDir", "intfStatus", "PeerEthernet1" }, Json::object() );
   write( 10'000, { "allIntfStatusDir", "intfStatus", "PeerEthernet1" }, Json::object() );
   write( 10'000, { "allIntfStatusDir", "intfStatus", "PeerEthernet2" }, Json::object() );
   write( 20'000, { "ethIntfStatusDir", "intfStatus", "PeerEthernet1" }, nullptr );
   write( 20'000, { "allIntfStatusDir", "intfStatus", "PeerEthernet1" }, nullptr );
   EXPECT_EQ(
      text(),
      R"(00:00:10.000  peer        1 peer interface now in the local directories: PeerEthernet1
              peer        1 peer interface now in allIntfStatusDir alone: PeerEthernet2
00:00:20.000  peer        1 peer interface gone from the local directories: PeerEthernet1
)" );
}

TEST_F( TextReportTest, AForcedPortChannelThatIsTakenBackAtOnceIsNotTold ) {
   startAndSkipHeading( smallSwitch() );
   text();
   out_.str( "" );
   write( 1'000, { "igmpsnoopingConfig", "forceEnabledPorts", "Port-Channel10" }, true );
   write( 1'000, { "igmpsnoopingConfig", "forceEnabledPorts", "Port-Channel10" }, nullptr );
   EXPECT_EQ( text(), "" );
}

TEST_F( TextReportTest, TraceLinesAreWrittenOnlyWhenWanted ) {
   TraceLineRecord const line = { "MlagErrdisableSm", 8, "/src/MlagErrdisableSm", 97, "f()",
                                  "void f()" };
   startAndSkipHeading( smallSwitch() );
   report_->trace( 1'000, line );
   EXPECT_EQ( text().find( "trace" ), std::string::npos );
   out_.str( "" );
   startAndSkipHeading( smallSwitch(), { .colour = false, .trace = true } );
   report_->trace( 1'000, line );
   EXPECT_NE(
      text().find(
         "00:00:01.000  trace 8     MlagErrdisableSm MlagErrdisableSm:97 void f()\n" ),
      std::string::npos );
}

TEST_F( TextReportTest, ColoursOnlyWhenWanted ) {
   startAndSkipHeading( smallSwitch() );
   EXPECT_EQ( text().find( '\x1b' ), std::string::npos );
   startAndSkipHeading( smallSwitch(), { .colour = true, .trace = false } );
   EXPECT_NE( text().find( "\x1b[2mnever held\x1b[0m" ), std::string::npos );
}

TEST_F( TextReportTest, LogMessagesOfAnyLengthKeepToTheColumns ) {
   startAndSkipHeading( smallSwitch() );
   text();
   out_.str( "" );
   report_->log(
      285'000,
      { "MLAG_RELOAD_DELAY_ENDING",
        4,
        "Mlag reload-delay period for non MLAG interfaces will end in 15 seconds" } );
   EXPECT_EQ(
      out_.str(),
      "00:04:45.000  log warning MLAG_RELOAD_DELAY_ENDING: Mlag reload-delay period for "
      "non MLAG "
      "interfaces\n"
      "                          will end in 15 seconds\n" );
}

TEST_F( TextReportTest, ReadsNoMoreThanAFewTimesPerPort ) {
   auto mounts = smallSwitch();
   constexpr int count = 2000;
   std::vector< std::string > names;
   for ( int i = 1; i <= count; ++i ) {
      names.push_back( "Ethernet" + std::to_string( i ) );
      mounts[ "ethPhyIntfStatus" ][ "intfStatus" ][ names.back() ] = Json::object();
   }
   startAndSkipHeading( mounts );
   for ( auto const& name : names ) {
      report_->write( 0, { { "mlagissuCause", "intfStatus", name }, 0 } );
   }
   for ( auto const& name : names ) {
      report_->write( 300'000, { { "mlagissuCause", "intfStatus", name }, nullptr } );
   }
   report_->end( 300'000, {} );
   EXPECT_LT( state_->reads(), 6u * count );
}

} // namespace
} // namespace ostra
