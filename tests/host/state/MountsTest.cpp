// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/Scenario>
#include <host/state/Mounts>
#include <host/state/Watcher>

#include <support/AllocationCounter>

#include <gmock/gmock.h>

#include <sstream>

using ostra::Json;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

// Mounts whose changes are written down: "lagInputConfig/phyIntf/Ethernet1 {...}".
class MountsTest : public testing::Test {
 protected:
   MountsTest() {
      for ( std::size_t i = 0; i < ostra::mountKinds.size(); ++i ) {
         watchers_.push_back( Ryx::make< ostra::Watcher >(
            mounts.object( i ),
            std::vector< std::string >{ std::string( ostra::mountKinds[ i ].name ) },
            ostra::Watched::deep,
            report_ ) );
      }
   }

   void apply( std::string const& patch ) {
      log.clear();
      auto const document = ostra::parseDocument( "patch", patch );
      mounts.apply( ostra::Item( document ) );
   }

   std::string line() const {
      std::ostringstream out;
      mounts.putLine( out );
      return out.str();
   }

   ostra::Mounts mounts;
   std::vector< std::string > log;

 private:
   ostra::WriteReport const report_ = [ this ]( ostra::WriteRecord const& record ) {
      std::string text;
      for ( std::string const& part : record.path ) {
         text += ( text.empty() ? "" : "/" ) + part;
      }
      log.push_back( text + " " + record.value.dump() );
   };
   std::vector< Ryx::Ptr< ostra::Watcher > > watchers_;
};

} // namespace

TEST_F( MountsTest, StartInTheirDefaultState ) {
   EXPECT_EQ(
      mounts.at( { "mlagConfig" } ).dump(),
      R"({"enabled":false,"domainId":"","localInterface":null,"peerAddress":"0.0.0.0",)"
      R"("peerLinkIntf":null,"intfConfig":{},"reloadDelay":0,)"
      R"("reloadDelayNonMlagConfigured":false,"reloadDelayNonMlag":0,)"
      R"("lacpStandby":false})" );
   EXPECT_EQ( mounts.at( { "mlagProtoStatus", "portsErrdisabledWhen" } ), "inf" );
   EXPECT_THAT( mounts.keys( { "ethPhyIntfStatus", "intfStatus" } ), IsEmpty() );
}

TEST_F( MountsTest, TheLineOfTheStateIsThatOfItsDocument ) {
   EXPECT_EQ( line(), ostra::lineOf( mounts.state() ) );
   apply( R"({
      "mlagConfig": { "domainId": "a \"b\" \u2028", "reloadDelay": 1.5,
                      "peerLinkIntf": "Port-Channel1",
                      "intfConfig": { "Port-Channel2": { "mlagId": "2" },
                                      "Port-Channel3": { "mlagId": "\u007f" } } },
      "ethPhyIntfStatus": { "intfStatus": { "Ethernet1": {}, "Ethernet2": {} } },
      "lagInputConfig": { "phyIntf": { "Ethernet1": { "lag": "Port-Channel2" } } } })" );
   EXPECT_EQ( line(), ostra::lineOf( mounts.state() ) );
}

TEST_F( MountsTest, StateHasEveryMountInTheOrderOfTheTable ) {
   std::vector< std::string > names;
   Json const state = mounts.state();
   for ( auto const& mount : state.items() ) {
      names.push_back( mount.key() );
   }
   EXPECT_THAT(
      names,
      ElementsAre(
         "mlagConfig",
         "mlagStatus",
         "mlagProtoStatus",
         "ethPhyIntfStatus",
         "ethPhyIntfConfig",
         "lagInputIntfStatus",
         "lacpOverride",
         "lagInputConfig",
         "lacpConfig",
         "mlagissuCause",
         "igmpsnoopingConfig",
         "peerIntfStatusDir",
         "ethIntfStatusDir",
         "allIntfStatusDir" ) );
}

