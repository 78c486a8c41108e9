// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/WhyInRun>

#include "Play"

#include <gmock/gmock.h>

#include <sstream>

namespace ostra {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// All are held for 300 s. The domain changes at 100 s, which ends no hold; Ethernet2 is released by
// hand at 200 s. Ethernet4 waits in LACP standby.
constexpr char scenario[] = R"(
startTime: 1000
mounts:
  mlagConfig:
    enabled: true
    domainId: pod1
    localInterface: Vlan4094
    peerAddress: 10.255.255.2
    peerLinkIntf: Port-Channel1000
    reloadDelay: 300
    lacpStandby: true
    intfConfig: { Port-Channel10: { mlagId: "10" }, Port-Channel11: { mlagId: "11" } }
  mlagStatus: { mlagState: mlagSecondary, systemId: 02:00:00:00:10:01 }
  mlagProtoStatus: { holdInSecondary: true }
  ethPhyIntfStatus: { intfStatus: { Ethernet1-5: {}, Management1: {} } }
  ethPhyIntfConfig: { intfConfig: { Ethernet1-5: { adminEnabledStateLocal: 1 } } }
  lagInputIntfStatus: { intfStatus: { Port-Channel10-11: {} } }
  lacpConfig: { portChannel: { Port-Channel10-11: {} } }
  lacpOverride: { lagIdConfig: { Port-Channel11: 02:00:00:00:10:01 } }
  lagInputConfig:
    phyIntf:
      Ethernet1-2: { lag: Port-Channel10, mode: 2 }
      Ethernet4: { lag: Port-Channel11, mode: 2 }
      Ethernet5: { lag: Port-Channel1000, mode: 2 }
events:
  - { at: 100, mlagConfig: { domainId: pod2 } }
  - { at: 200, mlagissuCause: { intfStatus: { Ethernet2: null } } }
)";

// Ethernet1, of an MLAG port-channel, becomes the peer link at 60 s.
std::string
joiningPeerLink( std::string const& mlag, std::string const& nonMlag ) {
   return "mounts:\n"
          "  mlagConfig: { enabled: true, domainId: d, localInterface: Vlan1,\n"
          "    peerAddress: 10.0.0.2, peerLinkIntf: Port-Channel1, reloadDelay: " +
      mlag + ",\n    reloadDelayNonMlagConfigured: true, reloadDelayNonMlag: " + nonMlag +
      ",\n    intfConfig: { Port-Channel10: { mlagId: \"10\" } } }\n"
      "  mlagStatus: { mlagState: mlagInactive }\n"
      "  ethPhyIntfStatus: { intfStatus: { Ethernet1-2: {} } }\n"
      "  ethPhyIntfConfig: { intfConfig: { Ethernet1-2: { adminEnabledStateLocal: 1 } } }\n"
      "  lagInputConfig: { phyIntf: { Ethernet1: { lag: Port-Channel10, mode: 2 } } }\n"
      "events: [ { at: 60, mlagConfig: { peerLinkIntf: Ethernet1 } } ]\n";
}

std::string
whyAt(
   std::string const& interface,
   Milliseconds at,
   bool isJson = false,
   std::string const& text = scenario ) {
   WhyOptions options;
   options.input.scenario = temporaryFile( "why.yaml", text );
   options.input.plugin = OSTRA_PLUGIN;
   options.interface = interface;
   options.at = at;
   options.isJson = isJson;
   std::ostringstream out;
   try {
      tellWhyInRun( options, out );
      return out.str();
   } catch ( Failure const& failure ) {
      return fmt::format( "{} {}", static_cast< int >( failure.status() ), failure.what() );
   }
}

using namespace std::chrono_literals;

TEST( WhyInRun, APortThatIsHeldHasASinceAndAnUntilAndWhatReleasesIt ) {
   std::string const why = whyAt( "Ethernet1", 60s );
   EXPECT_THAT(
      why,
      StartsWith(
         "at            00:01:00.000\n"
         "Ethernet1     mlag port in Port-Channel10\n"
         "held          errdisabled for the MLAG reload delay, 240 s left\n"
         "since         00:00:00.000, 60 s ago\n"
         "until         released 00:05:00.000, in 240 s, unless something is changed\n"
         "would release it now:\n"
         "  mlagissuCause.intfStatus.Ethernet1=null" ) );
   EXPECT_THAT( why, HasSubstr( "\n  mlagStatus.mlagState=mlagPrimary  " ) );
}

