// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Ports that are released before their time, by configuration or by state. Ethernet1 is in
// no port-channel, Ethernet2 in the MLAG port-channel Port-Channel10.

#include "SmReach"

namespace {

class Release : public SwitchFixture {
 public:
   Release() {
      configureMlag();
      port( "Ethernet1" );
      port( "Ethernet2" );
      member( "Ethernet2", "Port-Channel10" );
      mlagInterface( "Port-Channel10" );
   }
   void startAndForget() {
      start();
      take();
   }
   void expectReleased() {
      EXPECT_EQ( held(), std::vector< std::string >() );
      EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
      EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), Ryx::never );
      EXPECT_FALSE( sm->mlagPortsErrdisabled() );
      EXPECT_FALSE( sm->nonMlagPortsErrdisabled() );
      EXPECT_EQ( wakeTime( true ), Ryx::never );
      EXPECT_EQ( wakeTime( false ), Ryx::never );
   }
   void expectHeld() {
      EXPECT_EQ( held().size(), 2u );
      EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
      EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 0 );
      EXPECT_EQ( take(), Log() );
   }
};

// Configuration.

TEST_F( Release, WithoutDomainIdNothingIsHeld ) {
   startAndForget();
   mlagConfig->domainIdIs( "" );
   expectReleased();
}

TEST_F( Release, WithoutLocalInterfaceNothingIsHeld ) {
   startAndForget();
   mlagConfig->localInterfaceIs( nullptr );
   expectReleased();
}

TEST_F( Release, WithoutPeerAddressNothingIsHeld ) {
   startAndForget();
   mlagConfig->peerAddressIs( Kovel::IpAddr() );
   expectReleased();
}

TEST_F( Release, WithoutPeerLinkNothingIsHeld ) {
   startAndForget();
   peerLink( "" );
   expectReleased();
}

TEST_F( Release, DisabledMlagHoldsNothing ) {
   startAndForget();
   mlagConfig->enabledIs( false );
   expectReleased();
}

TEST_F( Release, ConfigurationThatStaysCompleteReleasesNothing ) {
   startAndForget();
   mlagConfig->domainIdIs( "other" );
   mlagConfig->peerAddressIs( Kovel::IpAddr( "fe80::1" ) );
   mlagConfig->localInterfaceIs( Ryx::make< Interface::VlanIntfConfig >( id( "Vlan10" ) ) );
   peerLink( "Port-Channel999" );
   expectHeld();
}

TEST_F( Release, EachPieceOfConfigurationIsNeededAtTheStart ) {
   for ( int missing = 0; missing < 5; ++missing ) {
      configureMlag();
      mlagProtoStatus->portsErrdisabledWhenIs( Ryx::never );
      switch ( missing ) {
      case 0:
         mlagConfig->domainIdIs( "" );
         break;
      case 1:
         mlagConfig->localInterfaceIs( nullptr );
         break;
      case 2:
         mlagConfig->peerAddressIs( Kovel::IpAddr() );
         break;
      case 3:
         peerLink( "" );
         break;
      default:
         mlagConfig->enabledIs( false );
      }
      startAndForget();
      expectReleased();
      stop();
   }
}

TEST_F( Release, ReleasedPortsAreNotHeldAgainByTheSameMachine ) {
   startAndForget();
   mlagConfig->enabledIs( false );
   take();
   mlagConfig->enabledIs( true );
   mlagConfig->reloadDelayIs( 500 );
   state( MlagState::mlagSecondary );
   port( "Ethernet3" );
   expectReleased();
   EXPECT_EQ( take(), Log() );
}

TEST_F( Release, ANewMachineHoldsAgain ) {
   startAndForget();
   mlagConfig->enabledIs( false );
   mlagConfig->enabledIs( true );
   stop();
   timeIs( 77 );
   startAndForget();
   EXPECT_EQ( held().size(), 2u );
   EXPECT_EQ( mlagProtoStatus->portsErrdisabledWhen(), 77 );
}

// State.

TEST_F( Release, PrimaryReleasesAtOnce ) {
   startAndForget();
   state( MlagState::mlagPrimary );
   expectReleased();
}

TEST_F( Release, PrimaryReleasesWhateverTheHoldFlagSays ) {
   mlagProtoStatus->holdInSecondaryIs( true );
   startAndForget();
   state( MlagState::mlagPrimary );
   expectReleased();
}