TEST_F( MountsTest, KeysAreAppliedAsWritten ) {
   apply( "mlagConfig: {reloadDelay: 20.5, enabled: true}\n"
          "mlagStatus: {mlagState: mlagPrimary}\n"
          "mlagProtoStatus: {portsErrdisabledWhen: 7}\n" );
   EXPECT_THAT(
      log,
      ElementsAre(
         "mlagConfig/reloadDelay 20.5",
         "mlagConfig/enabled true",
         "mlagStatus/mlagState 3",
         "mlagProtoStatus/portsErrdisabledWhen 7" ) );
}

TEST_F( MountsTest, EqualValuesNotifyNobody ) {
   std::string const patch = "mlagConfig: {enabled: true, reloadDelay: .inf, domainId: a, "
                             "peerLinkIntf: Vlan1, intfConfig: {Vlan1: {mlagId: \"1\"}}}";
   apply( patch );
   EXPECT_EQ( log.size(), 5u );
   apply( patch );
   EXPECT_THAT( log, IsEmpty() );
}

TEST_F( MountsTest, ReferenceKeepsItsObjectUntilItIsClearedOrRenamed ) {
   apply( "mlagConfig: {peerLinkIntf: Port-Channel1}" );
   EXPECT_THAT( log, ElementsAre( R"(mlagConfig/peerLinkIntf "Port-Channel1")" ) );
   apply( "mlagConfig: {peerLinkIntf: null}" );
   EXPECT_THAT( log, ElementsAre( "mlagConfig/peerLinkIntf null" ) );
   apply( "mlagConfig: {peerLinkIntf: null}" );
   EXPECT_THAT( log, IsEmpty() );
   apply( "mlagConfig: {peerLinkIntf: Port-Channel2}" );
   EXPECT_THAT( log, ElementsAre( R"(mlagConfig/peerLinkIntf "Port-Channel2")" ) );
}

TEST_F( MountsTest, AbsentEntityIsInsertedWithAllItsAttributesAtOnce ) {
   apply( "lagInputConfig: {phyIntf: {Ethernet1/2: {mode: 2, lag: Port-Channel10}}}" );
   EXPECT_THAT(
      log,
      ElementsAre(
         R"(lagInputConfig/phyIntf/Ethernet1/2 {"lag":"Port-Channel10","mode":2})" ) );
}

TEST_F( MountsTest, PresentEntityHasItsAttributesSetOneByOne ) {
   apply( "lagInputConfig: {phyIntf: {Ethernet1: {}}}" );
   apply( "lagInputConfig: {phyIntf: {Ethernet1: {mode: 2, lag: Port-Channel10}}}" );
   EXPECT_THAT(
      log,
      ElementsAre(
         "lagInputConfig/phyIntf/Ethernet1/mode 2",
         R"(lagInputConfig/phyIntf/Ethernet1/lag "Port-Channel10")" ) );
   apply( "lagInputConfig: {phyIntf: {Ethernet1: {lag: null}}}" );
   EXPECT_THAT( log, ElementsAre( "lagInputConfig/phyIntf/Ethernet1/lag null" ) );
}

TEST_F( MountsTest, EmptyPatchInsertsAnAbsentEntryWithDefaults ) {
   apply( "ethPhyIntfStatus: {intfStatus: {Ethernet1: {}}}\n"
          "mlagConfig: {intfConfig: {Vlan1: {}}}\n" );
   EXPECT_THAT(
      log,
      ElementsAre(
         R"(ethPhyIntfStatus/intfStatus/Ethernet1 {"linkStatus":0})",
         R"(mlagConfig/intfConfig/Vlan1 {"mlagId":""})" ) );
   apply( "ethPhyIntfStatus: {intfStatus: {Ethernet1: {}}}\n"
          "mlagConfig: {intfConfig: {Vlan1: {}}}\n" );
   EXPECT_THAT( log, IsEmpty() );
}

TEST_F( MountsTest, NullRemovesAnEntryAndIgnoresAnAbsentOne ) {
   apply( "ethPhyIntfStatus: {intfStatus: {Ethernet1: {}}}" );
   apply( "ethPhyIntfStatus: {intfStatus: {Ethernet2: null, Ethernet1: null}}" );
   EXPECT_THAT( log, ElementsAre( "ethPhyIntfStatus/intfStatus/Ethernet1 null" ) );
}