TEST( WhyInRun, TheScenariosOwnEventsCountForUntil ) {
   EXPECT_THAT(
      whyAt( "Ethernet2", 60s ),
      HasSubstr( "until         released 00:03:20.000, in 140 s" ) );
}

TEST( WhyInRun, AMemberOfAPortChannelInStandbyIsHeld ) {
   Json const why = Json::parse( whyAt( "Ethernet4", 250500ms, true ) );
   EXPECT_EQ( why.at( "port" ).at( "hold" ).at( "kind" ), "lacpStandby" );
   EXPECT_EQ( why.at( "port" ).at( "hold" ).at( "since" ), 0 );
   EXPECT_EQ( why.at( "heldSince" ), 0 );
   EXPECT_EQ( why.at( "heldFor" ), 250.5 );
   EXPECT_EQ( why.at( "releasedAt" ), 300 );
   EXPECT_EQ( why.at( "releasedIn" ), 49.5 );
   EXPECT_FALSE( why.at( "changes" ).empty() );
}

TEST( WhyInRun, AllTimesAreTheScenarios ) {
   Json const why = Json::parse( whyAt( "Ethernet1", 60s, true ) );
   EXPECT_EQ( why.at( "at" ), 60 );
   EXPECT_EQ( why.at( "port" ).at( "hold" ).at( "since" ), 0 );
   EXPECT_EQ( why.at( "heldSince" ), 0 );
   EXPECT_EQ( why.at( "releasedAt" ), 300 );
}

TEST( WhyInRun, WhatHasPassedAndWhatIsLeftMakeTheWholeDelay ) {
   std::string const why = whyAt( "Ethernet1", 60500ms );
   EXPECT_THAT( why, HasSubstr( "delay, 240 s left\n" ) );
   EXPECT_THAT( why, HasSubstr( "00:00:00.000, 60 s ago\n" ) );
   EXPECT_THAT( why, HasSubstr( "00:05:00.000, in 240 s" ) );
}

TEST( WhyInRun, APortThatIsNotHeldHasAReason ) {
   EXPECT_EQ(
      whyAt( "Ethernet1", 300s ),
      "at            00:05:00.000\n"
      "Ethernet1     mlag port in Port-Channel10\n"
      "not held      the reload delay is over\n"
      "released      00:05:00.000, delay over; errdisabled since 00:00:00.000\n" );
   EXPECT_THAT(
      whyAt( "Ethernet2", 250s ),
      HasSubstr( "not held      although the delay runs\n"
                 "released      00:03:20.000, by the event; errdisabled since "
                 "00:00:00.000\n" ) );
   EXPECT_THAT(
      whyAt( "Ethernet4", 310s ),
      HasSubstr( "not held      the reload delay is over\n"
                 "released      00:05:00.000, delay over; Port-Channel11 in LACP standby "
                 "since 00:00:00.000\n" ) );
   EXPECT_THAT(
      whyAt( "Management1", 0s ),
      HasSubstr( "not held      never held: it is a management port" ) );
   EXPECT_THAT(
      whyAt( "Ethernet5", 0s ),
      HasSubstr( "not held      never held: it is in the peer link" ) );
}

// Afterwards the switch does not say any more that this was why.
TEST( WhyInRun, APortThatNeverWasHeldHasTheReasonOfThen ) {
   std::string const unconfigured =
      "mounts: { ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } } }\n"
      "events:\n"
      "  - { at: 1, ethPhyIntfStatus: { intfStatus: { Ethernet2: {} } } }\n";
   EXPECT_THAT(
      whyAt( "Ethernet1", 0s, false, unconfigured ),
      testing::EndsWith( "not held      MLAG not configured\n" ) );
   EXPECT_THAT(
      whyAt( "Ethernet1", 1s, false, unconfigured ),
      testing::EndsWith( "not held      MLAG not configured\n" ) );
   EXPECT_THAT(
      whyAt( "Ethernet2", 1s, false, unconfigured ),
      testing::EndsWith( "not held      the reload delay is over\n" ) );
}

