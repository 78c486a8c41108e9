// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Port-channels and peer links that are there and have the empty id: being configured into
// one is not being in none.

#include "HeldSwitch"

namespace {

class EmptyId : public HeldSwitch {
 public:
   // Configures a port into a port-channel whose id is empty.
   void nameless( std::string_view name ) {
      auto const config = Ryx::make< Lag::EthPhyIntfLagConfig >( id( name ) );
      config->lagIs( Ryx::make< Interface::EthLagIntfConfig >( IntfId() ) );
      lagInputConfig->phyIntfIs( config );
   }
   void namelessPeerLink() {
      mlagConfig->peerLinkIntfIs( Ryx::make< Interface::IntfConfig >( IntfId() ) );
   }
   bool mlagLink( std::string_view name ) const { return sm->mlagLink( id( name ) ); }
   bool inPeerLink( std::string_view name ) const { return sm->inPeerLink( id( name ) ); }
};

TEST_F( EmptyId, PortChannelDecidesTheClassOfItsMembers ) {
   start();
   nameless( "Ethernet1" );
   mlagInterface( "Ethernet1" );
   EXPECT_EQ(
      steps( [ & ] { EXPECT_FALSE( mlagLink( "Ethernet1" ) ); } ),
      ( Log{ "8: MlagErrdisableSm::mlagLink Ethernet1",
             "8: New intfId: ",
             "8:  Non MLAG interface " } ) );
   mlagInterface( "" );
   EXPECT_TRUE( mlagLink( "Ethernet1" ) );
}

TEST_F( EmptyId, PeerLinkHasTheMembersOfThePortChannelWithoutId ) {
   start();
   nameless( "Ethernet1" );
   member( "Ethernet2", "" );
   namelessPeerLink();
   EXPECT_TRUE( inPeerLink( "Ethernet1" ) );
   EXPECT_TRUE( inPeerLink( "" ) );
   EXPECT_FALSE( inPeerLink( "Ethernet2" ) );
   EXPECT_FALSE( inPeerLink( "Ethernet3" ) );
}

TEST_F( EmptyId, MemberIsInNoOtherPeerLink ) {
   start();
   nameless( "Ethernet1" );
   EXPECT_FALSE( inPeerLink( "Ethernet1" ) );
}

TEST_F( EmptyId, PeerLinkCountsAsSet ) {
   port( "Ethernet1" );
   start();
   namelessPeerLink();
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
}

TEST_F( EmptyId, MemberIsHeldAndForcesNothing ) {
   nameless( "Ethernet1" );
   mlagInterface( "" );
   port( "Ethernet1" );
   start();
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
   EXPECT_EQ( sm->mlagPortChannelByMember( id( "Ethernet1" ) ), IntfId() );
   EXPECT_EQ( snooping(), Log() );
   EXPECT_EQ( recorded(), Log() );
   moveTo( 300 );
   EXPECT_EQ( held(), Log() );
}

TEST_F( EmptyId, PortChannelIsInTheSnapshot ) {
   nameless( "Ethernet1" );
   start();
   auto const lag = sm->portChannelToMember( IntfId() );
   ASSERT_TRUE( lag );
   EXPECT_TRUE( lag->member( id( "Ethernet1" ) ) );
}

} // namespace
