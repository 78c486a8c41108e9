// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Program"
#include "Warned"

#include <support/Examples>

using ostra::ostraRun;
using ostra::Outcome;
using ostra::sound;
using ostra::soundWith;
using ostra::temporaryFile;
using ostra::warningsOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

TEST( Warnings, OfASoundScenarioThereAreNone ) {
   EXPECT_THAT( warningsOf( "{}" ), IsEmpty() );
   EXPECT_THAT( warningsOf( sound ), IsEmpty() );
   EXPECT_THAT(
      warningsOf( soundWith( "ethPhyIntfStatus: { intfStatus: { Ethernet1: null } }" ) ),
      IsEmpty() );
}

TEST( Warnings, ExamplesHaveNoneButWhatOneIsAbout ) {
   for ( std::string const& name : support::exampleNames() ) {
      Outcome const outcome =
         ostraRun( "check --strict " OSTRA_EXAMPLES "/" + name + ".yaml" );
      if ( name == "never-configured" ) {
         EXPECT_THAT(
            outcome.err,
            testing::HasSubstr(
               "enabled: no port is held without domainId, peerAddress" ) );
         EXPECT_THAT( outcome.err, testing::HasSubstr( ": 1 warning: " ) );
         continue;
      }
      EXPECT_EQ( outcome.status, 0 ) << outcome.err;
      EXPECT_EQ( outcome.err, "" );
   }
}

TEST( Warnings, PeerLinkWithoutMembersWhileAnotherPortChannelLooksLikeIt ) {
   std::string const members =
      "  lagInputConfig: { phyIntf: { Ethernet1: { lag: Port-Channel1000 } } }\n"
      "  ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } }\n"
      "  ethPhyIntfConfig: { intfConfig: { Ethernet1: {} } }\n";
   EXPECT_THAT(
      warningsOf( "mounts:\n  mlagConfig: { peerLinkIntf: Port-Channel100 }\n" + members ),
      ElementsAre(
         "2:31: mounts.mlagConfig.peerLinkIntf: no port is a member of "
         "Port-Channel100; with members and without an MLAG id: Port-Channel1000" ) );
   EXPECT_THAT(
      warningsOf(
         "mounts:\n  mlagConfig: { peerLinkIntf: Port-Channel100, intfConfig: { "
         "Port-Channel1000: { mlagId: \"1\" } } }\n" +
         members ),
      IsEmpty() );
   EXPECT_THAT(
      warningsOf( "mounts: { mlagConfig: { peerLinkIntf: Port-Channel100 } }" ),
      IsEmpty() );
}

TEST( Warnings, InterfacesOfAKindThatCannotStandThere ) {
   EXPECT_THAT(
      warningsOf( R"(mounts:
  lagInputConfig: { phyIntf: { Ethernet1: { lag: Ethernet2 } } }
  mlagConfig:
    localInterface: Ethernet4094
    peerLinkIntf: Vlan1000
    intfConfig: { Vlan10: { mlagId: "10" } }
  ethPhyIntfStatus: { intfStatus: { Loopback0: {} } }
  lacpOverride: { lagIdConfig: { Ethernet1: 02:00:00:00:00:01 } }
)" ),
      ElementsAre(
         "2:32: mounts.lagInputConfig.phyIntf.Ethernet1: no status in ethPhyIntfStatus: "
         "Ethernet1",
         "2:50: mounts.lagInputConfig.phyIntf.Ethernet1.lag: Ethernet2 is no port-channel",
         "4:21: mounts.mlagConfig.localInterface: Ethernet4094 is no VLAN",
         "5:19: mounts.mlagConfig.peerLinkIntf: Vlan1000 is no port-channel or port",
         "6:19: mounts.mlagConfig.intfConfig.Vlan10: Vlan10 is no port-channel or port",
         "7:37: mounts.ethPhyIntfStatus.intfStatus.Loopback0: Loopback0 is no port",
         "8:34: mounts.lacpOverride.lagIdConfig.Ethernet1: Ethernet1 is no "
         "port-channel" ) );
   EXPECT_THAT(
      warningsOf( soundWith( "mlagConfig: { localInterface: Loopback0 }" ) ),
      ElementsAre(
         EndsWith( "events[0].mlagConfig.localInterface: Loopback0 is no VLAN" ) ) );
}