TEST( WhyInRun, TheLastHoldOfAPortThatIsNotHeldIsTold ) {
   Json const released = Json::parse( whyAt( "Ethernet2", 250s, true ) );
   EXPECT_EQ(
      released.at( "lastHold" ),
      Json( { { "kind", "errdisable" },
              { "class", "mlag" },
              { "since", 0 },
              { "released", 200 },
              { "reason", "by the event" } } ) );
   Json const held = Json::parse( whyAt( "Ethernet2", 150s, true ) );
   EXPECT_TRUE( held.at( "lastHold" ).is_null() );
   Json const never = Json::parse( whyAt( "Management1", 250s, true ) );
   EXPECT_TRUE( never.at( "lastHold" ).is_null() );
}

TEST( WhyInRun, AHeldPortThatJoinsThePeerLinkWaitsForTheDelayThatItIsHeldFor ) {
   EXPECT_THAT(
      whyAt( "Ethernet1", 100s, false, joiningPeerLink( "300", "330" ) ),
      AllOf(
         HasSubstr( "Ethernet1     peerLink port in Port-Channel10\n" ),
         HasSubstr( "errdisabled for the MLAG reload delay, 200 s left\n" ),
         HasSubstr( "released 00:05:00.000, in 200 s" ) ) );
   EXPECT_THAT(
      whyAt( "Ethernet1", 100s, false, joiningPeerLink( ".inf", "115" ) ),
      AllOf(
         HasSubstr( "errdisabled for the MLAG reload delay, which no timer ends\n" ),
         HasSubstr( "nothing releases it" ) ) );
}

TEST( WhyInRun, OfAPortThatWasHeldNobodySaysThatItNeverIs ) {
   EXPECT_THAT(
      whyAt( "Ethernet1", 310s, false, joiningPeerLink( "300", "330" ) ),
      testing::EndsWith( "not held      it is in the peer link\n"
                         "released      00:05:00.000, delay over; errdisabled since "
                         "00:00:00.000\n" ) );
}

TEST( WhyInRun, APortChannelIsAskedOfByItsPorts ) {
   EXPECT_EQ(
      whyAt( "Port-Channel10", 60s ),
      "2 ostra why: \"Port-Channel10\": a port-channel, and it is ports that are held: "
      "expected one that is in it: Ethernet1-2" );
   EXPECT_EQ(
      whyAt( "Port-Channel12", 60s ),
      "2 ostra why: \"Port-Channel12\": a port-channel, and it is ports that are held: "
      "expected a port; there are Ethernet1-5, Management1" );
}

// Ethernet1 and 4, which waits in LACP standby, go at 7.5 s; Ethernet2 goes at 10 s and 30 s.
std::string
leaving() {
   std::string const text = scenario;
   return text.substr( 0, text.find( "events:" ) ) +
      "events:\n"
      "  - { at: 7.5, ethPhyIntfStatus: { intfStatus: { Ethernet1: null, Ethernet4: null,\n"
      "        Management1: null } } }\n"
      "  - { at: 10, ethPhyIntfStatus: { intfStatus: { Ethernet2: null } } }\n"
      "  - { at: 20, ethPhyIntfStatus: { intfStatus: { Ethernet2: {}, Ethernet9: {} } } }\n"
      "  - { at: 30, ethPhyIntfStatus: { intfStatus: { Ethernet2: null } } }\n";
}

TEST( WhyInRun, APortThatHasGoneHasASinceAndHowItWasHeld ) {
   EXPECT_EQ(
      whyAt( "Ethernet1", 60s, false, leaving() ),
      "at            00:01:00.000\n"
      "Ethernet1     mlag port in Port-Channel10\n"
      "gone          since 00:00:07.500\n"
      "released      00:00:07.500, interface gone; errdisabled since 00:00:00.000\n" );
   EXPECT_THAT(
      whyAt( "Ethernet4", 310s, false, leaving() ),
      testing::EndsWith(
         "gone          since 00:00:07.500\n"
         "released      00:00:07.500, interface gone; Port-Channel11 in LACP "
         "standby since 00:00:00.000\n" ) );
   EXPECT_THAT(
      whyAt( "Management1", 10s, false, leaving() ),
      testing::EndsWith( "gone          since 00:00:07.500; never held: it is a "
                         "management port\n" ) );
   Json const why = Json::parse( whyAt( "Ethernet1", 60s, true, leaving() ) );
   EXPECT_EQ( why.at( "goneAt" ), 7.5 );
   EXPECT_EQ( why.at( "port" ).at( "class" ), "mlag" );
   EXPECT_EQ( why.at( "port" ).at( "hold" ), Json() );
   EXPECT_EQ( why.at( "lastHold" ).at( "released" ), 7.5 );
}

