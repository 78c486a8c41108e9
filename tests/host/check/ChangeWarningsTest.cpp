// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is odd about the changes that a scenario makes.

#include "Program"
#include "Warned"

using ostra::ostraRun;
using ostra::sound;
using ostra::soundWith;
using ostra::temporaryFile;
using ostra::warningsOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

TEST( Warnings, RemovalOfWhatIsNotThere ) {
   for ( std::string const removal :
         { "ethPhyIntfStatus: { intfStatus: { Ethernet9: null } }",
           "ethPhyIntfConfig: { intfConfig: { Ethernet9: null } }",
           "lagInputConfig: { phyIntf: { Ethernet9: null } }",
           "lagInputIntfStatus: { intfStatus: { Port-Channel9: null } }",
           "mlagConfig: { intfConfig: { Port-Channel9: null } }",
           "lacpOverride: { lagIdConfig: { Port-Channel9: null } }",
           "peerIntfStatusDir: { intfStatus: { PeerEthernet9: null } }" } ) {
      EXPECT_THAT(
         warningsOf( soundWith( removal ) ),
         ElementsAre( EndsWith( "9 is not there to be removed" ) ) );
   }
   // The plug-in may have put it there.
   EXPECT_THAT(
      warningsOf( soundWith(
         "mlagissuCause: { intfStatus: { Ethernet9: null } }, "
         "igmpsnoopingConfig: { forceEnabledPorts: { Port-Channel9: null } }" ) ),
      IsEmpty() );
   EXPECT_THAT(
      warningsOf(
         "events:\n  - { at: 1, ethPhyIntfConfig: { intfConfig: { Ethernet1: {} } } }\n"
         "  - { at: 2, ethPhyIntfConfig: { intfConfig: { Ethernet1: null } } }\n"
         "  - { at: 3, ethPhyIntfConfig: { intfConfig: { Ethernet1: null } } }\n" ),
      ElementsAre(
         EndsWith( "no status in ethPhyIntfStatus: Ethernet1" ),
         StartsWith( "4:48: events[2].ethPhyIntfConfig.intfConfig.Ethernet1: " ) ) );
}

TEST( Warnings, NullForWhatTheMountsDoNotHave ) {
   EXPECT_THAT(
      warningsOf( "mounts:\n  ethPhyIntfStatus:\n    intfStatus:\n      Ethernet1:\n" ),
      ElementsAre( "4:7: mounts.ethPhyIntfStatus.intfStatus.Ethernet1: null removes it, "
                   "and it is not "
                   "there: expected {} to put it in" ) );
   EXPECT_THAT(
      warningsOf( "mounts: { mlagissuCause: { intfStatus: { Ethernet1: null } } }" ),
      ElementsAre( EndsWith( "expected {} to put it in" ) ) );
   std::string const state = temporaryFile(
      "state.json", R"({"ethPhyIntfStatus":{"intfStatus":{"Ethernet1":{}}}})" );
   EXPECT_EQ(
      ostraRun(
         "check - --mounts '" + state + "'",
         "mounts: { ethPhyIntfStatus: { intfStatus: { Ethernet1: null } } }" )
         .err,
      "" );
}

TEST( Warnings, AnEmptyMlagIdInAnEvent ) {
   for ( std::string const change :
         { "Port-Channel10: { mlagId: \"\" }", "Ethernet2: {}" } ) {
      EXPECT_THAT(
         warningsOf( soundWith( "mlagConfig: { intfConfig: { " + change + " } }" ) ),
         ElementsAre( EndsWith( "an empty mlagId is no MLAG configuration" ) ) );
   }
   EXPECT_THAT(
      warningsOf( soundWith( "mlagConfig: { intfConfig: { Port-Channel10: {} } }" ) ),
      IsEmpty() );
}

TEST( Warnings, RemovalOfAnAgentOrChildThatIsNotThere ) {
   auto const warningsOfChanges = []( std::vector< std::string > const& changes ) {
      std::string events = "events:\n";
      for ( std::string const& change : changes ) {
         events += "  - { at: 1, agent: " + change + " }\n";
      }
      return ostraRun( "check -", events ).err;
   };
   std::string const child = "{ mlagErrdisableSm: null }";
   EXPECT_EQ( warningsOfChanges( { child, "{}", child, "null", "{}", "null" } ), "" );
   EXPECT_EQ(
      warningsOfChanges( { "null", "null" } ),
      "warning: <stdin>:3:14: events[1].agent: the agent is not there to be removed\n" );
   std::string const absent =
      "agent.mlagErrdisableSm: mlagErrdisableSm is not there to be removed\n";
   EXPECT_THAT( warningsOfChanges( { child, child } ), EndsWith( "events[1]." + absent ) );
   EXPECT_THAT(
      warningsOfChanges( { "null", "{ ethPeerIntfStatusReactor: {} }", child } ),
      EndsWith( "events[2]." + absent ) );
}

TEST( Warnings, NullForAReferenceThatIsNotSet ) {
   for ( std::string const change :
         { "lagInputConfig: { phyIntf: { Ethernet3: { lag: null } } }",
           "ethPhyIntfConfig: { intfConfig: { Ethernet1: { defaultConfig: null } } }" } ) {
      EXPECT_THAT(
         warningsOf( soundWith( change ) ),
         ElementsAre( EndsWith( "there is none to be cleared" ) ) );
   }
   std::string const twice = "events: [ { at: 1, mlagConfig: { peerLinkIntf: null } }, "
                             "{ at: 2, mlagConfig: { peerLinkIntf: null } } ]\n";
   EXPECT_THAT(
      warningsOf( sound + twice ),
      ElementsAre(
         EndsWith( "events[1].mlagConfig.peerLinkIntf: there is none to be cleared" ) ) );
   EXPECT_THAT(
      warningsOf(
         soundWith( "lagInputConfig: { phyIntf: { Ethernet1: { lag: null } } }" ) ),
      IsEmpty() );
}

TEST( Warnings, EventsAfterTheEndInOneLine ) {
   EXPECT_THAT(
      warningsOf( "until: 5\nevents: [ { at: 5 }, { at: 6 }, { at: 7 }, { at: 8 } ]" ),
      ElementsAre(
         "2:28: events[1].at: does not happen: the run ends before it, nor do the 2 "
         "behind it" ) );
   EXPECT_THAT(
      warningsOf( "until: 5\nevents: [ { at: 6 }, { at: 7 } ]" ),
      ElementsAre( EndsWith( "the run ends before it, nor does the one behind it" ) ) );
   EXPECT_THAT(
      warningsOf( "until: 5\nevents: [ { at: 6 } ]" ),
      ElementsAre( EndsWith( "does not happen: the run ends before it" ) ) );
}