TEST_F( MountsTest, StructureKeepsTheFieldsThatAPatchLeavesOut ) {
   apply( "mlagConfig: {intfConfig: {Vlan1: {mlagId: \"1\"}}}" );
   apply( "mlagConfig: {intfConfig: {Vlan1: {}}}" );
   EXPECT_EQ( mounts.at( { "mlagConfig", "intfConfig", "Vlan1", "mlagId" } ), "1" );
}

TEST_F( MountsTest, FalseInASetIsTheSameAsNull ) {
   apply(
      "igmpsnoopingConfig: {forceEnabledPorts: {Port-Channel1: true, Port-Channel2: true, "
      "Port-Channel3: false}}" );
   EXPECT_EQ( log.size(), 2u );
   apply( "igmpsnoopingConfig: {forceEnabledPorts: {Port-Channel1: false, Port-Channel2: "
          "null}}" );
   EXPECT_THAT(
      log,
      ElementsAre(
         "igmpsnoopingConfig/forceEnabledPorts/Port-Channel1 null",
         "igmpsnoopingConfig/forceEnabledPorts/Port-Channel2 null" ) );
}

TEST_F( MountsTest, ContainedObjectIsBuiltOnceAndThenChanged ) {
   apply( "ethPhyIntfConfig: {intfConfig: {Ethernet1: {}}}" );
   apply(
      "ethPhyIntfConfig: {intfConfig: {Ethernet1: {defaultConfig: {adminEnabledStateLocal: "
      "shutdown}}}}" );
   EXPECT_THAT(
      log,
      ElementsAre( R"(ethPhyIntfConfig/intfConfig/Ethernet1/defaultConfig )"
                   R"({"defaultConfig":null,"adminEnabledStateLocal":2})" ) );
   apply(
      "ethPhyIntfConfig: {intfConfig: {Ethernet1: {defaultConfig: {adminEnabledStateLocal: "
      "1}}}}" );
   EXPECT_THAT( log, IsEmpty() );
   EXPECT_EQ(
      mounts.at( { "ethPhyIntfConfig",
                   "intfConfig",
                   "Ethernet1",
                   "defaultConfig",
                   "adminEnabledStateLocal" } ),
      1 );
   apply( "ethPhyIntfConfig: {intfConfig: {Ethernet1: {defaultConfig: null}}}" );
   EXPECT_THAT(
      log, ElementsAre( "ethPhyIntfConfig/intfConfig/Ethernet1/defaultConfig null" ) );
}

TEST_F( MountsTest, EntriesReachedAsConstCanBeChanged ) {
   apply( "peerIntfStatusDir: {intfStatus: {PeerEthernet1: {}}}" );
   apply( "peerIntfStatusDir: {intfStatus: {PeerEthernet1: {linkStatus: linkUp}}}" );
   EXPECT_EQ(
      mounts.at( { "peerIntfStatusDir", "intfStatus", "PeerEthernet1", "linkStatus" } ),
      2 );
}

TEST_F( MountsTest, ValuesAndTimesGoInAndOut ) {
   apply( "mlagissuCause: {intfStatus: {Ethernet7: 12.5, Ethernet8: .inf}}\n"
          "lacpOverride: {lagIdConfig: {Port-Channel10: 02:00:00:00:10:01}}\n" );
   EXPECT_THAT(
      log,
      ElementsAre(
         "mlagissuCause/intfStatus/Ethernet7 12.5",
         R"(mlagissuCause/intfStatus/Ethernet8 "inf")",
         R"(lacpOverride/lagIdConfig/Port-Channel10 "02:00:00:00:10:01")" ) );
   EXPECT_THAT(
      mounts.keys( { "mlagissuCause", "intfStatus" } ),
      UnorderedElementsAre( "Ethernet7", "Ethernet8" ) );
}

TEST_F( MountsTest, WhatIsNotThereReadsAsNull ) {
   EXPECT_TRUE( mounts.at( { "mlagCfg" } ).is_null() );
   EXPECT_TRUE( mounts.at( { "mlagConfig", "delay" } ).is_null() );
   EXPECT_TRUE( mounts.at( { "ethPhyIntfStatus", "intfStatus", "Ethernet1" } ).is_null() );
   EXPECT_TRUE( mounts.at( { "ethPhyIntfStatus", "intfStatus", "Ethernet1", "linkStatus" } )
                   .is_null() );
   EXPECT_THAT( mounts.keys( { "mlagConfig" } ), IsEmpty() );
   EXPECT_THAT( mounts.keys( {} ), IsEmpty() );
}

