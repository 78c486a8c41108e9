// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What an interface's administrative state changes: a port that is shut down is held, but
// forces no snooping on its port-channel.

#include "HeldSwitch"

namespace {

using Interface::IntfConfig;

class AdminState : public HeldSwitch {
 public:
   AdminState() {
      member( "Ethernet1", "Port-Channel10" );
      mlagInterface( "Port-Channel10" );
      present( "Ethernet1" );
   }

   Log heldWithoutForcing() {
      return { called( "handleIntfStatus(Kovel::IntfId) Ethernet1" ),
               "8: MlagErrdisableSm::mlagLink Ethernet1",
               "8: New intfId: Port-Channel10",
               asked( "isLacpStandby(Kovel::IntfId) const Ethernet1" ),
               "9: Removing Port-Channel10 from igmpsnooping forceEnabledPorts" };
   }
   // The configuration of Ethernet1 falls back to another one.
   Ryx::Ptr< IntfConfig > fallsBackTo( IntfEnabledState state ) {
      auto const fallback = Ryx::make< IntfConfig >( id( "Ethernet1" ) );
      fallback->adminEnabledStateLocalIs( state );
      ethPhyIntfConfig->intfConfig( id( "Ethernet1" ) )->defaultConfigIs( fallback );
      return fallback;
   }
   bool forced() const {
      return igmpsnoopingConfig->forceEnabledPorts( id( "Port-Channel10" ) );
   }
};

TEST_F( AdminState, PortThatIsShutDownIsHeldWithoutForcingSnooping ) {
   admin( "Ethernet1", IntfEnabledState::shutdown );
   start();
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
   EXPECT_EQ( steps( [ & ] { handle( "Ethernet1" ); } ), heldWithoutForcing() );
   EXPECT_FALSE( forced() );
   EXPECT_EQ( recorded(), Log() );
   EXPECT_EQ( tracked(), Log() );
}

TEST_F( AdminState, PortWithoutAConfigurationIsHeldWithoutForcingSnooping ) {
   start();
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
   EXPECT_EQ( steps( [ & ] { handle( "Ethernet1" ); } ), heldWithoutForcing() );
   EXPECT_FALSE( forced() );
   EXPECT_EQ( recorded(), Log() );
}

TEST_F( AdminState, MemberThatIsShutDownEndsTheForcingOfItsPortChannel ) {
   start();
   mlagMember( "Ethernet2", "Port-Channel10" );
   ASSERT_TRUE( forced() );
   Log expected = heldWithoutForcing();
   expected.push_back( "snooping Port-Channel10 -" );
   EXPECT_EQ( steps( [ & ] { handle( "Ethernet1" ); } ), expected );
   EXPECT_EQ( tracked(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( AdminState, PortThatIsShutDownInNoMlagPortChannelTracesNothingOfSnooping ) {
   admin( "Ethernet2", IntfEnabledState::shutdown );
   start();
   EXPECT_EQ( steps( [ & ] { present( "Ethernet2" ); } ).back(), "cause Ethernet2 0" );
   EXPECT_EQ( steps( [ & ] { present( "Ethernet3" ); } ).back(), "cause Ethernet3 0" );
}

TEST_F( AdminState, UnsetStateCountsAsEnabled ) {
   admin( "Ethernet1", IntfEnabledState::unknownEnabledState );
   start();
   EXPECT_TRUE( forced() );
}

TEST_F( AdminState, UnsetStateFallsBackToTheDefaultConfiguration ) {
   admin( "Ethernet1", IntfEnabledState::unknownEnabledState );
   auto const fallback = fallsBackTo( IntfEnabledState::shutdown );
   start();
   EXPECT_FALSE( forced() );
   fallback->adminEnabledStateLocalIs( IntfEnabledState::enabled );
   handle( "Ethernet1" );
   EXPECT_TRUE( forced() );
   fallback->adminEnabledStateLocalIs( IntfEnabledState::unknownEnabledState );
   handle( "Ethernet1" );
   EXPECT_TRUE( forced() );
}

TEST_F( AdminState, DefaultConfigurationIsFollowedOneLevelOnly ) {
   admin( "Ethernet1", IntfEnabledState::unknownEnabledState );
   auto const farther = Ryx::make< IntfConfig >( id( "Ethernet1" ) );
   farther->adminEnabledStateLocalIs( IntfEnabledState::shutdown );
   fallsBackTo( IntfEnabledState::unknownEnabledState )->defaultConfigIs( farther );
   start();
   EXPECT_TRUE( forced() );
}

TEST_F( AdminState, SetStateDoesNotFallBack ) {
   admin( "Ethernet1", IntfEnabledState::enabled );
   fallsBackTo( IntfEnabledState::shutdown );
   start();
   EXPECT_TRUE( forced() );
   admin( "Ethernet1", IntfEnabledState::shutdown );
   fallsBackTo( IntfEnabledState::enabled );
   handle( "Ethernet1" );
   EXPECT_FALSE( forced() );
}

TEST_F( AdminState, EnablingAgainForcesAtTheNextHandling ) {
   admin( "Ethernet1", IntfEnabledState::enabled );
   start();
   admin( "Ethernet1", IntfEnabledState::shutdown );
   EXPECT_FALSE( forced() );
   EXPECT_EQ( writes( [ & ] { admin( "Ethernet1", IntfEnabledState::enabled ); } ), Log() );
   EXPECT_FALSE( forced() );
   EXPECT_EQ(
      writes( [ & ] { handle( "Ethernet1" ); } ),
      ( Log{ "snooping Port-Channel10 true" } ) );
}

} // namespace
