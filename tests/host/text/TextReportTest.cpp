// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "ReportedRun"

#include <gmock/gmock.h>

namespace ostra {
namespace {

using testing::HasSubstr;

class TextReportTest : public ReportedRun {};

TEST_F( TextReportTest, AWholeReload ) {
   start( smallSwitch() );
   delayRuns( 0ms, true );
   write( 0ms, { "mlagProtoStatus", "portsErrdisabledWhen" }, 0 );
   hold( 0ms, { "Ethernet4", "Ethernet2", "Ethernet1", "Ethernet3" } );
   write( 0ms, { "igmpsnoopingConfig", "forceEnabledPorts", "Port-Channel10" }, true );
   report_->log(
      225'000ms,
      { "MLAG_RELOAD_DELAY_ENDING",
        6,
        "Mlag reload-delay period will end in 75 seconds" } );
   release( 300'000ms, { "Ethernet2", "Ethernet1" } );
   release( 330'000ms, { "Ethernet4", "Ethernet3" } );
   delayRuns( 330'000ms, false );
   report_->end( 330'000ms, {} );
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
   delayRuns( 0ms, true );
   delayRuns( 0ms, false );
   report_->end( 0ms, {} );
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
   hold( 0ms, { "Ethernet3", "Ethernet4" } );
   standby( 0ms, "Port-Channel10", true );
   report_->settle();
   standby( 300'000ms, "Port-Channel10", false );
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

TEST_F( TextReportTest, ANameOfSeveralLinesIsATitleOfOne ) {
   state_.emplace( smallSwitch() );
   report_.emplace( out_, TextOptions() );
   report_->start( { " leaf1\n  reloads\x1b[2J\t\xff\n" }, *state_ );
   EXPECT_TRUE( out_.str().starts_with( "leaf1 reloads\\x1b[2J \\xff\n\n  MLAG" ) )
      << out_.str();
   out_.str( "" );
   report_->start( { "\n" }, *state_ );
   EXPECT_TRUE( out_.str().starts_with( "A switch reload\n" ) ) << out_.str();
}

TEST_F( TextReportTest, WithoutASystemIdStandbyIsForNoPortChannel ) {
   auto mounts = smallSwitch();
   mounts[ "mlagConfig" ][ "lacpStandby" ] = true;
   start( mounts );
   EXPECT_NE(
      text().find( "on, for port-channels whose LACP override is 02:00:00:00:10:01\n" ),
      std::string::npos );
   out_.str( "" );
   mounts[ "mlagStatus" ][ "systemId" ] = "00:00:00:00:00:00";
   start( mounts );
   EXPECT_NE(
      text().find( "on, for no port-channel as there is no MLAG system id\n" ),
      std::string::npos );
}

TEST_F( TextReportTest, PeerInterfacesComeAndGo ) {
   startAndSkipHeading( smallSwitch() );
   text();
   out_.str( "" );
   write( 10'000ms, { "ethIntfStatusDir", "intfStatus", "PeerEthernet1" }, Json::object() );
   write( 10'000ms, { "allIntfStatusDir", "intfStatus", "PeerEthernet1" }, Json::object() );
   write( 10'000ms, { "allIntfStatusDir", "intfStatus", "PeerEthernet2" }, Json::object() );
   write( 20'000ms, { "ethIntfStatusDir", "intfStatus", "PeerEthernet1" }, nullptr );
   write( 20'000ms, { "allIntfStatusDir", "intfStatus", "PeerEthernet1" }, nullptr );
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
   write( 1'000ms, { "igmpsnoopingConfig", "forceEnabledPorts", "Port-Channel10" }, true );
   write(
      1'000ms, { "igmpsnoopingConfig", "forceEnabledPorts", "Port-Channel10" }, nullptr );
   EXPECT_EQ( text(), "" );
}

TEST_F( TextReportTest, TraceLinesAreWrittenOnlyWhenWanted ) {
   TraceLineRecord const line = { "MlagErrdisableSm", 8, "/src/MlagErrdisableSm", 97, "f",
                                  "void f()" };
   startAndSkipHeading( smallSwitch() );
   report_->trace( 1'000ms, line );
   EXPECT_EQ( text().find( "trace" ), std::string::npos );
   out_.str( "" );
   startAndSkipHeading( smallSwitch(), { .colour = false, .trace = true } );
   report_->trace( 1'000ms, line );
   EXPECT_NE(
      text().find(
         "00:00:01.000  trace 8     MlagErrdisableSm MlagErrdisableSm:97 f: void f()\n" ),
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
      285'000ms,
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
      report_->write( 0ms, { { "mlagissuCause", "intfStatus", name }, 0 } );
   }
   for ( auto const& name : names ) {
      report_->write( 300'000ms, { { "mlagissuCause", "intfStatus", name }, nullptr } );
   }
   report_->end( 300'000ms, {} );
   EXPECT_LT( state_->reads(), 6u * count );
}

TEST_F( TextReportTest, EventsAreCalledByTheirLabel ) {
   startAndSkipHeading( smallSwitch() );
   Json const patch = { { "mlagStatus", { { "mlagState", 3 } } } };
   report_->event( 5000ms, { 0, [ & ] { return patch; }, "the peer\n goes" } );
   EXPECT_THAT(
      text(),
      HasSubstr( "event 0     the peer goes: mlagStatus.mlagState = 3 (primary)\n" ) );
}

TEST_F( TextReportTest, AStartTimeIsTold ) {
   state_.emplace( smallSwitch() );
   report_.emplace( out_, TextOptions() );
   report_->start( { "leaf1", -20500ms }, *state_ );
   EXPECT_THAT( out_.str(), HasSubstr( "leaf1\n\n  start time    -20.5 s\n  MLAG  " ) );
}

} // namespace
} // namespace ostra