TEST_F( MountsTest, HaveWhatDoesNotReadAsNull ) {
   apply(
      R"( { "ethPhyIntfStatus": { "intfStatus": { "Ethernet1": { "linkStatus": "linkUp" } } },
                "mlagissuCause": { "intfStatus": { "Ethernet2": 5 } },
                "mlagConfig": { "peerLinkIntf": "Port-Channel9" } } )" );
   for ( std::vector< std::string > const& path : std::vector< std::vector< std::string > >{
            {},
            { "mlagConfig" },
            { "mlagConfig", "reloadDelay" },
            { "mlagConfig", "peerLinkIntf" },
            { "mlagConfig", "intfConfig" },
            { "ethPhyIntfStatus", "intfStatus", "Ethernet1" },
            { "ethPhyIntfStatus", "intfStatus", "Ethernet1", "linkStatus" },
            { "mlagissuCause", "intfStatus", "Ethernet2" } } ) {
      EXPECT_TRUE( mounts.has( path ) ) << ::testing::PrintToString( path );
      EXPECT_FALSE( mounts.at( path ).is_null() ) << ::testing::PrintToString( path );
   }
   apply( R"( { "mlagConfig": { "peerLinkIntf": null } } )" );
   for ( std::vector< std::string > const& path : std::vector< std::vector< std::string > >{
            { "mlagCfg" },
            { "mlagConfig", "delay" },
            { "mlagConfig", "peerLinkIntf" },
            { "mlagConfig", "reloadDelay", "seconds" },
            { "ethPhyIntfStatus", "intfStatus", "Ethernet2" },
            { "ethPhyIntfStatus", "intfStatus", "no interface" },
            { "ethPhyIntfStatus", "intfStatus", "Ethernet1", "speed of light" },
            { "ethPhyIntfStatus", "intfStatus", "Ethernet2", "linkStatus" },
            { "mlagissuCause", "intfStatus", "Ethernet1" } } ) {
      EXPECT_FALSE( mounts.has( path ) ) << ::testing::PrintToString( path );
      EXPECT_TRUE( mounts.at( path ).is_null() ) << ::testing::PrintToString( path );
   }
}

TEST_F( MountsTest, StateReadAgainIsTheSameState ) {
   apply(
      R"({"mlagConfig":{"enabled":true,"domainId":"a \"b\"\n","localInterface":"Vlan4094",
      "peerAddress":"fe80::1","peerLinkIntf":"Port-Channel1","reloadDelay":"inf",
      "intfConfig":{"Port-Channel10":{"mlagId":"10"},"Port-Channel11":{}}},
      "mlagStatus":{"mlagState":4,"systemId":"02:00:00:00:10:01"},
      "mlagProtoStatus":{"portsErrdisabled":true,"portsErrdisabledWhen":-0.5},
      "ethPhyIntfStatus":{"intfStatus":{"Ethernet1":{},"Ethernet2/1":{"linkStatus":2}}},
      "ethPhyIntfConfig":{"intfConfig":{"Ethernet1":{"defaultConfig":{"adminEnabledStateLocal":2}}}},
      "lacpOverride":{"lagIdConfig":{"Port-Channel10":"02:00:00:00:10:01"}},
      "lagInputConfig":{"phyIntf":{"Ethernet1":{"lag":"Port-Channel10","mode":2},"Ethernet2":{}}},
      "lacpConfig":{"portChannel":{"Port-Channel10":{"stayInStandby":true}}},
      "mlagissuCause":{"intfStatus":{"Ethernet7":1e-7,"Ethernet8":1e300}},
      "igmpsnoopingConfig":{"forceEnabledPorts":{"Port-Channel10":true}},
      "peerIntfStatusDir":{"intfStatus":{"PeerEthernet1":{"linkStatus":1}}},
      "ethIntfStatusDir":{"intfStatus":{"Ethernet1":{"linkStatus":2}}},
      "allIntfStatusDir":{"intfStatus":{"Ethernet1":{"linkStatus":2}}}})" );
   std::string const state = mounts.state().dump();
   for ( std::string const& text :
         { state, R"({"t":5,"type":"end","state":)" + state + "}" } ) {
      ostra::Mounts again;
      readState( { "state", text }, again );
      EXPECT_EQ( again.state().dump(), state );
   }
}

