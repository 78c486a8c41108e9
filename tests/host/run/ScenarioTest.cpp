// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Play"

#include <gmock/gmock.h>

using ostra::complaint;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

// The complaint about a mount's value, without what comes before its path.
std::string
mountComplaint( std::string const& mount ) {
   std::string const text = complaint( "mounts: {" + mount + "}" );
   std::size_t const path = text.find( "mounts" );
   return path == std::string::npos ? text : text.substr( path );
}

} // namespace

TEST( Scenario, LongTextsAreCutInComplaints ) {
   std::string const text( 100, '1' );
   for ( std::string const& scenario : std::initializer_list< std::string >{
            text + ": 1",
            "mounts: { " + text + ": 1 }",
            "mounts: { mlagConfig: { enabled: " + text + " } }",
            "mounts: { mlagConfig: { domainId: " + text + " } }",
            "mounts: { mlagConfig: { reloadDelay: \"" + text + "\" } }",
            "mounts: { mlagConfig: { peerAddress: \"" + text + "\" } }",
            "mounts: { mlagConfig: { localInterface: V" + text + " } }",
            "mounts: { mlagStatus: { systemId: \"" + text + "\" } }",
            "mounts: { mlagStatus: { mlagState: \"" + text + "\" } }",
            "mounts: { ethPhyIntfStatus: { intfStatus: { Q" + text + ": {} } } }" } ) {
      std::string const why = complaint( scenario );
      EXPECT_THAT( why, HasSubstr( text.substr( 0, 59 ) ) ) << scenario;
      EXPECT_THAT( why, testing::Not( HasSubstr( text.substr( 0, 61 ) ) ) ) << scenario;
   }
}

TEST( Scenario, AnAddressIsNoEmptyText ) {
   EXPECT_THAT(
      complaint( "mounts: { mlagConfig: { peerAddress: \"\" } }" ),
      testing::EndsWith( "peerAddress: \"\": expected a value, 0.0.0.0 for none" ) );
   EXPECT_EQ(
      complaint( "mounts: { mlagConfig: { peerAddress: 0.0.0.0, domainId: \"\" } }" ), "" );
}

TEST( Scenario, AForeignCommentIsNoKey ) {
   EXPECT_EQ(
      complaint( "{ /* c */ \"until\": 3 }" ),
      "x.yaml:1:3: /* c */ \"until\": no key but a comment: expected it to begin with "
      "\"#\"" );
}

TEST( Scenario, EverythingIsOptional ) {
   EXPECT_EQ( complaint( "{}" ), "" );
   EXPECT_EQ(
      complaint( "name: x\nuntil: 0\nstartTime: -20.5\nmounts: {}\nevents: []" ), "" );
}

TEST( Scenario, UnknownKeysAreRefusedWithTheKnownOnes ) {
   EXPECT_EQ(
      complaint( "mount: {}" ),
      "x.yaml:1:1: mount: unknown key: expected name, startTime, until, templates, mounts, "
      "events; "
      "did "
      "you mean mounts?" );
   EXPECT_THAT(
      complaint( "mounts:\n  mlagConfg: {}" ),
      StartsWith( "x.yaml:2:3: mounts.mlagConfg: unknown key: expected mlagConfig, " ) );
   EXPECT_THAT( complaint( "mounts: {agent: {}}" ), HasSubstr( "unknown key" ) );
   EXPECT_THAT(
      mountComplaint( "mlagConfig: {delay: 5}" ),
      StartsWith( "mounts.mlagConfig.delay: unknown key: expected enabled, domainId" ) );
   EXPECT_THAT(
      complaint( "events: [{at: 1, mlagConfg: {}}]" ),
      StartsWith(
         "x.yaml:1:18: events[0].mlagConfg: unknown key: expected at, label, agent" ) );
}

