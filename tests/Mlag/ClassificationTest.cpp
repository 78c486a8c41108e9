// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which interfaces are MLAG links, in the peer link, members of an MLAG port-channel, or
// none of the reload delay's business.

#include "HeldSwitch"

namespace {

using Mlag::Ostra::isManagementOrInternalInterface;

class Classification : public HeldSwitch {
 public:
   Classification() { start(); }

   Log mlagLinkSteps( std::string_view name, bool expected ) {
      return steps( [ & ] { EXPECT_EQ( sm->mlagLink( id( name ) ), expected ); } );
   }
   bool inPeerLink( std::string_view name ) const { return sm->inPeerLink( id( name ) ); }
   std::string mlagPortChannel( std::string_view name ) const {
      return sm->mlagPortChannelByMember( id( name ) ).string();
   }
};

TEST_F( Classification, ManagementAndInternalInterfacesAreToldByTheirNames ) {
   EXPECT_TRUE( isManagementOrInternalInterface( id( "Management1" ) ) );
   EXPECT_TRUE( isManagementOrInternalInterface( id( "Management1/1" ) ) );
   EXPECT_TRUE( isManagementOrInternalInterface( id( "Internal1" ) ) );
   EXPECT_TRUE( isManagementOrInternalInterface( id( "Recirc1" ) ) );
   EXPECT_FALSE( isManagementOrInternalInterface( id( "Ethernet1" ) ) );
   EXPECT_FALSE( isManagementOrInternalInterface( id( "Port-Channel1" ) ) );
   EXPECT_FALSE( isManagementOrInternalInterface( id( "PeerEthernet1" ) ) );
   EXPECT_FALSE( isManagementOrInternalInterface( id( "PeerManagement1" ) ) );
   EXPECT_FALSE( isManagementOrInternalInterface( id( "PeerInternal1" ) ) );
   EXPECT_FALSE( isManagementOrInternalInterface( IntfId() ) );
}

TEST_F( Classification, MemberOfAnMlagPortChannelIsAnMlagLink ) {
   member( "Ethernet1", "Port-Channel10" );
   mlagInterface( "Port-Channel10" );
   EXPECT_EQ(
      mlagLinkSteps( "Ethernet1", true ),
      ( Log{ "8: MlagErrdisableSm::mlagLink Ethernet1",
             "8: New intfId: Port-Channel10" } ) );
}

TEST_F( Classification, MlagPortChannelIsAnMlagLink ) {
   mlagInterface( "Port-Channel10" );
   EXPECT_EQ(
      mlagLinkSteps( "Port-Channel10", true ),
      ( Log{ "8: MlagErrdisableSm::mlagLink Port-Channel10" } ) );
}

TEST_F( Classification, PortOutOfAnyPortChannelIsNoMlagLink ) {
   mlagInterface( "Port-Channel10" );
   Log const expected{ "8: MlagErrdisableSm::mlagLink Ethernet1",
                       "8:  Non MLAG interface Ethernet1" };
   EXPECT_EQ( mlagLinkSteps( "Ethernet1", false ), expected );
   member( "Ethernet1", "" );
   EXPECT_EQ( mlagLinkSteps( "Ethernet1", false ), expected );
}

TEST_F( Classification, MemberOfAnotherPortChannelIsNoMlagLink ) {
   member( "Ethernet1", "Port-Channel20" );
   mlagInterface( "Port-Channel10" );
   EXPECT_EQ(
      mlagLinkSteps( "Ethernet1", false ),
      ( Log{ "8: MlagErrdisableSm::mlagLink Ethernet1",
             "8: New intfId: Port-Channel20",
             "8:  Non MLAG interface Port-Channel20" } ) );
}

TEST_F( Classification, PortWithAnMlagConfigurationOfItsOwnIsAnMlagLinkInNoPortChannel ) {
   mlagInterface( "Ethernet1" );
   EXPECT_EQ(
      mlagLinkSteps( "Ethernet1", true ),
      ( Log{ "8: MlagErrdisableSm::mlagLink Ethernet1" } ) );
   EXPECT_EQ( mlagPortChannel( "Ethernet1" ), "" );
}

TEST_F( Classification, MembersOwnMlagConfigurationDoesNotCount ) {
   mlagInterface( "Ethernet1" );
   member( "Ethernet1", "Port-Channel20" );
   EXPECT_FALSE( sm->mlagLink( id( "Ethernet1" ) ) );
   EXPECT_EQ( mlagPortChannel( "Ethernet1" ), "" );
}

TEST_F( Classification, MlagConfigurationWithoutAnMlagIdMakesNoMlagInterface ) {
   member( "Ethernet1", "Port-Channel10" );
   mlagInterface( "Port-Channel10", "" );
   EXPECT_TRUE( mlagConfig->intfConfigHas( id( "Port-Channel10" ) ) );
   EXPECT_FALSE( sm->mlagLink( id( "Ethernet1" ) ) );
   EXPECT_EQ( mlagPortChannel( "Ethernet1" ), "" );
}

TEST_F( Classification, MlagPortChannelByMemberNeedsAMemberOfAnMlagPortChannel ) {
   mlagInterface( "Port-Channel10" );
   member( "Ethernet1", "Port-Channel10" );
   member( "Ethernet2", "Port-Channel20" );
   member( "Ethernet3", "" );
   EXPECT_EQ( mlagPortChannel( "Ethernet1" ), "Port-Channel10" );
   EXPECT_EQ( mlagPortChannel( "Ethernet2" ), "" );
   EXPECT_EQ( mlagPortChannel( "Ethernet3" ), "" );
   EXPECT_EQ( mlagPortChannel( "Ethernet4" ), "" );
   EXPECT_EQ( mlagPortChannel( "Port-Channel10" ), "" );
   EXPECT_EQ( mlagPortChannel( "" ), "" );
}

TEST_F( Classification, FollowsTheLagConfigurationAsItChanges ) {
   mlagInterface( "Port-Channel10" );
   member( "Ethernet1", "Port-Channel10" );
   auto const config = lagInputConfig->phyIntf( id( "Ethernet1" ) );
   config->lagIs( Ryx::make< Interface::EthLagIntfConfig >( id( "Port-Channel20" ) ) );
   EXPECT_EQ( mlagPortChannel( "Ethernet1" ), "" );
   EXPECT_FALSE( sm->mlagLink( id( "Ethernet1" ) ) );
   mlagInterface( "Port-Channel20" );
   EXPECT_EQ( mlagPortChannel( "Ethernet1" ), "Port-Channel20" );
   config->lagIs( nullptr );
   EXPECT_EQ( mlagPortChannel( "Ethernet1" ), "" );
   member( "Ethernet1", "Port-Channel10" );
   EXPECT_EQ( mlagPortChannel( "Ethernet1" ), "Port-Channel10" );
   lagInputConfig->phyIntfDel( id( "Ethernet1" ) );
   EXPECT_EQ( mlagPortChannel( "Ethernet1" ), "" );
}

TEST_F( Classification, PeerLinkPortChannelAndItsMembersAreInThePeerLink ) {
   member( "Ethernet1", "Port-Channel1000" );
   member( "Ethernet2", "Port-Channel10" );
   member( "Ethernet3", "" );
   EXPECT_TRUE( inPeerLink( "Port-Channel1000" ) );
   EXPECT_TRUE( inPeerLink( "Ethernet1" ) );
   EXPECT_FALSE( inPeerLink( "Port-Channel10" ) );
   EXPECT_FALSE( inPeerLink( "Ethernet2" ) );
   EXPECT_FALSE( inPeerLink( "Ethernet3" ) );
   EXPECT_FALSE( inPeerLink( "Ethernet4" ) );
}

TEST_F( Classification, PhysicalPeerLinkIsInThePeerLinkAlone ) {
   member( "Ethernet2", "Port-Channel1000" );
   member( "Ethernet3", "Port-Channel10" );
   peerLink( "Ethernet1" );
   EXPECT_TRUE( inPeerLink( "Ethernet1" ) );
   EXPECT_FALSE( inPeerLink( "Ethernet2" ) );
   EXPECT_FALSE( inPeerLink( "Port-Channel1000" ) );
   peerLink( "Ethernet3" );
   EXPECT_TRUE( inPeerLink( "Ethernet3" ) );
   EXPECT_FALSE( inPeerLink( "Port-Channel10" ) );
}

TEST_F( Classification, WithoutAPeerLinkNothingIsInIt ) {
   member( "Ethernet1", "Port-Channel1000" );
   peerLink( "" );
   EXPECT_FALSE( inPeerLink( "Ethernet1" ) );
   EXPECT_FALSE( inPeerLink( "Port-Channel1000" ) );
   EXPECT_FALSE( inPeerLink( "" ) );
}

TEST_F( Classification, PeerLinkAndPortChannelQuestionsTraceNothing ) {
   member( "Ethernet1", "Port-Channel1000" );
   EXPECT_EQ(
      steps( [ & ] {
         inPeerLink( "Ethernet1" );
         mlagPortChannel( "Ethernet1" );
      } ),
      Log() );
}

} // namespace
