// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Every port of the switch is accounted for, and nothing is claimed of it that is not so.

#include "ReportedRun"

#include <gmock/gmock.h>

#include <functional>

namespace ostra {
namespace {

using testing::HasSubstr;
using testing::Not;

class TextAccountTest : public ReportedRun {
 protected:
   // What the report says from now on.
   std::string textOf( std::function< void() > const& happening ) {
      text();
      out_.str( "" );
      happening();
      return text();
   }

   void machineFlag( char const* name, bool isHeld ) {
      state_->apply( { { "agent", { { "mlagErrdisableSm", { { name, isHeld } } } } } } );
   }
   // The plug-in releases a class.
   void over( bool mlag ) {
      machineFlag( mlag ? "mlagPortsErrdisabled" : "nonMlagPortsErrdisabled", false );
   }

   void lacpConfig( Milliseconds at, char const* portChannel, bool stays ) {
      write( at, { "lacpConfig", "portChannel", portChannel, "stayInStandby" }, stays );
   }
};

TEST_F( TextAccountTest, PortsThatAnOverrideAloneKeepsFromBeingHeldAreListed ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet3", "Ethernet4" } );
   choose( "Port-Channel10", true );
   std::string const line =
      "not held    2 ports, meant for LACP standby, but the port-channel is not in\n"
      "                          lacpConfig: Ethernet1-2\n";
   EXPECT_THAT( text(), HasSubstr( line ) );
   release( 300'000ms, { "Ethernet3", "Ethernet4" } );
   choose( "Port-Channel10", false );
   delayRuns( 300'000ms, false );
   EXPECT_THAT(
      textOfEnd( 300'000ms ),
      HasSubstr( "  not held      2 ports, meant for LACP standby, but the port-channel is "
                 "not in lacpConfig:\n"
                 "                Ethernet1-2\n" ) );
}

TEST_F( TextAccountTest, APortThatWasHeldAndComesBackWhenTheDelayIsOverIsListed ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet3", "Ethernet4" } );
   event(
      10'000ms, 1, R"({ "ethPhyIntfStatus": { "intfStatus": { "Ethernet4": null } } })" );
   release( 10'000ms, { "Ethernet4" } );
   release( 330'000ms, { "Ethernet3" } );
   over( true );
   over( false );
   delayRuns( 330'000ms, false );
   event(
      400'000ms, 2, R"({ "ethPhyIntfStatus": { "intfStatus": { "Ethernet4": {} } } })" );
   EXPECT_THAT(
      text(), HasSubstr( "not held    1 port, the reload delay is over: Ethernet4\n" ) );
   EXPECT_THAT(
      textOfEnd( 400'000ms ),
      HasSubstr( "  not held      1 port, the reload delay is over: Ethernet4\n" ) );
}

TEST_F( TextAccountTest, StandbyThatWasTakenBackIsNoStandby ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   standby( 0ms, "Port-Channel10", true );
   lacpConfig( 0ms, "Port-Channel10", false );
   EXPECT_THAT(
      text(),
      HasSubstr( "not held    2 ports, meant for LACP standby, but stayInStandby of the "
                 "port-channel is\n                          false: Ethernet1-2\n" ) );
}

TEST_F( TextAccountTest, ASwitchThatHoldsNothingListsItsPorts ) {
   auto mounts = smallSwitch();
   mounts[ "mlagStatus" ][ "mlagState" ] = 3;
   startAndSkipHeading( mounts );
   EXPECT_EQ( text(), R"(00:00:00.000  held        nothing: MLAG is primary
              not held    4 ports, MLAG is primary: Ethernet1-4
              never held  the peer link and its 1 member: Ethernet5, Port-Channel1000
              never held  1 management port: Management1
              never held  2 internal ports: Internal1, Recirc1
)" );
   EXPECT_THAT(
      textOfEnd( 0ms ),
      HasSubstr( "  not held      4 ports, MLAG is primary: Ethernet1-4\n" ) );
}

TEST_F( TextAccountTest, PortsLeftOutWithoutAReasonAreListedAllTheSame ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1", "Ethernet2", "Ethernet3" } );
   EXPECT_THAT(
      text(), HasSubstr( "not held    1 port, although the delay runs: Ethernet4\n" ) );
}

TEST_F( TextAccountTest, APortChannelThatIsErrdisabledAndInStandbyIsToldAsBoth ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Port-Channel10" } );
   standby( 0ms, "Port-Channel10", true );
   std::string const start = text();
   EXPECT_THAT( start, HasSubstr( "1 MLAG port errdisabled for 300 s: Port-Channel10\n" ) );
   EXPECT_THAT( start, HasSubstr( "1 port-channel in LACP standby instead of" ) );
   std::string const end = textOf( [ this ] {
      release( 300'000ms, { "Port-Channel10" } );
      standby( 300'000ms, "Port-Channel10", false );
   } );
   EXPECT_THAT( end, HasSubstr( "released    1 MLAG port, delay over: Port-Channel10\n" ) );
   EXPECT_THAT(
      end, HasSubstr( "released    LACP standby of 1 port-channel, delay over: " ) );
}

TEST_F( TextAccountTest, StandbyStandsInForThoseMembersOnlyThatAreNotErrdisabled ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet2" } );
   standby( 0ms, "Port-Channel10", true );
   EXPECT_THAT(
      text(),
      HasSubstr( "1 port-channel in LACP standby instead of errdisabling 1 member" ) );
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1", "Ethernet2" } );
   standby( 0ms, "Port-Channel10", true );
   EXPECT_THAT( text(), HasSubstr( "1 port-channel in LACP standby: Port-Channel10\n" ) );
}

TEST_F( TextAccountTest, StandbyThatSomebodyElseChoseStandsInForNothing ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1" } );
   lacpConfig( 0ms, "Port-Channel10", true );
   EXPECT_THAT( text(), HasSubstr( "1 port-channel in LACP standby: Port-Channel10\n" ) );
   EXPECT_THAT(
      textOf( [ this ] { release( 300'000ms, { "Ethernet1" } ); } ),
      HasSubstr( "released    1 MLAG port, delay over: Ethernet1\n" ) );
}

TEST_F( TextAccountTest, APortIsReleasedForStandbyOnlyByAnOverride ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1", "Ethernet2" } );
   standby( 0ms, "Port-Channel10", true );
   char const* const removal = R"({"mlagissuCause":{"intfStatus":{"Ethernet1":null}}})";
   EXPECT_THAT(
      textOf( [ & ] {
         event( 10'000ms, 0, removal );
         release( 10'000ms, { "Ethernet1" } );
      } ),
      HasSubstr( "released    1 MLAG port, by the event: Ethernet1\n" ) );
   char const* const stay =
      R"({"lacpConfig":{"portChannel":{"Port-Channel10":{"stayInStandby":false}}}})";
   EXPECT_THAT(
      textOf( [ & ] {
         event( 20'000ms, 1, stay );
         standby( 20'000ms, "Port-Channel10", false );
      } ),
      HasSubstr( "released    LACP standby of 1 port-channel, by the event: " ) );
}

TEST_F( TextAccountTest, AnOverrideWithoutLacpConfigurationReleasesForNothing ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1", "Ethernet2" } );
   EXPECT_THAT(
      textOf( [ this ] {
         event(
            10'000ms,
            0,
            R"({"lacpOverride":{"lagIdConfig":{"Port-Channel10":"02:00:00:00:10:01"}}})" );
         choose( "Port-Channel10", true );
         release( 10'000ms, { "Ethernet1", "Ethernet2" } );
      } ),
      HasSubstr(
         "released    2 MLAG ports, meant for LACP standby, but the port-channel is "
         "not in\n                          lacpConfig: Ethernet1-2\n" ) );
}

TEST_F( TextAccountTest, PortsThatAppearAreToldOfWhereverTheyStand ) {
   auto mounts = smallSwitch();
   mounts[ "lagInputConfig" ][ "phyIntf" ][ "Ethernet7" ] = { { "lag", "Port-Channel10" } };
   mounts[ "lagInputConfig" ][ "phyIntf" ][ "Ethernet8" ] = { { "lag",
                                                                "Port-Channel1000" } };
   startAndSkipHeading( mounts );
   delayRuns( 0ms, true );
   standby( 0ms, "Port-Channel10", true );
   hold( 0ms, { "Ethernet3", "Ethernet4" } );
   EXPECT_THAT(
      textOf( [ this ] {
         over( false );
         event( 60'000ms, 0, R"({"ethPhyIntfStatus":{"intfStatus":{
            "Ethernet3":{"linkStatus":2}, "Ethernet6":{}, "Ethernet7":{}, "Ethernet8":{},
            "Management2":{} }}})" );
      } ),
      testing::EndsWith(
         R"(not held    1 port, the delay of non-MLAG ports is over: Ethernet6
              standby     1 port of a port-channel in LACP standby: Ethernet7
              never held  1 port of the peer link: Ethernet8
              never held  1 management port: Management2
)" ) );
}

TEST_F( TextAccountTest, ANewStateMachineHasEveryPortToldOfThatStandsElsewhere ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4" } );
   release( 300'000ms, { "Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4" } );
   delayRuns( 300'000ms, false );
   event( 400'000ms, 0, R"({"agent":{"mlagErrdisableSm":null}})" );
   EXPECT_THAT(
      textOf( [ this ] {
         event( 500'000ms, 1, R"({"agent":{"mlagErrdisableSm":{"lagsInStandby":{}}}})" );
         machineFlag( "mlagPortsErrdisabled", true );
         machineFlag( "nonMlagPortsErrdisabled", true );
         delayRuns( 500'000ms, true );
         choose( "Port-Channel10", true );
         hold( 500'000ms, { "Ethernet3", "Ethernet4" } );
      } ),
      testing::EndsWith( R"(held        2 non-MLAG ports errdisabled: Ethernet3-4
              not held    2 ports, meant for LACP standby, but the port-channel is not in
                          lacpConfig: Ethernet1-2
              started     a reload delay begins
)" ) );
   EXPECT_THAT( textOfEnd( 600'000ms ), Not( HasSubstr( "not held" ) ) );
}

TEST_F( TextAccountTest, WithoutAStateMachinePortsAreListed ) {
   auto mounts = smallSwitch();
   mounts.erase( "agent" );
   startAndSkipHeading( mounts );
   EXPECT_THAT(
      text(),
      HasSubstr( "not held    4 ports, the state machine is not there: Ethernet1-4\n" ) );
}

TEST_F( TextAccountTest, AFormerMemberOfThePeerLinkIsListedAtTheEnd ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4" } );
   event( 10'000ms, 0, R"({"lagInputConfig":{"phyIntf":{"Ethernet5":{"lag":null}}}})" );
   release( 300'000ms, { "Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4" } );
   delayRuns( 300'000ms, false );
   EXPECT_THAT(
      textOfEnd( 300'000ms ),
      HasSubstr( "  not held      1 port, in the peer link before: Ethernet5\n" ) );
}

TEST_F( TextAccountTest, APeerLinkThatIsHeldIsNotCalledNeverHeld ) {
   auto mounts = smallSwitch();
   mounts[ "mlagConfig" ][ "peerLinkIntf" ] = "Ethernet4";
   startAndSkipHeading( mounts );
   EXPECT_THAT( text(), HasSubstr( "never held  the peer link: Ethernet4\n" ) );
   mounts[ "mlagissuCause" ] = parse( R"({"intfStatus":{"Ethernet4":0}})" );
   startAndSkipHeading( mounts );
   std::string const held = text();
   EXPECT_THAT( held, HasSubstr( "since before the run: Ethernet4\n" ) );
   EXPECT_THAT( held, Not( HasSubstr( "peer link" ) ) );
}

TEST_F( TextAccountTest, NoPortThatWasHeldIsCalledNeverHeldLater ) {
   auto mounts = smallSwitch();
   mounts[ "mlagissuCause" ] =
      parse( R"({"intfStatus":{"Ethernet5":0,"Management1":0,"Internal1":0}})" );
   startAndSkipHeading( mounts );
   release( 0ms, { "Ethernet5", "Management1", "Internal1" } );
   event( 10'000ms, 0, R"({"agent":{"mlagErrdisableSm":null}})" );
   EXPECT_THAT(
      textOf( [ this ] {
         event( 20'000ms, 1, R"({"agent":{"mlagErrdisableSm":{"lagsInStandby":{}}}})" );
      } ),
      testing::EndsWith( R"(not held    1 port, for management: Management1
              not held    1 port, in the peer link: Ethernet5
              not held    1 port, internal: Internal1
)" ) );
   EXPECT_THAT(
      textOfEnd( 30'000ms ),
      testing::EndsWith(
         "  not held      4 ports, the reload delay is over: Ethernet1-4\n" ) );
}

TEST_F( TextAccountTest, PortsReleasedAndHeldAgainAtOnceAreToldInThatOrder ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet3" } );
   EXPECT_EQ(
      textOf( [ this ] {
         release( 10'000ms, { "Ethernet3" } );
         hold( 10'000ms, { "Ethernet3" } );
      } ),
      R"(00:00:10.000  released    1 non-MLAG port, delay over: Ethernet3
              held        1 non-MLAG port errdisabled: Ethernet3
)" );
}

TEST_F( TextAccountTest, WhatNoTimerWillReleaseIsSaidToBeSo ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet3", "Ethernet4" } );
   standby( 0ms, "Port-Channel10", true );
   text();
   delayRuns( 330'000ms, false );
   std::string const end = textOfEnd( 330'000ms, false );
   EXPECT_THAT(
      end,
      HasSubstr(
         "2 non-MLAG ports still held when the run ends, although the reload delay "
         "is over,\n                and no timer will release them: Ethernet3-4\n" ) );
   EXPECT_THAT( end, HasSubstr( "no timer will release it: Port-Channel10\n" ) );
}

TEST_F( TextAccountTest, ATimerReleasesWhatWaitsForItAndNothingElse ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1", "Ethernet3" } );
   lacpConfig( 0ms, "Port-Channel11", true );
   over( true );
   std::string const end = textOfEnd( 100'000ms, true );
   EXPECT_THAT( end, HasSubstr( "ends, until the delay of 330 s is over:" ) );
   EXPECT_THAT(
      end,
      HasSubstr( "1 MLAG port still held when the run ends, although the delay of MLAG "
                 "ports is over,\n                and no timer will release it: "
                 "Ethernet1\n" ) );
   EXPECT_THAT(
      end,
      HasSubstr( "not put in standby by this state\n                machine, and no timer "
                 "will release it: Port-Channel11\n" ) );
}

TEST_F( TextAccountTest, NoTimerEndsADelayWithoutEnd ) {
   Json mounts = smallSwitch();
   mounts[ "mlagConfig" ][ "reloadDelayNonMlag" ] = "inf";
   startAndSkipHeading( mounts );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1", "Ethernet3" } );
   std::string const end = textOfEnd( 100'000ms, true );
   EXPECT_THAT( end, HasSubstr( "ends, until the delay of 300 s is over:" ) );
   EXPECT_THAT(
      end,
      HasSubstr( "waiting without end, and no timer will\n                release it: "
                 "Ethernet3\n" ) );
}

TEST_F( TextAccountTest, AConfigurationThatIsWholeAgainIsNotMissed ) {
   startAndSkipHeading( smallSwitch() );
   delayRuns( 0ms, true );
   hold( 0ms, { "Ethernet1" } );
   event( 10'000ms, 0, R"({ "mlagConfig": { "enabled": false } })" );
   release( 10'000ms, { "Ethernet1" } );
   EXPECT_THAT( text(), HasSubstr( "MLAG not configured" ) );
   event( 20'000ms, 1, R"({ "mlagConfig": { "enabled": true } })" );
   EXPECT_THAT( textOfEnd( 30'000ms ), Not( HasSubstr( "full MLAG configuration" ) ) );
}

} // namespace
} // namespace ostra
