// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which device is which interface, and what is told of them.

#include <host/linux/Facts>

#include <gmock/gmock.h>

#include <linux/if.h>

using ostra::Devices;
using ostra::Facts;
using ostra::Json;
using ostra::Link;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class DevicesTest : public testing::Test {
 protected:
   static Link linkOf( int index, std::string const& name ) {
      Link link;
      link.index = index;
      link.name = name;
      link.flags = IFF_UP | IFF_LOWER_UP;
      link.operState = IF_OPER_UP;
      return link;
   }
   static Link bondOf( int index, std::string const& name, unsigned mode ) {
      Link link = linkOf( index, name );
      link.kind = "bond";
      link.bondMode = mode;
      return link;
   }
   static Link memberOf( int index, std::string const& name, int master ) {
      Link link = linkOf( index, name );
      link.master = master;
      return link;
   }
   void is( Link const& link ) { devices.apply( { false, link } ); }
   void isGone( int index ) { devices.apply( { true, linkOf( index, "" ) } ); }
   std::string deviceOf( std::string const& interface ) const {
      Link const* const link = devices.linkOf( interface );
      return link ? link->name : "none";
   }
   // As one text each.
   std::vector< std::string > patches() {
      std::vector< std::string > texts;
      for ( Json const& patch : facts.patches( devices.takeChanges() ) ) {
         texts.push_back( patch.dump() );
      }
      return texts;
   }
   // Applied one behind the other.
   Json state() {
      for ( Json const& patch : facts.patches( devices.takeChanges() ) ) {
         state_.merge_patch( patch );
      }
      return state_;
   }

   std::vector< std::string > said;
   Devices devices{ { { std::regex( R"(swp(\d+)s(\d+))" ), R"(Ethernet\1/\2)" },
                      { std::regex( R"((swp|port)(\d+))" ), R"(Ethernet\2)" },
                      { std::regex( R"(bond(\d+))" ), R"(Port-Channel\1)" } },
                    [ this ]( std::string const& line ) { said.push_back( line ); } };
   std::set< int > takenDown;
   Facts facts{ devices, [ this ]( int index ) { return takenDown.contains( index ); } };

 private:
   Json state_ = Json::object();
};

} // namespace

TEST_F( DevicesTest, TheFirstPatternThatMatchesNamesTheInterface ) {
   is( linkOf( 2, "swp1s2" ) );
   is( linkOf( 3, "swp1" ) );
   is( linkOf( 4, "eth0" ) );
   EXPECT_EQ( deviceOf( "Ethernet1/2" ), "swp1s2" );
   EXPECT_EQ( deviceOf( "Ethernet1" ), "swp1" );
   EXPECT_EQ( devices.interfaceOf( 4 ), "" );
   EXPECT_THAT( devices.takeChanges().others, ElementsAre( 4 ) );
   EXPECT_THAT( said, IsEmpty() );
}

TEST_F( DevicesTest, ANameThatIsNoneOfAnInterfaceIsSaidOnce ) {
   is( linkOf( 2, "swp01" ) );
   is( linkOf( 2, "swp01" ) );
   Link down = linkOf( 2, "swp01" );
   down.flags = 0;
   is( down );
   EXPECT_THAT(
      said,
      ElementsAre(
         R"(device swp01: Ethernet\2 gives no name of an interface: it is left alone)" ) );
   EXPECT_EQ( devices.interfaceOf( 2 ), "" );
}

TEST_F( DevicesTest, AnInterfaceHasOneDeviceTheFirst ) {
   is( linkOf( 2, "swp1" ) );
   is( linkOf( 3, "port1" ) );
   EXPECT_THAT(
      said, ElementsAre( R"(device port1: Ethernet1 is swp1 already: it is left alone)" ) );
   EXPECT_EQ( deviceOf( "Ethernet1" ), "swp1" );
   EXPECT_EQ( devices.interfaceOf( 3 ), "" );
   isGone( 2 );
   EXPECT_EQ( deviceOf( "Ethernet1" ), "port1" );
   EXPECT_EQ( devices.interfaceOf( 3 ), "Ethernet1" );
   is( linkOf( 3, "eth0" ) );
   EXPECT_EQ( deviceOf( "Ethernet1" ), "none" );
}

TEST_F( DevicesTest, ARenamedDeviceIsAnotherInterface ) {
   is( linkOf( 2, "swp1" ) );
   devices.takeChanges();
   is( linkOf( 2, "swp2" ) );
   EXPECT_THAT( devices.takeChanges().interfaces, ElementsAre( "Ethernet1", "Ethernet2" ) );
   EXPECT_EQ( deviceOf( "Ethernet1" ), "none" );
   EXPECT_EQ( deviceOf( "Ethernet2" ), "swp2" );
}

TEST_F( DevicesTest, AListOfAllSaysWhatIsGoneFirst ) {
   is( linkOf( 2, "swp1" ) );
   is( linkOf( 3, "swp2" ) );
   devices.allAre( { linkOf( 4, "swp1" ) } );
   EXPECT_EQ( devices.linkOf( "Ethernet1" )->index, 4 );
   EXPECT_EQ( deviceOf( "Ethernet2" ), "none" );
   EXPECT_THAT( said, IsEmpty() );
}

