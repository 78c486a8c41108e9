// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The alarms at the end of a run.

#include "PlayedAlarms"
#include "Program"

#include <host/input/File>

#include <fmt/format.h>
#include <gmock/gmock.h>

namespace ostra {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// With events behind its own.
std::vector< std::string >
alarmsOf(
   std::string const& example,
   std::optional< int > until,
   std::string const& events = "" ) {
   std::string const text =
      readFile( fmt::format( "{}/{}.yaml", OSTRA_EXAMPLES, example ) ).text;
   return playAlarms( text + events, until ).names();
}

} // namespace

TEST( RunAlarms, AreThoseOfTheSwitchAtTheEndAndAreGoneAfterWhatEndsThem ) {
   std::vector< std::string > const late = { "heldWithoutEnd Ethernet3",
                                             "heldWithoutEnd Ethernet4",
                                             "heldWithoutEnd Ethernet5" };
   EXPECT_THAT( alarmsOf( "becomes-mlag-late", 309 ), IsEmpty() );
   EXPECT_EQ( alarmsOf( "becomes-mlag-late", 320 ), late );
   EXPECT_EQ( alarmsOf( "becomes-mlag-late", std::nullopt ), late );
   EXPECT_THAT(
      alarmsOf(
         "becomes-mlag-late",
         std::nullopt,
         "  - { at: 400, mlagStatus: { mlagState: 3 } }\n" ),
      IsEmpty() );

   EXPECT_THAT(
      alarmsOf( "endless-delay", std::nullopt ),
      ElementsAre( "heldWithoutEnd Ethernet2", "heldWithoutEnd Ethernet5" ) );
   EXPECT_THAT(
      alarmsOf(
         "endless-delay",
         std::nullopt,
         "  - { at: 110, mlagissuCause: { intfStatus: { Ethernet2: null, Ethernet5: null } "
         "} }\n" ),
      Not( testing::Contains( HasSubstr( "eld" ) ) ) );

   EXPECT_THAT(
      alarmsOf( "ends-in-inf-seconds", 110 ),
      ElementsAre( "heldWithoutEnd Ethernet3", "heldWithoutEnd Ethernet4" ) );
   EXPECT_THAT(
      alarmsOf(
         "ends-in-inf-seconds",
         std::nullopt,
         "  - { at: 310, mlagConfig: { reloadDelayNonMlag: 330 } }\n" ),
      IsEmpty() );

   EXPECT_THAT(
      alarmsOf( "standby-left-behind", std::nullopt ),
      ElementsAre(
         "standbyWithoutEnd Port-Channel10", "standbyWithoutEnd Port-Channel11" ) );
   EXPECT_THAT(
      alarmsOf(
         "standby-left-behind",
         std::nullopt,
         "  - { at: 400, lacpConfig: { portChannel: { Port-Channel10: null } } }\n"
         "  - { at: 401, lacpConfig: { portChannel: { Port-Channel10: {} } } }\n" ),
      ElementsAre( "standbyWithoutEnd Port-Channel11" ) );

   EXPECT_THAT(
      alarmsOf( "joins-peer-link", 100 ), ElementsAre( "peerLinkHeld Ethernet53/1" ) );
   EXPECT_THAT( alarmsOf( "joins-peer-link", std::nullopt ), IsEmpty() );
   EXPECT_THAT(
      alarmsOf(
         "joins-peer-link",
         100,
         "  - { at: 70, mlagissuCause: { intfStatus: { Ethernet53/1: null } } }\n" ),
      IsEmpty() );

   EXPECT_THAT(
      alarmsOf( "standby-without-lacp", 20 ),
      ElementsAre( "notHeld Ethernet3", "notHeld Ethernet4" ) );
   EXPECT_THAT( alarmsOf( "standby-without-lacp", std::nullopt ), IsEmpty() );
   EXPECT_THAT(
      alarmsOf(
         "standby-without-lacp",
         50,
         "  - { at: 40, lacpConfig: { portChannel: { Port-Channel11: { stayInStandby: true "
         "} } } }\n" ),
      IsEmpty() );

   EXPECT_THAT(
      alarmsOf( "snooping-stays-forced", std::nullopt ),
      ElementsAre(
         "snoopingWithoutPort Port-Channel11", "snoopingWithoutPort Port-Channel12" ) );
   EXPECT_THAT(
      alarmsOf(
         "snooping-stays-forced",
         std::nullopt,
         "  - { at: 320, ethPhyIntfConfig: { intfConfig: { Ethernet5: { "
         "adminEnabledStateLocal: 2 } } } }\n" ),
      ElementsAre( "snoopingWithoutPort Port-Channel11" ) );
}

