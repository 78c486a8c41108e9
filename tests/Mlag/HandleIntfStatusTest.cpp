// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What becomes of one physical interface that appears, goes or is looked at again.

#include "HeldSwitch"

namespace {

class HandleIntfStatus : public HeldSwitch {
 public:
   void releaseAll() { state( MlagState::mlagPrimary ); }

   // The steps of every interface that is left alone because its class's period is over.
   static Log expiredMlag() {
      return { called( "handleIntfStatus(Kovel::IntfId) Ethernet1" ),
               "8: MlagErrdisableSm::mlagLink Ethernet1",
               "8: New intfId: Port-Channel10",
               "8: timer expired" };
   }
   static Log expiredNonMlag() {
      return { called( "handleIntfStatus(Kovel::IntfId) Ethernet2" ),
               "8: MlagErrdisableSm::mlagLink Ethernet2",
               "8:  Non MLAG interface Ethernet2",
               askedNonMlagDelay(),
               "8: timer expired" };
   }
};

TEST_F( HandleIntfStatus, HoldsAMemberAndForcesSnoopingOnItsPortChannel ) {
   start();
   member( "Ethernet1", "Port-Channel10" );
   mlagInterface( "Port-Channel10" );
   admin( "Ethernet1", IntfEnabledState::enabled );
   timeIs( 30 );
   EXPECT_EQ(
      steps( [ & ] { present( "Ethernet1" ); } ),
      ( Log{ called( "handleIntfStatus(Kovel::IntfId) Ethernet1" ),
             "8: MlagErrdisableSm::mlagLink Ethernet1",
             "8: New intfId: Port-Channel10",
             asked( "isLacpStandby(Kovel::IntfId) const Ethernet1" ),
             "9: Adding Ethernet1 to errdisable cause mlag-issu",
             "cause Ethernet1 30",
             "9: Adding Port-Channel10 to igmpsnooping forceEnabledPorts ",
             "snooping Port-Channel10 true" } ) );
   EXPECT_EQ( recorded(), ( Log{ "Ethernet1 in Port-Channel10" } ) );
   EXPECT_EQ( tracked(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( HandleIntfStatus, HoldsAPortThatIsInNoMlagPortChannel ) {
   start();
   EXPECT_EQ(
      steps( [ & ] { port( "Ethernet2" ); } ),
      ( Log{ called( "handleIntfStatus(Kovel::IntfId) Ethernet2" ),
             "8: MlagErrdisableSm::mlagLink Ethernet2",
             "8:  Non MLAG interface Ethernet2",
             askedNonMlagDelay(),
             asked( "isLacpStandby(Kovel::IntfId) const Ethernet2" ),
             "9: Adding Ethernet2 to errdisable cause mlag-issu",
             "cause Ethernet2 0" } ) );
   EXPECT_EQ( recorded(), Log() );
}

TEST_F( HandleIntfStatus, ManagementAndInternalInterfacesAreNeverTouched ) {
   start();
   for ( std::string const name : { "Management1", "Internal1", "Recirc1" } ) {
      Log const looked{ called( "handleIntfStatus(Kovel::IntfId) " + name ) };
      admin( name, IntfEnabledState::enabled );
      EXPECT_EQ( steps( [ & ] { present( name ); } ), looked );
      mlagissuCause->intfStatusIs( id( name ), 0 );
      EXPECT_EQ( steps( [ & ] { absent( name ); } ), looked );
      EXPECT_TRUE( mlagissuCause->intfStatusHas( id( name ) ) );
   }
}

TEST_F( HandleIntfStatus, ManagementInterfaceInAnMlagPortChannelIsNotTouchedEither ) {
   mlagMember( "Management1", "Port-Channel10" );
   start();
   EXPECT_EQ( held(), Log() );
   EXPECT_EQ( snooping(), Log() );
}

TEST_F( HandleIntfStatus, PeersInterfaceIsHeldLikeAnyOther ) {
   port( "PeerEthernet1" );
   start();
   EXPECT_EQ( held(), ( Log{ "PeerEthernet1" } ) );
}

TEST_F( HandleIntfStatus, PeerLinkIsNeverHeld ) {
   member( "Ethernet1", "Port-Channel1000" );
   port( "Ethernet1" );
   port( "Port-Channel1000" );
   start();
   EXPECT_EQ( held(), Log() );
   EXPECT_EQ(
      steps( [ & ] { handle( "Ethernet1" ); } ),
      ( Log{ called( "handleIntfStatus(Kovel::IntfId) Ethernet1" ),
             "8: MlagErrdisableSm::mlagLink Ethernet1",
             "8: New intfId: Port-Channel1000",
             "8:  Non MLAG interface Port-Channel1000",
             askedNonMlagDelay() } ) );
}

TEST_F( HandleIntfStatus, PhysicalPeerLinkIsNeverHeld ) {
   peerLink( "Ethernet1" );
   port( "Ethernet1" );
   port( "Ethernet2" );
   start();
   EXPECT_EQ( held(), ( Log{ "Ethernet2" } ) );
}

TEST_F( HandleIntfStatus, MlagPeerLinkIsNeverHeldNorForced ) {
   mlagMember( "Ethernet1", "Port-Channel1000" );
   start();
   EXPECT_EQ( held(), Log() );
   EXPECT_EQ( snooping(), Log() );
}

TEST_F( HandleIntfStatus, PeerLinkAfterItsPeriodTracesTheEndOfThePeriod ) {
   start();
   moveTo( 300 );
   member( "Ethernet2", "Port-Channel1000" );
   EXPECT_EQ(
      steps( [ & ] { port( "Ethernet2" ); } ),
      ( Log{ called( "handleIntfStatus(Kovel::IntfId) Ethernet2" ),
             "8: MlagErrdisableSm::mlagLink Ethernet2",
             "8: New intfId: Port-Channel1000",
             "8:  Non MLAG interface Port-Channel1000",
             askedNonMlagDelay(),
             "8: timer expired" } ) );
}

TEST_F( HandleIntfStatus, AppearingAfterThePeriodIsLeftAlone ) {
   start();
   moveTo( 300 );
   EXPECT_EQ(
      steps( [ & ] { mlagMember( "Ethernet1", "Port-Channel10" ); } ).back(),
      "8: timer expired" );
   EXPECT_EQ( steps( [ & ] { handle( "Ethernet1" ); } ), expiredMlag() );
   EXPECT_EQ( steps( [ & ] { port( "Ethernet2" ); } ), expiredNonMlag() );
   EXPECT_EQ( held(), Log() );
   EXPECT_EQ( snooping(), Log() );
}

TEST_F( HandleIntfStatus, AppearingAfterAnEarlyReleaseIsLeftAlone ) {
   start();
   moveTo( 10 );
   releaseAll();
   mlagMember( "Ethernet1", "Port-Channel10" );
   EXPECT_EQ( steps( [ & ] { handle( "Ethernet1" ); } ), expiredMlag() );
   EXPECT_EQ( steps( [ & ] { port( "Ethernet2" ); } ), expiredNonMlag() );
   EXPECT_EQ( held(), Log() );
}

TEST_F( HandleIntfStatus, AppearingUnderAnInfiniteDelayIsHeld ) {
   mlagConfig->reloadDelayIs( Ryx::never );
   start();
   moveTo( 100000 );
   mlagMember( "Ethernet1", "Port-Channel10" );
   port( "Ethernet2" );
   EXPECT_TRUE( mlagissuCause->intfStatusHas( id( "Ethernet1" ) ) );
   EXPECT_TRUE( mlagissuCause->intfStatusHas( id( "Ethernet2" ) ) );
}

TEST_F( HandleIntfStatus, AppearingUnderAnInfiniteDelayIsHeldEvenAfterAnEarlyRelease ) {
   mlagConfig->reloadDelayIs( Ryx::never );
   start();
   releaseAll();
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
   mlagMember( "Ethernet1", "Port-Channel10" );
   EXPECT_EQ( writes( [ & ] { port( "Ethernet2" ); } ), ( Log{ "cause Ethernet2 0" } ) );
   EXPECT_TRUE( mlagissuCause->intfStatusHas( id( "Ethernet1" ) ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( HandleIntfStatus, EachClassHasItsOwnPeriod ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( 100 );
   start();
   moveTo( 100 );
   EXPECT_EQ( steps( [ & ] { port( "Ethernet2" ); } ), expiredNonMlag() );
   mlagMember( "Ethernet1", "Port-Channel10" );
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
}

TEST_F( HandleIntfStatus, PortTakenOutOfItsPortChannelFallsUnderTheNonMlagPeriod ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( 600 );
   start();
   moveTo( 300 );
   mlagMember( "Ethernet1", "Port-Channel10" );
   EXPECT_EQ( held(), Log() );
   member( "Ethernet1", "" );
   handle( "Ethernet1" );
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
}

TEST_F( HandleIntfStatus, PortWithItsOwnMlagConfigurationIsHeldWithItsClassAlone ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( Ryx::never );
   mlagInterface( "Ethernet1" );
   port( "Ethernet1" );
   port( "Ethernet2" );
   start();
   EXPECT_EQ( snooping(), Log() );
   EXPECT_EQ( recorded(), Log() );
   EXPECT_EQ(
      steps( [ & ] { handle( "Ethernet1" ); } ),
      ( Log{ called( "handleIntfStatus(Kovel::IntfId) Ethernet1" ),
             "8: MlagErrdisableSm::mlagLink Ethernet1",
             asked( "isLacpStandby(Kovel::IntfId) const Ethernet1" ) } ) );
   moveTo( 300 );
   EXPECT_EQ( held(), ( Log{ "Ethernet2" } ) );
}

TEST_F( HandleIntfStatus, TimeStampSurvivesASecondHandling ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   moveTo( 40 );
   Log const again{ called( "handleIntfStatus(Kovel::IntfId) Ethernet1" ),
                    "8: MlagErrdisableSm::mlagLink Ethernet1",
                    "8: New intfId: Port-Channel10",
                    asked( "isLacpStandby(Kovel::IntfId) const Ethernet1" ),
                    "9: Adding Port-Channel10 to igmpsnooping forceEnabledPorts " };
   EXPECT_EQ( steps( [ & ] { handle( "Ethernet1" ); } ), again );
   // A status that replaces another is handled too.
   EXPECT_EQ( steps( [ & ] { present( "Ethernet1" ); } ), again );
   EXPECT_EQ( mlagissuCause->intfStatus( id( "Ethernet1" ) ).when, 0 );
   EXPECT_EQ( recorded(), ( Log{ "Ethernet1 in Port-Channel10" } ) );
}

TEST_F( HandleIntfStatus, GoneInterfaceLeavesTheCause ) {
   port( "Ethernet2" );
   start();
   Log const gone{ called( "handleIntfStatus(Kovel::IntfId) Ethernet2" ),
                   "8: Interface Ethernet2 deleted" };
   Log withWrite = gone;
   withWrite.push_back( "cause Ethernet2 -" );
   EXPECT_EQ( steps( [ & ] { absent( "Ethernet2" ); } ), withWrite );
   EXPECT_EQ( steps( [ & ] { handle( "Ethernet2" ); } ), gone );
}

TEST_F( HandleIntfStatus, WalksAllPresentInterfacesInTheDirectorysOrder ) {
   mlagConfig->reloadDelayIs( 0 );
   for ( int i = 1; i <= 40; ++i ) {
      port( "Ethernet" + std::to_string( i ) );
   }
   admin( "Ethernet41", IntfEnabledState::enabled );
   start();
   Log expected{ called( "handleIntfStatus()" ) };
   for ( auto it = ethPhyIntfStatus->intfStatusIteratorConst(); it; ++it ) {
      expected.push_back(
         called( "handleIntfStatus(Kovel::IntfId) " + it.key().string() ) );
   }
   EXPECT_EQ( expected.size(), 41u );
   Log const log = only( steps( [ & ] { sm->handleIntfStatus(); } ), "void" );
   EXPECT_EQ( log, expected );
}

} // namespace