TEST_F( DevicesTest, TellsAFactOnceAndAgainWhenItIsAnotherOne ) {
   is( linkOf( 2, "swp1" ) );
   EXPECT_THAT(
      patches(),
      ElementsAre(
         R"({"ethPhyIntfConfig":{"intfConfig":{"Ethernet1":{"adminEnabledStateLocal":"enabled"}}},)"
         R"("ethPhyIntfStatus":{"intfStatus":{"Ethernet1":{"linkStatus":"linkUp"}}}})" ) );
   Link link = linkOf( 2, "swp1" );
   link.reasons = 64;
   is( link );
   EXPECT_THAT( patches(), IsEmpty() );
   link.operState = IF_OPER_LOWERLAYERDOWN;
   is( link );
   EXPECT_EQ(
      state()[ "ethPhyIntfStatus" ][ "intfStatus" ][ "Ethernet1" ][ "linkStatus" ],
      "linkDown" );
   isGone( 2 );
   EXPECT_EQ( state()[ "ethPhyIntfStatus" ][ "intfStatus" ].size(), 0U );
   EXPECT_EQ( state()[ "ethPhyIntfConfig" ][ "intfConfig" ].size(), 0U );
}

TEST_F( DevicesTest, ADeviceThatDoesNotSayHasALinkWhenItHasACarrier ) {
   Link link = linkOf( 2, "swp1" );
   link.operState = IF_OPER_UNKNOWN;
   is( link );
   EXPECT_EQ(
      state()[ "ethPhyIntfStatus" ][ "intfStatus" ][ "Ethernet1" ][ "linkStatus" ],
      "linkUp" );
   link.flags = IFF_UP;
   is( link );
   EXPECT_EQ(
      state()[ "ethPhyIntfStatus" ][ "intfStatus" ][ "Ethernet1" ][ "linkStatus" ],
      "linkDown" );
}

TEST_F( DevicesTest, WhatTheDriverTakesDownIsStillEnabled ) {
   Link link = linkOf( 2, "swp1" );
   is( link );
   state();
   link.flags = 0;
   takenDown = { 2 };
   is( link );
   EXPECT_EQ(
      state()[ "ethPhyIntfConfig" ][ "intfConfig" ][ "Ethernet1" ]
             [ "adminEnabledStateLocal" ],
      "enabled" );
   takenDown.clear();
   link.operState = IF_OPER_DOWN;
   is( link );
   EXPECT_EQ(
      state()[ "ethPhyIntfConfig" ][ "intfConfig" ][ "Ethernet1" ]
             [ "adminEnabledStateLocal" ],
      "shutdown" );
}

TEST_F( DevicesTest, MembersOfABondAreInItsPortChannel ) {
   is( memberOf( 2, "swp1", 9 ) );
   is( bondOf( 9, "bond10", 4 ) );
   Json const facts = state();
   EXPECT_EQ(
      facts[ "lagInputConfig" ][ "phyIntf" ][ "Ethernet1" ].dump(),
      R"({"lag":"Port-Channel10","mode":"lacpActive"})" );
   EXPECT_EQ(
      facts[ "lagInputIntfStatus" ][ "intfStatus" ][ "Port-Channel10" ][ "linkStatus" ],
      "linkUp" );
   EXPECT_THAT( devices.membersOf( "Port-Channel10" ), ElementsAre( "Ethernet1" ) );
   // Another mode, another name, another master.
   is( bondOf( 9, "bond10", 1 ) );
   EXPECT_EQ(
      state()[ "lagInputConfig" ][ "phyIntf" ][ "Ethernet1" ][ "mode" ], "lacpOff" );
   is( bondOf( 9, "bond11", 1 ) );
   EXPECT_EQ(
      state()[ "lagInputConfig" ][ "phyIntf" ][ "Ethernet1" ][ "lag" ], "Port-Channel11" );
   EXPECT_FALSE(
      state()[ "lagInputIntfStatus" ][ "intfStatus" ].contains( "Port-Channel10" ) );
   is( linkOf( 2, "swp1" ) );
   EXPECT_EQ( state()[ "lagInputConfig" ][ "phyIntf" ].size(), 0U );
   EXPECT_THAT( devices.membersOf( "Port-Channel11" ), IsEmpty() );
}

TEST_F( DevicesTest, MembersOfABondThatGoesAndOfABridgeAreInNone ) {
   is( bondOf( 9, "bond10", 4 ) );
   is( memberOf( 2, "swp1", 9 ) );
   is( linkOf( 8, "br0" ) );
   is( memberOf( 3, "swp3", 8 ) );
   EXPECT_EQ( state()[ "lagInputConfig" ][ "phyIntf" ].size(), 1U );
   isGone( 9 );
   EXPECT_EQ( state()[ "lagInputConfig" ][ "phyIntf" ].size(), 0U );
}