TEST( WhyInRun, APortThatWasReleasedBeforeItWentKeepsTheReasonOfThat ) {
   std::string const text = leaving() +
      "  - { at: 200, mlagissuCause: { intfStatus: { Ethernet3: null } } }\n"
      "  - { at: 210, ethPhyIntfStatus: { intfStatus: { Ethernet3: null } } }\n";
   EXPECT_THAT(
      whyAt( "Ethernet3", 210s, false, text ),
      testing::EndsWith( "gone          since 00:03:30.000\n"
                         "released      00:03:20.000, by the event; errdisabled since "
                         "00:00:00.000\n" ) );
}

TEST( WhyInRun, OfAPortThatWasHeldNobodySaysThatItNeverWas ) {
   std::string const text = leaving() +
      "  - { at: 200, mlagConfig: { peerLinkIntf: Ethernet3 } }\n"
      "  - { at: 210, ethPhyIntfStatus: { intfStatus: { Ethernet3: null } } }\n";
   EXPECT_THAT(
      whyAt( "Ethernet3", 210s, false, text ),
      testing::EndsWith( "gone          since 00:03:30.000\n"
                         "released      00:03:30.000, interface gone; errdisabled since "
                         "00:00:00.000\n" ) );
}

TEST( WhyInRun, APortIsGoneFromTheLastTimeOnThatItWent ) {
   EXPECT_THAT(
      whyAt( "Ethernet2", 15s, false, leaving() ),
      HasSubstr( "gone          since 00:00:10.000\n" ) );
   EXPECT_THAT( whyAt( "Ethernet2", 25s, false, leaving() ), HasSubstr( "\nheld  " ) );
   EXPECT_EQ(
      Json::parse( whyAt( "Ethernet2", 25s, true, leaving() ) ).at( "goneAt" ), Json() );
   EXPECT_THAT(
      whyAt( "Ethernet2", 30s, false, leaving() ),
      testing::EndsWith( "gone          since 00:00:30.000\n"
                         "released      00:00:30.000, interface gone; errdisabled since "
                         "00:00:20.000\n" ) );
}

TEST( WhyInRun, APortThatHasGoneAndWasNeverHeldHasTheReasonOfThen ) {
   std::string const unconfigured =
      "mounts: { ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } } }\n"
      "events:\n"
      "  - { at: 1, ethPhyIntfStatus: { intfStatus: { Ethernet1: null } } }\n";
   EXPECT_EQ(
      whyAt( "Ethernet1", 1s, false, unconfigured ),
      "at            00:00:01.000\n"
      "Ethernet1     nonMlag port\n"
      "gone          since 00:00:01.000; it was not held: MLAG not configured\n" );
   EXPECT_TRUE( Json::parse( whyAt( "Ethernet1", 1s, true, unconfigured ) )
                   .at( "lastHold" )
                   .is_null() );
}

TEST( WhyInRun, APortThatWasNeverSeenIsRefusedWithWhenItComes ) {
   EXPECT_EQ(
      whyAt( "Ethernet9", 1500ms ),
      "2 ostra why: \"Ethernet9\": never seen up to 1.5 s: expected a port; there are "
      "Ethernet1-5, Management1" );
   EXPECT_EQ(
      whyAt( "Ethernet9", 7500ms, false, leaving() ),
      "2 ostra why: \"Ethernet9\": never seen up to 7.5 s, it comes at 20 s: expected a "
      "port; there are Ethernet2-3,5" );
   EXPECT_EQ(
      whyAt( "Ethernet9", 7500ms, false, "until: 10" + leaving() ),
      "2 ostra why: \"Ethernet9\": never seen up to 7.5 s: expected a port; there are "
      "Ethernet2-3,5" );
   EXPECT_EQ(
      whyAt( "Ethernet9", 0s, false, "until: 5" ),
      "2 ostra why: \"Ethernet9\": never seen up to 0 s: expected a port; there are none" );
}

TEST( WhyInRun, WhatCannotBeAskedIsRefused ) {
   EXPECT_THAT(
      whyAt( "Ether9", 0s ),
      StartsWith( "2 ostra why: \"Ether9\" is not an interface name" ) );
   WhyOptions options;
   options.input.scenario = "-";
   options.interface = "Ethernet1";
   std::ostringstream out;
   EXPECT_THROW( tellWhyInRun( options, out ), Failure );
}

} // namespace
} // namespace ostra