TEST( Warnings, NamesThatLeadNowhere ) {
   constexpr char nowhere[] =
      "no port is a member of Port-Channel11, and lagInputIntfStatus does not have it";
   for ( std::string const setting :
         { "mlagConfig: { intfConfig: { Port-Channel11: { mlagId: \"11\" } } }",
           "lacpOverride: { lagIdConfig: { Port-Channel11: 02:00:00:00:00:01 } }",
           "lacpConfig: { portChannel: { Port-Channel11: {} } }",
           "igmpsnoopingConfig: { forceEnabledPorts: { Port-Channel11: true } }" } ) {
      EXPECT_THAT(
         warningsOf( "mounts:\n  " + setting ), ElementsAre( EndsWith( nowhere ) ) );
      EXPECT_THAT( warningsOf( soundWith( setting ) ), ElementsAre( EndsWith( nowhere ) ) );
      EXPECT_THAT(
         warningsOf(
            "mounts:\n  lagInputIntfStatus: { intfStatus: { Port-Channel11: {} } }\n  " +
            setting ),
         IsEmpty() );
      EXPECT_THAT(
         warningsOf(
            "events: [ { at: 1, lagInputConfig: { phyIntf: { Ethernet1: { lag: "
            "Port-Channel11 } } } } ]\nmounts:\n  " +
            setting ),
         ElementsAre( EndsWith( "no status in ethPhyIntfStatus: Ethernet1" ) ) );
   }
   EXPECT_THAT(
      warningsOf(
         "mounts:\n  mlagConfig: { intfConfig: { Ethernet9: { mlagId: \"9\" } } }" ),
      ElementsAre(
         "2:31: mounts.mlagConfig.intfConfig.Ethernet9: Ethernet9 is never present" ) );
   EXPECT_THAT(
      warningsOf( "mounts:\n  lagInputIntfStatus: { intfStatus: { Port-Channel11: {} } }" ),
      ElementsAre(
         EndsWith( "no port is a member of Port-Channel11, and nothing else has it" ) ) );
}

// One mistake in a range is one line.
TEST( Warnings, ARangeIsDoubtedOnce ) {
   EXPECT_THAT(
      warningsOf( "mounts:\n  mlagConfig: { intfConfig: { Port-Channel10-29: { mlagId: "
                  "\"1\" }, Ethernet7-9: { mlagId: $1 } } }\n" ),
      testing::UnorderedElementsAre(
         "2:31: mounts.mlagConfig.intfConfig.Port-Channel10-29: no port is a member of "
         "Port-Channel10-29, and lagInputIntfStatus does not have them",
         "2:60: mounts.mlagConfig.intfConfig.Port-Channel10-29.mlagId: Port-Channel11-29 "
         "have the MLAG id of Port-Channel10",
         "2:67: mounts.mlagConfig.intfConfig.Ethernet7-9: Ethernet7-9 are never "
         "present" ) );
}

TEST( Warnings, ARangeOfTheWrongKindIsDoubtedOnce ) {
   EXPECT_THAT(
      warningsOf( "mounts:\n"
                  "  mlagConfig: { intfConfig: { Port-Channel1-3: {} } }\n"
                  "  lagInputIntfStatus: { intfStatus: { 'Port-Channel1-3,11-12': {} } }\n"
                  "  ethPhyIntfStatus: { intfStatus: { Vlan1-3: {} } }\n"
                  "  peerIntfStatusDir: { intfStatus: { PeerEthernet4-9: null } }\n"
                  "events:\n"
                  "  - { at: 1, lagInputConfig: { phyIntf: { Ethernet4-9: null } } }\n" ),
      ElementsAre(
         "2:31: mounts.mlagConfig.intfConfig.Port-Channel1-3: an empty mlagId is no MLAG "
         "configuration",
         "3:39: mounts.lagInputIntfStatus.intfStatus.Port-Channel1-3,11-12: no port is a "
         "member of Port-Channel11-12, and nothing else has them",
         "4:37: mounts.ethPhyIntfStatus.intfStatus.Vlan1-3: none of Vlan1-3 is a port",
         "5:38: mounts.peerIntfStatusDir.intfStatus.PeerEthernet4-9: null removes it, and "
         "it is not there: expected {} to put it in",
         "7:43: events[0].lagInputConfig.phyIntf.Ethernet4-9: none of Ethernet4-9 is "
         "there to be removed" ) );
}