TEST_F( MountsTest, WatcherThatIsStoppedHearsNothing ) {
   std::vector< std::string > heard;
   {
      ostra::MountsWatch const watch( mounts, [ & ]( ostra::WriteRecord const& record ) {
         heard.push_back( record.path.back() );
      } );
      apply( "mlagProtoStatus: {holdInSecondary: true}\n"
             "mlagConfig: {enabled: true}\n"
             "lacpConfig: {portChannel: {Port-Channel1: {}}}\n" );
      apply( "lacpConfig: {portChannel: {Port-Channel1: {stayInStandby: true}}}\n"
             "ethIntfStatusDir: {intfStatus: {Ethernet1: {}}}\n" );
      apply( "ethIntfStatusDir: {intfStatus: {Ethernet1: {linkStatus: 1}}}" );
   }
   apply( "mlagProtoStatus: {holdInSecondary: false}\n"
          "lacpConfig: {portChannel: {Port-Channel1: {stayInStandby: false}}}" );
   EXPECT_THAT(
      heard,
      ElementsAre( "holdInSecondary", "Port-Channel1", "stayInStandby", "Ethernet1" ) );
}

TEST_F( MountsTest, ReplacedMemberIsWatchedInPlaceOfTheOldOne ) {
   apply( "lacpConfig: {portChannel: {Port-Channel1: {}}}" );
   apply( "lacpConfig: {portChannel: {Port-Channel1: null}}" );
   apply( "lacpConfig: {portChannel: {Port-Channel1: {stayInStandby: true}}}" );
   apply( "lacpConfig: {portChannel: {Port-Channel1: {stayInStandby: false}}}" );
   EXPECT_THAT(
      log, ElementsAre( "lacpConfig/portChannel/Port-Channel1/stayInStandby false" ) );
}

TEST_F( MountsTest, FindsTheMountThatFitsAType ) {
   auto const* const type = Ryx::RyxType::type( Ryx::Name( "Lacp::Config" ) );
   EXPECT_EQ( mounts.objectOf( *type )->strRep(), "lacpConfig" );
   EXPECT_FALSE(
      mounts.objectOf( *Ryx::RyxType::type( Ryx::Name( "Interface::IntfConfig" ) ) ) );
}

namespace {

// A port's configuration whose default configuration has one, and so on.
std::string
nestedConfig( std::size_t depth ) {
   std::string text = "ethPhyIntfConfig: { intfConfig: { Ethernet1: ";
   for ( std::size_t i = 0; i < depth; ++i ) {
      text += "{ defaultConfig: ";
   }
   return text + "{}" + std::string( depth, '}' ) + " } }";
}

std::size_t
allocationsToTellStateOf( std::size_t depth ) {
   ostra::Mounts mounts;
   auto const document = ostra::parseDocument( "patch", nestedConfig( depth ) );
   mounts.apply( ostra::Item( document ) );
   support::AllocationCounter const counter;
   static_cast< void >( mounts.state() );
   return counter.allocations();
}

std::size_t
allocationsToTellPatchOf( std::size_t depth ) {
   auto const document = ostra::parseDocument( "patch", nestedConfig( depth ) );
   support::AllocationCounter const counter;
   static_cast< void >( ostra::toJson( document.root() ) );
   return counter.allocations();
}

} // namespace

// State that is nested as deep as possible is told in a short time, too.
TEST( Mounts, TellingNestedStateTakesStepsInProportionToItsDepth ) {
   EXPECT_LT( 10 * allocationsToTellStateOf( 400 ), 22 * allocationsToTellStateOf( 200 ) );
   EXPECT_LT( 10 * allocationsToTellPatchOf( 400 ), 22 * allocationsToTellPatchOf( 200 ) );
}
