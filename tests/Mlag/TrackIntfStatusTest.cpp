// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What happens to the port-channel of an interface that is being released, and to one that
// is no MLAG interface any more.

#include "HeldSwitch"

namespace {

class TrackIntfStatus : public HeldSwitch {
 public:
   TrackIntfStatus() { mlagMember( "Ethernet1", "Port-Channel10" ); }

   Log track( std::string_view name ) {
      return steps( [ & ] { sm->maybeTrackIntfStatus( id( name ) ); } );
   }
   static std::string entry() { return called( "maybeTrackIntfStatus(Kovel::IntfId)" ); }
};

TEST_F( TrackIntfStatus, WatchesThePortChannelsStatusAndKeepsItForced ) {
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   EXPECT_EQ(
      track( "Ethernet1" ),
      ( Log{ entry(), "8: Clearing errdisable status for Ethernet1" } ) );
   EXPECT_TRUE( watched( "Port-Channel10" ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( TrackIntfStatus, PortChannelWithoutAStatusIsNotForcedAnyMore ) {
   start();
   EXPECT_EQ(
      track( "Ethernet1" ),
      ( Log{ entry(),
             "8: Clearing errdisable status for Ethernet1",
             "snooping Port-Channel10 -" } ) );
   EXPECT_FALSE( watched( "Port-Channel10" ) );
   // Recorded as before: only the interface's deletion changes that.
   EXPECT_EQ( recorded(), ( Log{ "Ethernet1 in Port-Channel10" } ) );
}

TEST_F( TrackIntfStatus, PortInNoMlagPortChannelHasNothingToTrack ) {
   port( "Ethernet2" );
   start();
   EXPECT_EQ(
      track( "Ethernet2" ),
      ( Log{ entry(), "8: Clearing errdisable status for Ethernet2" } ) );
}

TEST_F( TrackIntfStatus, PortInNoMlagPortChannelDoesNotMeanTheEmptyId ) {
   port( "Ethernet2" );
   start();
   igmpsnoopingConfig->forceEnabledPortsIs( IntfId(), true );
   sm->maybeTrackIntfStatus( id( "Ethernet2" ) );
   EXPECT_TRUE( igmpsnoopingConfig->forceEnabledPorts( IntfId() ) );
   member( "Ethernet2", "Port-Channel20" );
   sm->maybeTrackIntfStatus( id( "Ethernet2" ) );
   EXPECT_TRUE( igmpsnoopingConfig->forceEnabledPorts( IntfId() ) );
}

// It is traced at the level of the trace, whatever else is traced.
TEST_F( TrackIntfStatus, PortInNoPortChannelIsTracedAtLevelEight ) {
   port( "Ethernet2" );
   start();
   tracingIs( true );
   Ryx::traceLevelIs( "MlagErrdisableSm", 9, false );
   take();
   sm->maybeTrackIntfStatus( id( "Ethernet2" ) );
   Ryx::traceConfigReset();
   Log const log = take();
   ASSERT_EQ( log.size(), 2u );
   EXPECT_NE( log[ 1 ].find( "Clearing errdisable status for Ethernet2" ), log[ 1 ].npos );
}

TEST_F(
   TrackIntfStatus, PortChannelThatIsNoMlagInterfaceAnyMoreIsNotForcedAndThenNotWatched ) {
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   sm->maybeTrackIntfStatus( id( "Ethernet1" ) );
   bool watchedThen = false;
   onLine = [ & ]( std::string const& ) { watchedThen = watched( "Port-Channel10" ); };
   EXPECT_EQ(
      writes( [ & ] { noMlagInterface( "Port-Channel10" ); } ),
      ( Log{ "snooping Port-Channel10 -" } ) );
   EXPECT_TRUE( watchedThen );
   EXPECT_FALSE( watched( "Port-Channel10" ) );
}

TEST_F( TrackIntfStatus, PortWithoutAConfigurationIsPassedOver ) {
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   ethPhyIntfConfig->intfConfigDel( id( "Ethernet1" ) );
   EXPECT_EQ( track( "Ethernet1" ), ( Log{ entry() } ) );
   EXPECT_FALSE( watched( "Port-Channel10" ) );
}

TEST_F( TrackIntfStatus, PortThatIsShutDownIsPassedOver ) {
   start();
   admin( "Ethernet1", IntfEnabledState::shutdown );
   igmpsnoopingConfig->forceEnabledPortsIs( id( "Port-Channel10" ), true );
   EXPECT_EQ( track( "Ethernet1" ), ( Log{ entry() } ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( TrackIntfStatus, UnsetStateIsTakenFromTheDefaultConfiguration ) {
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   auto const fallback = Ryx::make< Interface::IntfConfig >( id( "Ethernet1" ) );
   fallback->adminEnabledStateLocalIs( IntfEnabledState::shutdown );
   admin( "Ethernet1", IntfEnabledState::unknownEnabledState );
   ethPhyIntfConfig->intfConfig( id( "Ethernet1" ) )->defaultConfigIs( fallback );
   EXPECT_EQ( track( "Ethernet1" ), ( Log{ entry() } ) );
   fallback->adminEnabledStateLocalIs( IntfEnabledState::enabled );
   track( "Ethernet1" );
   EXPECT_TRUE( watched( "Port-Channel10" ) );
}

TEST_F( TrackIntfStatus, SecondMemberKeepsTheWatchThatThereIs ) {
   mlagMember( "Ethernet2", "Port-Channel10" );
   lagStatus( "Port-Channel10", LinkStatus::linkUp );
   start();
   track( "Ethernet1" );
   auto const watch = sm->lagIntfStatus( id( "Port-Channel10" ) );
   EXPECT_EQ(
      track( "Ethernet2" ),
      ( Log{ entry(), "8: Clearing errdisable status for Ethernet2" } ) );
   EXPECT_EQ( sm->lagIntfStatus( id( "Port-Channel10" ) ), watch );
}

TEST_F( TrackIntfStatus, EndOfThePeriodTracksEveryReleasedMember ) {
   mlagMember( "Ethernet2", "Port-Channel20" );
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   moveTo( 299.999 );
   EXPECT_FALSE( watched( "Port-Channel10" ) );
   moveTo( 300 );
   EXPECT_TRUE( watched( "Port-Channel10" ) );
   EXPECT_FALSE( watched( "Port-Channel20" ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

class MlagIntfConfigChange : public TrackIntfStatus {
 public:
   static std::string changed() {
      return called( "handleMlagIntfConfig(Kovel::IntfId) for Port-Channel10" );
   }
};

TEST_F( MlagIntfConfigChange, RemovalEndsForcingAndWatch ) {
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   sm->maybeTrackIntfStatus( id( "Ethernet1" ) );
   ASSERT_TRUE( watched( "Port-Channel10" ) );
   auto const watch = sm->lagIntfStatus( id( "Port-Channel10" ) );
   EXPECT_EQ(
      steps( [ & ] { noMlagInterface( "Port-Channel10" ); } ),
      ( Log{ changed(), "snooping Port-Channel10 -" } ) );
   EXPECT_FALSE( watched( "Port-Channel10" ) );
   EXPECT_TRUE( watch->ryxMarkedForDeletion() );
   EXPECT_EQ( watch->owner(), nullptr );
   EXPECT_EQ(
      steps( [ & ] { lagStatus( "Port-Channel10", LinkStatus::linkUp ); } ), Log() );
}

TEST_F( MlagIntfConfigChange, RemovalKeepsTheMembersHeldAndRecorded ) {
   start();
   noMlagInterface( "Port-Channel10" );
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
   EXPECT_EQ( recorded(), ( Log{ "Ethernet1 in Port-Channel10" } ) );
}

TEST_F( MlagIntfConfigChange, SettingTheDefaultValueIsARemoval ) {
   start();
   EXPECT_EQ(
      steps( [ & ] { mlagInterface( "Port-Channel10", "" ); } ),
      ( Log{ changed(), "snooping Port-Channel10 -" } ) );
}

TEST_F( MlagIntfConfigChange, AnotherMlagIdChangesNothing ) {
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   sm->maybeTrackIntfStatus( id( "Ethernet1" ) );
   EXPECT_EQ(
      steps( [ & ] { mlagInterface( "Port-Channel10", "11" ); } ), ( Log{ changed() } ) );
   EXPECT_TRUE( watched( "Port-Channel10" ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

TEST_F( MlagIntfConfigChange, AddingOneHandlesNoMember ) {
   member( "Ethernet2", "Port-Channel20" );
   port( "Ethernet2" );
   start();
   EXPECT_EQ(
      steps( [ & ] { mlagInterface( "Port-Channel20" ); } ),
      ( Log{ called( "handleMlagIntfConfig(Kovel::IntfId) for Port-Channel20" ) } ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
}

} // namespace