// A template that was made for a range stands below one interface.
TEST( Warnings, NumbersOfAnInterfaceThatIsNoRange ) {
   EXPECT_THAT(
      warningsOf( "templates: { a: &a { mlagId: $1 } }\n"
                  "name: $1\n"
                  "mounts:\n"
                  "  lagInputIntfStatus: { intfStatus: { Port-Channel1-7: {} } }\n"
                  "  mlagConfig:\n"
                  "    intfConfig:\n"
                  "      Port-Channel1-3: *a\n"
                  "      Port-Channel4: *a\n"
                  "      Port-Channel5: { mlagId: $five }\n"
                  "      Port-Channel6-7: { mlagId: $1-$0 }\n" ),
      ElementsAre(
         EndsWith( "mounts.mlagConfig.intfConfig.Port-Channel4.mlagId: $1 is a text here: "
                   "the numbers of an interface are $1 to $4, below a range" ),
         EndsWith( "mounts.mlagConfig.intfConfig.Port-Channel6-7.mlagId: $0 is a text "
                   "here: the numbers of an interface are $1 to $4, below a range" ) ) );
}

TEST( Warnings, MlagIdsThatPairNothing ) {
   std::string const lags =
      "  lagInputIntfStatus: { intfStatus: { Port-Channel1: {}, Port-Channel2: {} } }\n";
   EXPECT_THAT(
      warningsOf(
         "mounts:\n" + lags +
         "  mlagConfig:\n"
         "    peerLinkIntf: Port-Channel1\n"
         "    intfConfig: { Port-Channel1: { mlagId: \"1\" }, Port-Channel2: { "
         "mlagId: \"1\" } }\n" ),
      testing::UnorderedElementsAre(
         EndsWith(
            "4:19: mounts.mlagConfig.peerLinkIntf: Port-Channel1 has an MLAG id, too" ),
         EndsWith(
            "mounts.mlagConfig.intfConfig.Port-Channel2.mlagId: Port-Channel1 has the "
            "same MLAG id" ) ) );
   EXPECT_THAT(
      warningsOf(
         "mounts:\n" + lags +
         "  mlagConfig: { intfConfig: { Port-Channel1: {}, Port-Channel2: { mlagId: \"2\" "
         "} } }\n" ),
      ElementsAre( EndsWith( "an empty mlagId is no MLAG configuration" ) ) );
}

TEST( Warnings, DelaysThatAreNone ) {
   EXPECT_THAT(
      warningsOf( "mounts:\n  mlagConfig: { reloadDelay: -300 }" ),
      ElementsAre(
         "2:30: mounts.mlagConfig.reloadDelay: a negative delay is over at once" ) );
   EXPECT_THAT(
      warningsOf( "events: [ { at: 1, mlagConfig: { reloadDelayNonMlagConfigured: true, "
                  "reloadDelayNonMlag: -1 } } ]" ),
      ElementsAre( EndsWith( "a negative delay is over at once" ) ) );
   EXPECT_THAT(
      warningsOf( "mounts: { mlagConfig: { reloadDelayNonMlag: 330 } }" ),
      ElementsAre( EndsWith( "has no effect without reloadDelayNonMlagConfigured" ) ) );
   EXPECT_THAT( warningsOf( "mounts: { mlagConfig: { reloadDelay: .inf } }" ), IsEmpty() );
}

TEST( Warnings, PortsWithoutConfigurationInOneLine ) {
   EXPECT_THAT(
      warningsOf(
         "mounts:\n  ethPhyIntfStatus: { intfStatus: { Ethernet1: {}, Ethernet2: {}, "
         "Management1: {}, Ethernet3: {} } }\n"
         "events: [ { at: 1, ethPhyIntfConfig: { intfConfig: { Ethernet2: {} } } } ]" ),
      ElementsAre(
         "2:37: mounts.ethPhyIntfStatus.intfStatus.Ethernet1: no configuration in "
         "ethPhyIntfConfig: Ethernet1,3" ) );
}

TEST( Warnings, PortsThatNeverBecomePresentInOneLine ) {
   auto const absent = []( std::string const& ports ) {
      return ElementsAre( EndsWith( "no status in ethPhyIntfStatus: " + ports ) );
   };
   EXPECT_THAT(
      warningsOf( soundWith( "lagInputConfig: { phyIntf: { Ethernet8: { lag: "
                             "Port-Channel10 }, Ethernet9: {} } }" ) ),
      absent( "Ethernet8-9" ) );
   EXPECT_THAT(
      warningsOf( soundWith( "ethPhyIntfConfig: { intfConfig: { Ethernet9: {} } }" ) ),
      absent( "Ethernet9" ) );
   EXPECT_THAT(
      warningsOf( soundWith( "mlagissuCause: { intfStatus: { Ethernet9: 5 } }" ) ),
      absent( "Ethernet9" ) );
   EXPECT_THAT(
      warningsOf( soundWith( "mlagConfig: { peerLinkIntf: Ethernet9 }" ) ),
      absent( "Ethernet9" ) );
}

