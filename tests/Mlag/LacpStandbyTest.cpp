// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which members qualify for LACP standby, which overrides match, and how a port-channel is
// put into standby.

#include "HeldSwitch"

#include <support/ByName>

namespace {

class LacpStandby : public HeldSwitch {
 public:
   LacpStandby() {
      mlagMember( "Ethernet1", "Port-Channel10" );
      readyForStandby();
      start();
   }
   bool qualifies( std::string_view name ) const { return sm->isLacpStandby( id( name ) ); }
};

TEST_F( LacpStandby, MemberQualifiesWhenAllConditionsHold ) {
   EXPECT_EQ(
      steps( [ & ] { EXPECT_TRUE( qualifies( "Ethernet1" ) ); } ),
      ( Log{ asked( "isLacpStandby(Kovel::IntfId) const Ethernet1" ) } ) );
}

TEST_F( LacpStandby, SwitchedOffNothingQualifies ) {
   mlagConfig->lacpStandbyIs( false );
   EXPECT_EQ(
      steps( [ & ] { EXPECT_FALSE( qualifies( "Ethernet1" ) ); } ),
      ( Log{ asked( "isLacpStandby(Kovel::IntfId) const Ethernet1" ) } ) );
}

TEST_F( LacpStandby, PeerLinkMemberNeverQualifies ) {
   peerLink( "Port-Channel10" );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
   lacpOverrideIs( "Port-Channel10", mlagSystemId );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
   EXPECT_FALSE( standby( "Port-Channel10" ) );
   peerLink( "Ethernet1" );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
}

TEST_F( LacpStandby, OnlyTheSecondaryStateQualifies ) {
   state( MlagState::mlagUnknown );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
   state( MlagState::mlagDisabled );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
   state( MlagState::mlagSecondary );
   EXPECT_TRUE( qualifies( "Ethernet1" ) );
   state( MlagState::mlagInactive );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
   state( MlagState::mlagPrimary );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
}

TEST_F( LacpStandby, QualifiesOnlyWhileASecondaryHolds ) {
   mlagProtoStatus->holdInSecondaryIs( false );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
   mlagProtoStatus->holdInSecondaryIs( true );
   EXPECT_TRUE( qualifies( "Ethernet1" ) );
}

TEST_F( LacpStandby, OnlyMembersOfAnMlagPortChannelQualify ) {
   member( "Ethernet2", "Port-Channel20" );
   member( "Ethernet3", "" );
   EXPECT_FALSE( qualifies( "Ethernet2" ) );
   EXPECT_FALSE( qualifies( "Ethernet3" ) );
   EXPECT_FALSE( qualifies( "Ethernet4" ) );
   EXPECT_FALSE( qualifies( "Port-Channel10" ) );
   noMlagInterface( "Port-Channel10" );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
}

TEST_F( LacpStandby, OnlyMembersInActiveModeQualify ) {
   member( "Ethernet1", "Port-Channel10", LacpMode::lacpOff );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
   member( "Ethernet1", "Port-Channel10", LacpMode::lacpPassive );
   EXPECT_FALSE( qualifies( "Ethernet1" ) );
   member( "Ethernet1", "Port-Channel10", LacpMode::lacpActive );
   EXPECT_TRUE( qualifies( "Ethernet1" ) );
}

// The conditions are tested one after the other: a machine that has lost its MLAG status
// gets into trouble only when the state is come to.
class LacpStandbyOrder : public LacpStandby {
 public:
   LacpStandbyOrder() { sm->mlagStatusDel(); }