TEST( Scenario, UnknownKeysAreToldTheNearestKnownOne ) {
   EXPECT_THAT(
      complaint( "mounts: {mlagConfg: {}}" ), EndsWith( "; did you mean mlagConfig?" ) );
   EXPECT_THAT( complaint( "Until: 1" ), EndsWith( "; did you mean until?" ) );
   EXPECT_THAT( complaint( "unitl: 1" ), EndsWith( "; did you mean until?" ) );
   EXPECT_THAT(
      mountComplaint( "mlagConfig: {reloadDelays: 5}" ),
      EndsWith( "; did you mean reloadDelay?" ) );
   EXPECT_THAT(
      complaint( "events: [{at: 1, agent: {mlagErrDisableSm: {}}}]" ),
      EndsWith( "; did you mean mlagErrdisableSm?" ) );
   EXPECT_THAT( complaint( "colour: 1" ), Not( HasSubstr( "did you mean" ) ) );
   EXPECT_THAT(
      complaint( std::string( 10000, 'x' ) + ": 1" ), Not( HasSubstr( "did you mean" ) ) );
}

TEST( Scenario, MissingSpaceBehindAColonIsNamed ) {
   EXPECT_EQ(
      mountComplaint( "mlagConfig: {enabled:true}" ),
      "mounts.mlagConfig.enabled:true: unknown key: expected a space behind the colon" );
   EXPECT_EQ(
      mountComplaint( "mlagConfig: enabled:true" ),
      "mounts.mlagConfig: \"enabled:true\": expected a space behind the colon" );
   EXPECT_EQ(
      complaint( "until:1" ),
      "x.yaml:1:1: \"until:1\": expected a space behind the colon" );
   EXPECT_THAT( complaint( "a text" ), HasSubstr( "expected a map of" ) );
   EXPECT_THAT( complaint( "'until:1'" ), HasSubstr( "expected a map of" ) );
}

TEST( Scenario, AttributesWithoutBehaviourAreUnknown ) {
   EXPECT_THAT(
      mountComplaint( "mlagConfig: {primaryPriority: 5}" ), HasSubstr( "unknown key" ) );
   EXPECT_THAT(
      mountComplaint( "mlagConfig: {isNondestructing: true}" ),
      HasSubstr( "unknown key" ) );
   EXPECT_THAT(
      mountComplaint( "ethIntfStatusDir: {genIdMarker: 1}" ), HasSubstr( "unknown key" ) );
}

TEST( Scenario, MissingMapsAndListsAreRefused ) {
   EXPECT_EQ(
      complaint( "" ),
      "x.yaml:1:1: nothing: expected a map of name, startTime, until, templates, mounts, "
      "events" );
   EXPECT_EQ(
      complaint( "- 1" ),
      "x.yaml:1:1: a list: expected a map of name, startTime, until, templates, mounts, "
      "events" );
   EXPECT_EQ(
      complaint( "mounts:" ), "x.yaml:1:1: mounts: nothing: expected a map of mounts" );
   EXPECT_EQ(
      complaint( "events: {}" ), "x.yaml:1:9: events: a map: expected a list of events" );
   EXPECT_EQ(
      complaint( "events: [5]" ),
      "x.yaml:1:10: events[0]: 5: expected a map with at and what changes then" );
   EXPECT_THAT(
      mountComplaint( "ethPhyIntfStatus: {intfStatus: [Ethernet1]}" ),
      StartsWith( "mounts.ethPhyIntfStatus.intfStatus: a list: expected a map" ) );
}