TEST( Warnings, MlagThatIsEnabledAndNotConfigured ) {
   EXPECT_THAT(
      warningsOf( "mounts:\n  mlagConfig: { enabled: true, domainId: pod1 }" ),
      ElementsAre(
         "2:26: mounts.mlagConfig.enabled: no port is held without localInterface, "
         "peerAddress, peerLinkIntf" ) );
   EXPECT_THAT( warningsOf( "mounts: { mlagConfig: { domainId: pod1 } }" ), IsEmpty() );
}

TEST( Warnings, AQuoteThatNothingOpens ) {
   EXPECT_THAT(
      warningsOf( "name: 19\"\nmounts:\n  mlagConfig:\n    domainId: pod1'\n"
                  "    localInterface: Vlan1\n"
                  "    intfConfig: { Port-Channel10: { mlagId: 10\" } }\n"
                  "  lagInputIntfStatus: { intfStatus: { Port-Channel10: {} } }\n" ),
      ElementsAre(
         "4:15: mounts.mlagConfig.domainId: ends with a quote that nothing opens",
         "6:45: mounts.mlagConfig.intfConfig.Port-Channel10.mlagId: ends with a quote "
         "that nothing opens" ) );
   EXPECT_THAT( warningsOf( "mounts: { mlagConfig: { domainId: '10\"' } }\n" ), IsEmpty() );
}

// Each is found where it stands, in one walk through the file.
TEST( Warnings, ThousandsOfThemTakeNoTime ) {
   std::string scenario = "mounts:\n  lagInputConfig:\n    phyIntf:\n";
   std::string status = "  ethPhyIntfStatus:\n    intfStatus:\n";
   std::string config = "  ethPhyIntfConfig:\n    intfConfig:\n";
   constexpr int count = 4000;
   for ( int i = 1; i <= count; ++i ) {
      std::string const port = "      Ethernet" + std::to_string( i );
      scenario += port + ": { lag: Ethernet1 }\n";
      status += port + ": {}\n";
      config += port + ": {}\n";
   }
   auto const lines = warningsOf( scenario + status + config );
   ASSERT_EQ( lines.size(), std::size_t( count ) );
   EXPECT_EQ(
      lines.back(),
      "4003:28: mounts.lagInputConfig.phyIntf.Ethernet4000.lag: Ethernet1 is no "
      "port-channel" );
}

TEST( Warnings, ComeInTheOrderOfTheFile ) {
   EXPECT_THAT(
      warningsOf( R"(mounts:
  lagInputIntfStatus: { intfStatus: { Port-Channel1: {} } }
  mlagConfig: { reloadDelay: -1, localInterface: Ethernet1 }
  ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } }
events: [ { at: 1, mlagConfig: { reloadDelay: -2 } } ]
)" ),
      ElementsAre(
         StartsWith( "2:39:" ),
         StartsWith( "3:30:" ),
         StartsWith( "3:50:" ),
         StartsWith( "4:37:" ),
         StartsWith( "5:47:" ) ) );
}

TEST( Warnings, AreNoFailureUnlessStrict ) {
   std::string const scenario = "mounts:\n  mlagConfig: { reloadDelay: -300 }\n";
   std::string const warning =
      "warning: <stdin>:2:30: mounts.mlagConfig.reloadDelay: a negative delay is over at "
      "once\n";
   Outcome const outcome = ostraRun( "check -", scenario );
   EXPECT_EQ( outcome.status, 0 );
   EXPECT_EQ( outcome.out, "<stdin>: ok, 0 events, 0 ports\n" );
   EXPECT_EQ( outcome.err, warning );
   Outcome const strict = ostraRun( "check --strict -", scenario );
   EXPECT_EQ( strict.status, 2 );
   EXPECT_EQ( strict.out, "" );
   EXPECT_EQ(
      strict.err, warning + "<stdin>: 1 warning: expected none, as --strict is given\n" );
}

TEST( Warnings, OfAnEarlierStateHaveNoPlace ) {
   std::string const state = temporaryFile(
      "state.json",
      R"({"mlagConfig":{"localInterface":"Ethernet1"},)"
      R"("ethPhyIntfConfig":{"intfConfig":{"Ethernet1":{}}}})" );
   EXPECT_EQ(
      ostraRun(
         "check - --mounts '" + state + "'",
         "mounts: { ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } } }" )
         .err,
      "warning: mounts.mlagConfig.localInterface: Ethernet1 is no VLAN\n" );
}