   std::string trouble() const {
      return support::refusal(
         [ & ] { EXPECT_FALSE( sm->isLacpStandby( id( "Ethernet1" ) ) ); } );
   }
};

TEST_F( LacpStandbyOrder, SwitchIsTestedBeforeTheState ) {
   EXPECT_EQ( trouble(), "null ValidPtr" );
   mlagConfig->lacpStandbyIs( false );
   EXPECT_EQ( trouble(), "" );
}

TEST_F( LacpStandbyOrder, PeerLinkIsTestedBeforeTheState ) {
   peerLink( "Port-Channel10" );
   EXPECT_EQ( trouble(), "" );
   peerLink( "Ethernet1" );
   EXPECT_EQ( trouble(), "" );
}

TEST_F( LacpStandbyOrder, StateIsTestedBeforeTheHoldFlag ) {
   mlagProtoStatus->holdInSecondaryIs( false );
   EXPECT_EQ( trouble(), "null ValidPtr" );
}

TEST_F( LacpStandbyOrder, StateIsTestedBeforeTheMembership ) {
   member( "Ethernet1", "" );
   EXPECT_EQ( trouble(), "null ValidPtr" );
   member( "Ethernet1", "Port-Channel10", LacpMode::lacpPassive );
   EXPECT_EQ( trouble(), "null ValidPtr" );
}

class LacpOverrideMatch : public LacpStandby {
 public:
   static std::string compared( std::string_view override_, std::string_view own ) {
      return asked( "isLacpOverride(Kovel::IntfId) const for Port-Channel10 " ) +
         std::string( override_ ) + " mlag sysId " + std::string( own );
   }
   Log match( bool expected ) {
      return steps(
         [ & ] { EXPECT_EQ( sm->isLacpOverride( id( "Port-Channel10" ) ), expected ); } );
   }
   static constexpr std::string_view zero = "00:00:00:00:00:00";
};

TEST_F( LacpOverrideMatch, OverrideOfTheMlagSystemIdMatches ) {
   lacpOverrideIs( "Port-Channel10", mlagSystemId );
   EXPECT_EQ( match( true ), ( Log{ compared( mlagSystemId, mlagSystemId ) } ) );
}

TEST_F( LacpOverrideMatch, AnotherSystemIdDoesNot ) {
   lacpOverrideIs( "Port-Channel10", otherSystemId );
   EXPECT_EQ( match( false ), ( Log{ compared( otherSystemId, mlagSystemId ) } ) );
}

TEST_F( LacpOverrideMatch, MissingOverrideNeverMatches ) {
   EXPECT_EQ( match( false ), ( Log{ compared( zero, mlagSystemId ) } ) );
   systemId( zero );
   EXPECT_EQ( match( false ), ( Log{ compared( zero, zero ) } ) );
}

TEST_F( LacpOverrideMatch, MlagSystemIdOfAllZerosNeverMatches ) {
   systemId( zero );
   lacpOverrideIs( "Port-Channel10", zero );
   EXPECT_EQ( match( false ), ( Log{ compared( zero, zero ) } ) );
   lacpOverrideIs( "Port-Channel10", mlagSystemId );
   EXPECT_EQ( match( false ), ( Log{ compared( mlagSystemId, zero ) } ) );
}

TEST_F( LacpOverrideMatch, NoPortChannelNeverMatches ) {
   EXPECT_EQ( steps( [ & ] { EXPECT_FALSE( sm->isLacpOverride( IntfId() ) ); } ), Log() );
}

class SetLacpStandby : public LacpStandby {
 public:
   void set() { sm->setLacpStandby( id( "Port-Channel10" ) ); }
   static std::string entry() {
      return called( "setLacpStandby(Kovel::IntfId) Port-Channel10" );
   }
};

TEST_F( SetLacpStandby, EndsTheForcingThenSetsStandbyThenRecords ) {
   auto const config = lacp( "Port-Channel10" );
   std::vector< bool > recorded;
   onLine = [ & ]( std::string const& ) {
      recorded.push_back( static_cast< bool >( sm->lagsInStandbyIteratorConst() ) );
   };
   EXPECT_EQ(
      steps( [ & ] { set(); } ),
      ( Log{ entry(), "snooping Port-Channel10 -", "lacp Port-Channel10 true" } ) );
   EXPECT_EQ( recorded, std::vector< bool >( 3, false ) );
   EXPECT_TRUE( standby( "Port-Channel10" ) );
   EXPECT_TRUE( config->stayInStandby() );
}

TEST_F( SetLacpStandby, TwiceSetsStandbyOnceAndEndsTheForcingBothTimes ) {
   auto const config = lacp( "Port-Channel10" );
   set();
   igmpsnoopingConfig->forceEnabledPortsIs( id( "Port-Channel10" ), true );
   config->stayInStandbyIs( false );
   EXPECT_EQ( steps( [ & ] { set(); } ), ( Log{ entry(), "snooping Port-Channel10 -" } ) );
   EXPECT_FALSE( config->stayInStandby() );
}

TEST_F( SetLacpStandby, RecordOfFalseIsNotInStandby ) {
   lacp( "Port-Channel10" );
   sm->lagsInStandbyIs( id( "Port-Channel10" ), false );
   EXPECT_EQ( steps( [ & ] { set(); } ).back(), "lacp Port-Channel10 true" );
   EXPECT_TRUE( standby( "Port-Channel10" ) );
}

// Of a port-channel in standby a member in another mode is held, and forces it. Standby goes
// on, and ends the forcing when another member is handled.
TEST_F( SetLacpStandby, MemberInAnotherModeIsHeldAndForcesItsPortChannel ) {
   auto const config = lacp( "Port-Channel10" );
   lacpOverrideIs( "Port-Channel10", mlagSystemId );
   ASSERT_TRUE( standby( "Port-Channel10" ) );
   admin( "Ethernet2", IntfEnabledState::enabled );
   member( "Ethernet2", "Port-Channel10", LacpMode::lacpPassive );
   EXPECT_EQ(
      writes( [ & ] { present( "Ethernet2" ); } ),
      ( Log{ "cause Ethernet2 0", "snooping Port-Channel10 true" } ) );
   EXPECT_EQ( held(), ( Log{ "Ethernet2" } ) );
   EXPECT_TRUE( sm->memberToPortChannel( id( "Ethernet2" ) ) );
   EXPECT_EQ(
      writes( [ & ] { handle( "Ethernet1" ); } ), ( Log{ "snooping Port-Channel10 -" } ) );
   EXPECT_TRUE( standby( "Port-Channel10" ) );
   EXPECT_TRUE( config->stayInStandby() );
}

TEST_F( SetLacpStandby, PortChannelWithoutAnLacpConfigurationIsRecordedAllTheSame ) {
   EXPECT_EQ( steps( [ & ] { set(); } ), ( Log{ entry(), "snooping Port-Channel10 -" } ) );
   EXPECT_TRUE( standby( "Port-Channel10" ) );
   // One that comes later finds it in standby already.
   auto const config = lacp( "Port-Channel10" );
   set();
   EXPECT_FALSE( config->stayInStandby() );
}

} // namespace