TEST_F( DevicesTest, APortIsToldBehindItsPortChannelAndGoesBeforeIt ) {
   is( bondOf( 9, "bond10", 4 ) );
   is( memberOf( 2, "swp1", 9 ) );
   state();
   isGone( 2 );
   is( memberOf( 3, "swp2", 9 ) );
   auto const texts = patches();
   ASSERT_THAT( texts, SizeIs( 2 ) );
   EXPECT_LT( texts[ 0 ].find( "ethPhyIntfStatus" ), texts[ 0 ].find( "lagInputConfig" ) );
   EXPECT_GT( texts[ 1 ].find( "ethPhyIntfStatus" ), texts[ 1 ].find( "lagInputConfig" ) );
}

TEST_F( DevicesTest, WithoutPatternsForPortChannelsMembershipIsOthers ) {
   EXPECT_THAT( facts.mounts(), SizeIs( 4 ) );
   Devices ports(
      { { std::regex( R"(swp(\d+))" ), R"(Ethernet\1)" } }, []( auto const& ) {} );
   Facts others( ports, []( int ) { return false; } );
   EXPECT_THAT( others.mounts(), ElementsAre( "ethPhyIntfConfig", "ethPhyIntfStatus" ) );
   ports.apply( { false, memberOf( 2, "swp1", 9 ) } );
   for ( Json const& patch : others.patches( { { "Ethernet1" }, {}, {} } ) ) {
      EXPECT_FALSE( patch.contains( "lagInputConfig" ) );
      EXPECT_FALSE( patch.contains( "lagInputIntfStatus" ) );
   }
}

TEST_F( DevicesTest, APortWithAnotherDeviceGoesAndComes ) {
   is( linkOf( 2, "swp1" ) );
   patches();
   isGone( 2 );
   is( linkOf( 3, "swp1" ) );
   EXPECT_THAT(
      patches(),
      ElementsAre(
         HasSubstr( R"("ethPhyIntfStatus":{"intfStatus":{"Ethernet1":null}})" ),
         HasSubstr( R"("Ethernet1":{"linkStatus":"linkUp"})" ) ) );
   // One that comes and goes meanwhile was never there.
   is( linkOf( 4, "swp2" ) );
   isGone( 4 );
   EXPECT_THAT( patches(), IsEmpty() );
}

TEST_F( DevicesTest, APatternSaysThePortChannelUntilTheKernelDoes ) {
   Devices ports(
      { { std::regex( "swp(49|50)" ), R"(Ethernet\1)", "Port-Channel1000" },
        { std::regex( R"(swp(\d+))" ), R"(Ethernet\1)" },
        { std::regex( R"(bond(\d+))" ), R"(Port-Channel\1)" } },
      []( auto const& ) {} );
   Facts told( ports, []( int ) { return false; } );
   auto const membership = [ & ] {
      Json member;
      for ( Json const& patch : told.patches( ports.takeChanges() ) ) {
         member = patch.value( "lagInputConfig", Json::object() )
                     .value( "phyIntf", Json::object() )
                     .value( "Ethernet49", Json() );
      }
      return member.dump();
   };
   std::string const expected = R"({"lag":"Port-Channel1000","mode":"lacpOff"})";
   ports.apply( { false, linkOf( 2, "swp1" ) } );
   EXPECT_EQ( membership(), "null" );
   ports.apply( { false, linkOf( 3, "swp49" ) } );
   EXPECT_EQ( membership(), expected );
   EXPECT_THAT( ports.membersOf( "Port-Channel1000" ), IsEmpty() );
   ports.apply( { false, bondOf( 9, "bond1000", 4 ) } );
   ports.apply( { false, memberOf( 3, "swp49", 9 ) } );
   EXPECT_EQ( membership(), R"({"lag":"Port-Channel1000","mode":"lacpActive"})" );
   ports.apply( { false, bondOf( 10, "bond7", 4 ) } );
   ports.apply( { false, memberOf( 3, "swp49", 10 ) } );
   EXPECT_EQ( membership(), R"({"lag":"Port-Channel7","mode":"lacpActive"})" );
   ports.apply( { false, linkOf( 3, "swp49" ) } );
   EXPECT_EQ( membership(), expected );
   // A bridge is no bond, and something else.
   ports.apply( { false, linkOf( 11, "br0" ) } );
   ports.apply( { false, memberOf( 3, "swp49", 11 ) } );
   EXPECT_EQ( membership(), "null" );
}

TEST_F( DevicesTest, WithoutPatternsForPortChannelsAPatternSaysThePortChannelAlways ) {
   Devices ports(
      { { std::regex( R"(swp(\d)(\d+))" ), R"(Ethernet\1\2)", R"(Port-Channel\1)" } },
      []( auto const& ) {} );
   Facts told( ports, []( int ) { return false; } );
   EXPECT_THAT(
      told.mounts(),
      ElementsAre( "ethPhyIntfConfig", "ethPhyIntfStatus", "lagInputConfig" ) );
   ports.apply( { false, memberOf( 3, "swp49", 9 ) } );
   auto const patches = told.patches( ports.takeChanges() );
   ASSERT_THAT( patches, SizeIs( 1 ) );
   EXPECT_EQ(
      patches[ 0 ][ "lagInputConfig" ][ "phyIntf" ][ "Ethernet49" ][ "lag" ],
      "Port-Channel4" );
}