TEST( Scenario, TimesAreWholeMillisecondsInOrder ) {
   EXPECT_EQ( complaint( "events: [{at: 20.5}, {at: 20.5}, {at: 30}]" ), "" );
   EXPECT_EQ(
      complaint( "until: 0.0001" ),
      "x.yaml:1:8: until: 0.0001: expected a number of seconds from 0, in whole "
      "milliseconds, or a time like 1h30m or 01:30:00.000" );
   EXPECT_EQ(
      complaint( "events:\n  - at: 5\n  - at: 4.999\n" ),
      "x.yaml:3:9: events[1].at: 4.999: expected at least 5, the time of the event "
      "above" );
   EXPECT_EQ( complaint( "until: 2251799813685.248" ), "" );
   EXPECT_EQ(
      complaint( "until: 3e12" ),
      "x.yaml:1:8: until: 3e12: expected at most 2251799813685.248" );
   EXPECT_EQ(
      complaint( "startTime: -3e12" ),
      "x.yaml:1:12: startTime: -3e12: expected at least -2251799813685.248" );
   for ( char const* time : { "-1", ".inf", "\"1\"", "null", "x", "0.0005" } ) {
      EXPECT_NE( complaint( "events: [{at: " + std::string( time ) + "}]" ), "" ) << time;
      EXPECT_NE( complaint( "until: " + std::string( time ) ), "" ) << time;
   }
   EXPECT_NE( complaint( "startTime: 0.0005" ), "" );
   EXPECT_EQ(
      complaint( "events: [{mlagConfig: {}}]" ),
      "x.yaml:1:10: events[0]: no time: expected the key at" );
}

TEST( Scenario, BooleansAreTrueAndFalseAlone ) {
   for ( char const* value : { "1", "\"true\"", "yes", "null", "{}" } ) {
      EXPECT_THAT(
         mountComplaint( "mlagConfig: {enabled: " + std::string( value ) + "}" ),
         HasSubstr( ": expected true or false" ) )
         << value;
   }
}

TEST( Scenario, NumbersArePlainOrPositiveInfinity ) {
   for ( char const* value : { "300", "0.5", "-1", "1e3", ".inf", "\"inf\"", "inf" } ) {
      EXPECT_EQ(
         mountComplaint( "mlagConfig: {reloadDelay: " + std::string( value ) + "}" ), "" )
         << value;
   }
   for ( char const* value : { "soon",
                               "\"10\"",
                               ".nan",
                               "-.inf",
                               "\"-inf\"",
                               "010",
                               "0x10",
                               "1_000",
                               "1e999",
                               "true",
                               "null",
                               "[1]" } ) {
      EXPECT_THAT(
         mountComplaint( "mlagConfig: {reloadDelay: " + std::string( value ) + "}" ),
         HasSubstr( ": expected a number" ) )
         << value;
   }
}

TEST( Scenario, TextsAreNoNumbersAndNoBooleans ) {
   EXPECT_EQ( mountComplaint( "mlagConfig: {domainId: \"5\"}" ), "" );
   EXPECT_EQ( mountComplaint( "mlagConfig: {domainId: pod 1}" ), "" );
   EXPECT_EQ(
      mountComplaint( "mlagConfig: {domainId: 5}" ),
      "mounts.mlagConfig.domainId: 5: expected a text, which that is in quotes" );
   EXPECT_THAT(
      mountComplaint( "mlagConfig: {domainId: true}" ), HasSubstr( "in quotes" ) );
   EXPECT_THAT( mountComplaint( "mlagConfig: {domainId: null}" ), HasSubstr( "a text" ) );
}

TEST( Scenario, EnumerationsAreNumbersOrNames ) {
   for ( char const* value : { "0", "4", "mlagSecondary", "\"mlagPrimary\"" } ) {
      EXPECT_EQ(
         mountComplaint( "mlagStatus: {mlagState: " + std::string( value ) + "}" ), "" )
         << value;
   }
   for ( char const* value : { "5", "-1", "1.5", "mlag", "\"4\"", "null", ".inf" } ) {
      EXPECT_THAT(
         mountComplaint( "mlagStatus: {mlagState: " + std::string( value ) + "}" ),
         HasSubstr( ": expected 0 (mlagUnknown), 1 (mlagDisabled), " ) )
         << value;
   }
}

