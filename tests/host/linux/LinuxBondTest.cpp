// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Bonds are port-channels. A kernel without bonds skips these: tests/qemu/run has one.

#include "LinuxSwitch"

#include <gmock/gmock.h>

using ostra::Json;
using testing::ElementsAre;

namespace {

// Two ports in bond10, which does 802.3ad, and one in none.
class LinuxBond : public ostra::LinuxSwitch {
 protected:
   void SetUp() override {
      LinuxSwitch::SetUp();
      if ( IsSkipped() ) {
         return;
      }
      if ( !lab->addBond( "bond10", 4 ) ) {
         GTEST_SKIP() << "this kernel has no bonds";
      }
      // Members of a bond have one address, which two macvlans on one link cannot.
      for ( int i = 1; i <= 3; ++i ) {
         std::string const number = std::to_string( i );
         lab->addVeth( "lower" + number, "cable" + number );
         lab->addMacvlan( port( i ), "lower" + number );
      }
      join( "swp1", "bond10" );
      join( "swp2", "bond10" );
   }

   void join( std::string const& port, std::string const& bond ) {
      lab->isUpIs( port, false );
      lab->masterIs( port, bond );
      lab->isUpIs( port, true );
   }
   Json at( ostra::Path const& path ) {
      return process->host().live().state( path ).value_or( Json() );
   }
};

std::string const withStandby = R"({"mlagConfig": {"enabled": true, "domainId": "d",
   "localInterface": "Vlan1", "peerAddress": "10.0.0.2", "peerLinkIntf": "Port-Channel1",
   "reloadDelay": 20, "lacpStandby": true,
   "intfConfig": {"Port-Channel10": {"mlagId": "10"}}},
   "mlagStatus": {"mlagState": "mlagSecondary", "systemId": "02:00:00:00:10:01"},
   "mlagProtoStatus": {"holdInSecondary": true},
   "lacpOverride": {"lagIdConfig": {"Port-Channel10": "02:00:00:00:10:01"}},
   "lacpConfig": {"portChannel": {"Port-Channel10": {}}}})";

} // namespace

TEST_F( LinuxBond, ItsMembersAreInThePortChannelAndAreHeldAndReleased ) {
   start();
   EXPECT_EQ(
      at( { "lagInputConfig", "phyIntf", "Ethernet1" } ).dump(),
      R"({"lag":"Port-Channel10","mode":2})" );
   EXPECT_EQ( at( { "lagInputConfig", "phyIntf", "Ethernet3" } ), Json() );
   EXPECT_FALSE( at( { "lagInputIntfStatus", "intfStatus", "Port-Channel10" } ).is_null() );
   for ( char const* port : { "swp1", "swp2", "swp3" } ) {
      EXPECT_TRUE( lab->isHeld( port ) ) << port;
   }
   EXPECT_TRUE( becomes( [ this ] {
      return at( { "lagInputIntfStatus", "intfStatus", "Port-Channel10", "linkStatus" } ) ==
         1;
   } ) );
   process->pass( 30'000 );
   for ( char const* port : { "swp1", "swp2", "swp3" } ) {
      EXPECT_TRUE( lab->link( port )->isCarrying() ) << port;
   }
   EXPECT_TRUE( becomes( [ this ] {
      return at( { "lagInputIntfStatus", "intfStatus", "Port-Channel10", "linkStatus" } ) ==
         2;
   } ) );
}

TEST_F( LinuxBond, AMemberThatIsMovedIsInTheOtherPortChannel ) {
   ASSERT_TRUE( lab->addBond( "bond11", 1 ) );
   start();
   join( "swp2", "" );
   join( "swp2", "bond11" );
   EXPECT_TRUE( becomes( [ this ] {
      return at( { "lagInputConfig", "phyIntf", "Ethernet2", "lag" } ) == "Port-Channel11";
   } ) );
   EXPECT_EQ( at( { "lagInputConfig", "phyIntf", "Ethernet2", "mode" } ), 0 );
   EXPECT_TRUE( lab->isHeld( "swp2" ) );
   process->pass( 30'000 );
   EXPECT_TRUE( lab->link( "swp2" )->isCarrying() );
}

TEST_F( LinuxBond, InLacpStandbyAllItsMembersAreHeld ) {
   start( "boot 1", withStandby );
   ASSERT_EQ(
      at( { "lacpConfig", "portChannel", "Port-Channel10", "stayInStandby" } ), true );
   EXPECT_THAT( process->errdisabled(), ElementsAre( "Ethernet3" ) );
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   EXPECT_TRUE( lab->isHeld( "swp2" ) );
   EXPECT_EQ( enforced( "Ethernet1" ), "held" );
   // One that joins is held, one that leaves is not.
   join( "swp1", "" );
   EXPECT_TRUE( becomes( [ this ] { return !lab->link( "swp1" )->has( 6 ); } ) );
   join( "swp1", "bond10" );
   EXPECT_TRUE( becomes( [ this ] { return lab->isHeld( "swp1" ); } ) );
   process->pass( 20'000 );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
   EXPECT_TRUE( lab->link( "swp2" )->isCarrying() );
   EXPECT_EQ( lab->link( "swp2" )->reasons, 0U );
}

TEST_F( LinuxBond, ThePeerLinkIsNotHeldAlthoughItsBondComesLater ) {
   config.interfaces.insert(
      config.interfaces.begin(),
      { std::regex( "swp(3)" ), R"(Ethernet\1)", "Port-Channel1" } );
   start();
   EXPECT_TRUE( lab->link( "swp3" )->isCarrying() );
   ASSERT_TRUE( lab->addBond( "bond1", 4 ) );
   join( "swp3", "bond1" );
   EXPECT_TRUE( becomes( [ this ] {
      return at( { "lagInputConfig", "phyIntf", "Ethernet3" } ).dump() ==
         R"({"lag":"Port-Channel1","mode":2})";
   } ) );
   EXPECT_TRUE( lab->link( "swp3" )->isCarrying() );
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   // Somebody makes the bond anew.
   lab->remove( "bond1" );
   settle();
   EXPECT_FALSE( lab->link( "swp3" )->has( 6 ) );
}

TEST_F( LinuxBond, StandbyGoesOnAfterARestart ) {
   start( "boot 1", withStandby );
   start( "boot 1", withStandby );
   settle();
   EXPECT_TRUE( lab->isHeld( "swp1" ) );
   EXPECT_EQ( enforced( "Ethernet1" ), "held" );
   process->pass( 20'000 );
   EXPECT_TRUE( lab->link( "swp1" )->isCarrying() );
   EXPECT_EQ( lab->link( "swp1" )->reasons, 0U );
}