// What somebody does by its words takes nothing away for good.
TEST( RunAlarms, ProposeToGiveBackAnMlagIdThatIsTakenAway ) {
   std::string const text =
      readFile( fmt::format( "{}/snooping-stays-forced.yaml", OSTRA_EXAMPLES ) ).text +
      "  - { at: 320, lagInputConfig: { phyIntf: { Ethernet5: null } } }\n";
   auto const alarms = playAlarms( text ).alarms;
   ASSERT_EQ( alarms.size(), 2U );
   EXPECT_EQ( alarms[ 1 ].interface, "Port-Channel12" );
   EXPECT_EQ(
      alarms[ 1 ].ending,
      "take mlagConfig.intfConfig.Port-Channel12 away and give it back" );
   std::string const away =
      "  - { at: 330, mlagConfig: { intfConfig: { Port-Channel12: null } } }\n";
   std::string const back = "  - { at: 331, mlagConfig: { intfConfig: { Port-Channel12: { "
                            "mlagId: \"12\" } } } }\n";
   EXPECT_THAT(
      playAlarms( text + away + back ).names(),
      ElementsAre( "snoopingWithoutPort Port-Channel11" ) );
}

TEST( RunAlarms, AreNotRaisedByWhatEndsByItself ) {
   for ( char const* name : { "restart-after-delay",
                              "late-system-id",
                              "separate-delay-unheard",
                              "hold-flag-unheard",
                              "snooping-lost",
                              "leaf-reload" } ) {
      for ( std::optional< int > const until :
            { std::optional< int >(), std::optional( 20 ), std::optional( 120 ) } ) {
         EXPECT_THAT( alarmsOf( name, until ), IsEmpty() ) << name;
      }
   }
}

TEST( RunAlarms, APortThatSomebodyReleasedIsNotMissedUntilItWasHeldAgain ) {
   std::string const release =
      "  - { at: 150, mlagissuCause: { intfStatus: { Ethernet3: null } } }\n";
   EXPECT_THAT( alarmsOf( "hold-flag-unheard", 160, release ), IsEmpty() );
   EXPECT_THAT(
      alarmsOf(
         "hold-flag-unheard",
         160,
         release +
            "  - { at: 151, mlagissuCause: { intfStatus: { Ethernet3: 5 } } }\n"
            "  - { at: 152, ethPhyIntfStatus: { intfStatus: { Ethernet3: null } } }\n"
            "  - { at: 153, mlagConfig: { intfConfig: { Ethernet3: { mlagId: \"3\" } } } "
            "}\n" ),
      IsEmpty() );
}

TEST( RunAlarms, APortThatSomebodyReleasedIsMissedAgainWhenItWasAway ) {
   std::string const release =
      "  - { at: 310, mlagissuCause: { intfStatus: { Ethernet41: null } } }\n";
   std::string const awayAndBack =
      "  - { at: 311, ethPhyIntfStatus: { intfStatus: { Ethernet41: null } },\n"
      "      lagInputConfig: { phyIntf: { Ethernet41: { lag: Port-Channel1000 } } } }\n"
      "  - { at: 312, ethPhyIntfStatus: { intfStatus: { Ethernet41: {} } } }\n"
      "  - { at: 313, lagInputConfig: { phyIntf: { Ethernet41: null } } }\n";
   EXPECT_THAT( alarmsOf( "leaf-reload", 320, release ), IsEmpty() );
   EXPECT_THAT(
      alarmsOf( "leaf-reload", 320, release + awayAndBack ),
      ElementsAre( "notHeld Ethernet41" ) );
}

// Nobody looks at what is forced.
TEST( RunAlarms, WithoutTheStateMachineProposeNothingThatItWouldHaveToDo ) {
   std::string const text =
      readFile( fmt::format( "{}/snooping-stays-forced.yaml", OSTRA_EXAMPLES ) ).text +
      "  - { at: 320, agent: null }\n"
      "  - { at: 321, igmpsnoopingConfig: { forceEnabledPorts: { Port-Channel12: true } } "
      "}\n";
   auto const alarms = playAlarms( text ).alarms;
   ASSERT_EQ( alarms.size(), 1U );
   EXPECT_EQ( alarms[ 0 ].kind, AlarmKind::snoopingWithoutPort );
   EXPECT_EQ(
      alarms[ 0 ].ending,
      "nothing while the state machine, which would look at it, is not there" );
}

TEST( RunAlarms, AreToldBehindTheReportAndTheExitStatusStays ) {
   std::string const scenario = std::string( OSTRA_EXAMPLES ) + "/becomes-mlag-late.yaml";
   Outcome const text = ostraRun( "run " + scenario );
   EXPECT_EQ( text.status, 0 );
   EXPECT_THAT(
      text.out,
      HasSubstr(
         "\n  ALARM         heldWithoutEnd Ethernet3-5: errdisabled although the delay" ) );
   Outcome const lines = ostraRun( "run --format ndjson " + scenario );
   EXPECT_EQ( lines.status, 0 );
   EXPECT_EQ( jsonLines( lines.out ).back().at( "type" ), "end" );
   EXPECT_THAT( lines.out, Not( HasSubstr( "heldWithoutEnd" ) ) );
}

} // namespace ostra