TEST( Scenario, NamesAndAddressesSayWhatWasExpected ) {
   EXPECT_THAT(
      mountComplaint( "mlagConfig: {peerLinkIntf: port-channel1}" ),
      StartsWith( "mounts.mlagConfig.peerLinkIntf: \"port-channel1\" is not an interface "
                  "name: expected " ) );
   EXPECT_THAT(
      mountComplaint( "ethPhyIntfStatus: {intfStatus: {Ethernet01: {}}}" ),
      HasSubstr( "mounts.ethPhyIntfStatus.intfStatus.Ethernet01: \"Ethernet01\" is not" ) );
   EXPECT_THAT(
      mountComplaint( "ethPhyIntfStatus: {intfStatus: {\"\": {}}}" ),
      HasSubstr( "empty key: expected an interface name" ) );
   EXPECT_THAT(
      mountComplaint( "mlagConfig: {peerAddress: 10.0.0}" ),
      HasSubstr( "is not an IP address: expected " ) );
   EXPECT_THAT(
      mountComplaint( "mlagStatus: {systemId: 02:00}" ),
      HasSubstr( "is not an Ethernet address: expected " ) );
   EXPECT_THAT(
      mountComplaint( "mlagConfig: {peerLinkIntf: \"\"}" ),
      HasSubstr( "expected a name" ) );
   EXPECT_THAT(
      mountComplaint( "lagInputConfig: {phyIntf: {Ethernet1: {lag: 5}}}" ),
      HasSubstr( "expected a name, or null for none" ) );
}

TEST( Scenario, NullIsForReferencesAndEntriesAlone ) {
   EXPECT_EQ(
      mountComplaint( "mlagConfig: {localInterface: null, intfConfig: {Vlan1: null}}" ),
      "" );
   EXPECT_EQ(
      mountComplaint(
         "ethPhyIntfConfig: {intfConfig: {Ethernet1: {defaultConfig: null}}}" ),
      "" );
   EXPECT_EQ(
      mountComplaint( "igmpsnoopingConfig: {forceEnabledPorts: {Port-Channel1: null}}" ),
      "" );
   for ( char const* mount : { "mlagConfig: null",
                               "mlagConfig: {intfConfig: null}",
                               "mlagConfig: {intfConfig: {Port-Channel1: {mlagId: null}}}",
                               "ethPhyIntfConfig: {intfConfig: {Ethernet1: "
                               "{adminEnabledStateLocal: null}}}" } ) {
      EXPECT_THAT( mountComplaint( mount ), HasSubstr( "null: expected" ) ) << mount;
   }
}

TEST( Scenario, AgentIsNullOrItsChildren ) {
   EXPECT_EQ( complaint( "events: [{at: 1, agent: null}, {at: 2, agent: {}}]" ), "" );
   EXPECT_EQ(
      complaint( "events: [{at: 1, agent: {mlagErrdisableSm: {}, "
                 "ethPeerIntfStatusReactor: null}}]" ),
      "" );
   EXPECT_EQ(
      complaint( "events: [{at: 1, agent: {sm: {}}}]" ),
      "x.yaml:1:26: events[0].agent.sm: unknown key: expected ethPeerIntfStatusReactor, "
      "mlagErrdisableSm" );
   EXPECT_THAT(
      complaint( "events: [{at: 1, agent: {mlagErrdisableSm: {a: 1}}}]" ),
      HasSubstr( "a map: expected {} to set it or null to delete it" ) );
   EXPECT_THAT(
      complaint( "events: [{at: 1, agent: true}]" ),
      HasSubstr( "true: expected null, {} or a map of ethPeerIntfStatusReactor, " ) );
}

TEST( Scenario, DoesNotAskForThePluginWithoutNeed ) {
   ostra::Mounts mounts;
   auto const noPlugin = []() -> ostra::RyxType const& {
      throw ostra::Failure( ostra::ExitStatus::badPlugin, "asked" );
   };
   EXPECT_NO_THROW(
      readScenario( ostra::parseDocument( "x", "events: [{at: 1}]" ), mounts, noPlugin ) );
   EXPECT_THROW(
      readScenario(
         ostra::parseDocument( "x", "events: [{at: 1, agent: {}}]" ), mounts, noPlugin ),
      ostra::Failure );
}

