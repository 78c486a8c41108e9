// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Program"

#include <host/check/Warnings>

#include <support/Examples>

#include <gmock/gmock.h>

using ostra::ostraRun;
using ostra::Outcome;
using ostra::temporaryFile;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

// What `check` warns of, without "warning: x.yaml:".
std::vector< std::string >
warningsOf( std::string const& scenario ) {
   constexpr std::string_view prefix = "warning: x.yaml:";
   ostra::Mounts mounts;
   ostra::Document const document = ostra::parseDocument( "x.yaml", scenario );
   ostra::Scenario const read =
      ostra::readScenario( document, mounts, []() -> ostra::RyxType const& {
         throw std::logic_error( "no agent here" );
      } );
   auto lines = ostra::warnings( document, read, mounts );
   for ( std::string& line : lines ) {
      EXPECT_THAT( line, StartsWith( std::string( prefix ) ) );
      line.erase( 0, prefix.size() );
   }
   return lines;
}

// A switch on which everything is in its place.
constexpr char sound[] = R"(
mounts:
  mlagConfig:
    localInterface: Vlan4094
    peerLinkIntf: Port-Channel1000
    reloadDelayNonMlagConfigured: true
    reloadDelayNonMlag: 330
    intfConfig: { Port-Channel10: { mlagId: "10" }, Ethernet3: { mlagId: "3" } }
  ethPhyIntfStatus:
    intfStatus: { Ethernet1: {}, Ethernet2: {}, Ethernet3: {}, Ethernet4: {}, Management1: {}, Internal1: {} }
  ethPhyIntfConfig: { intfConfig: { Ethernet1: {}, Ethernet2: {}, Ethernet3: {}, Ethernet4: {} } }
  lagInputConfig:
    phyIntf:
      Ethernet1: { lag: Port-Channel10 }
      Ethernet2: { lag: Port-Channel1000 }
      Ethernet3: { lag: null }
  lagInputIntfStatus: { intfStatus: { Port-Channel10: {} } }
  lacpOverride: { lagIdConfig: { Port-Channel10: 02:00:00:00:00:01 } }
  lacpConfig: { portChannel: { Port-Channel10: {} } }
  igmpsnoopingConfig: { forceEnabledPorts: { Port-Channel10: true, Port-Channel11: false } }
  peerIntfStatusDir: { intfStatus: { PeerEthernet1: {} } }
)";

// The same with what happens to it.
std::string
soundWith( std::string const& event ) {
   return sound + ( "events: [ { at: 5, " + event + " } ]\n" );
}

} // namespace

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

TEST( Warnings, MlagThatIsEnabledAndNotConfigured ) {
   EXPECT_THAT(
      warningsOf( "mounts:\n  mlagConfig: { enabled: true, domainId: pod1 }" ),
      ElementsAre(
         "2:26: mounts.mlagConfig.enabled: no port is held without localInterface, "
         "peerAddress, peerLinkIntf" ) );
   EXPECT_THAT( warningsOf( "mounts: { mlagConfig: { domainId: pod1 } }" ), IsEmpty() );
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