TEST_F( Release, PrimaryAtTheStartReleasesBeforeAnythingIsHeld ) {
   state( MlagState::mlagPrimary );
   start();
   EXPECT_EQ( only( take(), "cause" ), Log() );
   expectReleased();
}

TEST_F( Release, SecondaryReleasesAtOnceWithoutTheHoldFlag ) {
   startAndForget();
   state( MlagState::mlagSecondary );
   expectReleased();
   EXPECT_TRUE( sm->secondaryPrev() );
}

TEST_F( Release, SecondaryWithTheHoldFlagIsHeldUntilTheTimersEnd ) {
   mlagProtoStatus->holdInSecondaryIs( true );
   startAndForget();
   state( MlagState::mlagSecondary );
   EXPECT_TRUE( sm->secondaryPrev() );
   expectHeld();
   moveTo( 299 );
   EXPECT_EQ( take().size(), 2u );
   moveTo( 300 );
   expectReleased();
}

TEST_F( Release, TheHoldFlagItselfIsNotWatched ) {
   mlagProtoStatus->holdInSecondaryIs( true );
   startAndForget();
   state( MlagState::mlagSecondary );
   mlagProtoStatus->holdInSecondaryIs( false );
   expectHeld();
   mlagConfig->domainIdIs( "other" );
   expectHeld();
   sm->handleMlagState();
   expectReleased();
}

TEST_F( Release, InactiveAfterSecondaryReleasesWhatIsStillHeld ) {
   mlagProtoStatus->holdInSecondaryIs( true );
   startAndForget();
   state( MlagState::mlagSecondary );
   expectHeld();
   state( MlagState::mlagInactive );
   expectReleased();
}

TEST_F( Release, InactiveSomeTimeAfterSecondaryReleasesToo ) {
   mlagProtoStatus->holdInSecondaryIs( true );
   startAndForget();
   state( MlagState::mlagSecondary );
   state( MlagState::mlagDisabled );
   expectHeld();
   state( MlagState::mlagInactive );
   expectReleased();
}

TEST_F( Release, SecondaryAtTheStartCountsAsSecondaryPast ) {
   mlagProtoStatus->holdInSecondaryIs( true );
   state( MlagState::mlagSecondary );
   startAndForget();
   EXPECT_TRUE( sm->secondaryPrev() );
   expectHeld();
   state( MlagState::mlagInactive );
   expectReleased();
}

TEST_F( Release, SecondaryOfAnEarlierMachineDoesNotCount ) {
   mlagProtoStatus->holdInSecondaryIs( true );
   startAndForget();
   state( MlagState::mlagSecondary );
   stop();
   state( MlagState::mlagInactive );
   startAndForget();
   EXPECT_FALSE( sm->secondaryPrev() );
   expectHeld();
}

TEST_F( Release, InactiveWithoutASecondaryPastIsHeld ) {
   startAndForget();
   state( MlagState::mlagInactive );
   expectHeld();
   EXPECT_FALSE( sm->secondaryPrev() );
}

TEST_F( Release, UnknownAndDisabledStatesAreHeld ) {
   state( MlagState::mlagInactive );
   startAndForget();
   state( MlagState::mlagUnknown );
   expectHeld();
   state( MlagState::mlagDisabled );
   expectHeld();
}

TEST_F( Release, InactiveAfterSecondaryWithNothingHeldIsNoRelease ) {
   startAndForget();
   state( MlagState::mlagSecondary );
   expectReleased();
   take();
   tracingIs( true );
   state( MlagState::mlagInactive );
   EXPECT_EQ(
      takeUntimed(),
      ( Log{ tracedCall( "handleMlagState()", " state is mlagInactive" ) } ) );
}

TEST_F( Release, SecondaryPastIsNeverForgotten ) {
   startAndForget();
   state( MlagState::mlagSecondary );
   state( MlagState::mlagPrimary );
   state( MlagState::mlagUnknown );
   EXPECT_TRUE( sm->secondaryPrev() );
}

TEST_F( Release, StateReleasesUnderInfiniteDelaysToo ) {
   mlagConfig->reloadDelayIs( Ryx::never );
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( Ryx::never );
   startAndForget();
   state( MlagState::mlagPrimary );
   expectReleased();
}

TEST_F( Release, AgainWithNothingHeldWritesNothing ) {
   startAndForget();
   state( MlagState::mlagPrimary );
   take();
   sm->doClearErrdisableIntfStatus();
   expectReleased();
   EXPECT_EQ( take(), Log() );
}

} // namespace