TEST( Scenario, EventAsJsonHasEverythingButItsTime ) {
   ostra::Mounts mounts;
   auto const scenario = readScenario(
      ostra::parseDocument(
         "x", "events: [{mlagConfig: {reloadDelay: .inf}, at: 1, lacpConfig: {}}]" ),
      mounts,
      {} );
   EXPECT_EQ(
      scenario.events.at( 0 ).patch().dump(),
      R"({"mlagConfig":{"reloadDelay":"inf"},"lacpConfig":{}})" );
}

TEST( Scenario, TimesAreWrittenAsPeopleDo ) {
   EXPECT_EQ(
      complaint( "startTime: -1h\nuntil: 00:05:00.000\n"
                 "events: [{at: 250ms}, {at: 1m}, {at: 60}, {at: \"1h30m\"}]" ),
      "" );
   EXPECT_THAT(
      complaint( "events: [{at: 2m}, {at: 90s}]" ),
      EndsWith(
         "events[1].at: \"90s\": expected at least 120, the time of the event above" ) );
   EXPECT_NE( complaint( "until: -1m" ), "" );
   EXPECT_EQ( mountComplaint( "mlagConfig: {reloadDelay: 5m}" ), "" );
   EXPECT_EQ(
      mountComplaint( "mlagConfig: {reloadDelay: \"5m\"}" ),
      "mounts.mlagConfig.reloadDelay: \"5m\": expected a number of seconds, a time "
      "like 1h30m without quotes, or .inf for never ending" );
}

TEST( Scenario, RangesAreComplainedOfLikeNames ) {
   auto const ports = []( std::string const& entry ) {
      return complaint( "mounts:\n  ethPhyIntfStatus:\n    intfStatus:\n      " + entry );
   };
   std::string const place = "x.yaml:4:7: mounts.ethPhyIntfStatus.intfStatus.";
   EXPECT_EQ( ports( "Ethernet1-48,51-52/1: {}" ), "" );
   EXPECT_EQ(
      ports( "\",Ethernet1\": {}" ),
      place + ",Ethernet1: \",Ethernet1\": expected a letter or a digit first" );
   EXPECT_EQ(
      mountComplaint( "mlagConfig: {localInterface: \"Vlan5 \"}" ),
      "mounts.mlagConfig.localInterface: \"Vlan5 \": expected nothing after \"Vlan5\"" );
   EXPECT_EQ(
      ports( "Ethernet4-1: {}" ),
      place +
         "Ethernet4-1: \"Ethernet4-1\" is not a range of interfaces: expected a number "
         "greater than 4 behind \"4-\"" );
   EXPECT_THAT(
      ports( "Ethernet1-2: { linkStats: 1 }" ),
      StartsWith( "x.yaml:4:22: mounts.ethPhyIntfStatus.intfStatus.Ethernet1-2.linkStats: "
                  "unknown key" ) );
   EXPECT_THAT(
      complaint( "mounts: { ethPhyIntfStatus: { intfStatus: { Ethernet1,3: {} } } }" ),
      EndsWith( "; between brackets, a range with a comma stands in quotes" ) );
}

TEST( Scenario, TemplatesAreReadWhereAnAliasSaysSo ) {
   EXPECT_EQ(
      complaint( "templates: { any: &any { mlagId: $1 }, other: 7 }\n"
                 "mounts: { mlagConfig: { intfConfig: { Port-Channel1-9: *any } } }" ),
      "" );
   EXPECT_EQ(
      complaint( "templates: 7" ),
      "x.yaml:1:12: templates: 7: expected a map of what aliases stand for" );
}

TEST( Scenario, EventsMayHaveALabel ) {
   EXPECT_EQ( complaint( "events: [{at: 1, label: the peer goes, mlagConfig: {}}]" ), "" );
   EXPECT_EQ(
      complaint( "events: [{at: 1, label: [] }]" ),
      "x.yaml:1:25: events[0].label: a list: expected a text" );
   EXPECT_THAT( complaint( "mounts: {label: x}" ), HasSubstr( "unknown key" ) );
}
