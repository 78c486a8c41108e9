// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// LACP overrides that are there at start-up, arrive, change and go while ports are held.

#include "HeldSwitch"

namespace {

class LacpOverride : public HeldSwitch {
 public:
   LacpOverride() {
      readyForStandby();
      mlagMember( "Ethernet1", "Port-Channel10" );
      pc10 = lacp( "Port-Channel10" );
   }

   void arrives() { lacpOverrideIs( "Port-Channel10", mlagSystemId ); }
   static std::string entry( std::string const& portChannel = "Port-Channel10" ) {
      return called( "handleLagIdConfig(Kovel::IntfId) for " + portChannel );
   }
   static std::string compared(
      std::string_view override_ = mlagSystemId,
      std::string const& portChannel = "Port-Channel10" ) {
      return asked( "isLacpOverride(Kovel::IntfId) const for " + portChannel + " " ) +
         std::string( override_ ) + " mlag sysId " + std::string( mlagSystemId );
   }
   static Log qualifying( std::string const& name ) {
      return { called( "handleLacpStandby(Kovel::IntfId) " + name ),
               asked( "isLacpStandby(Kovel::IntfId) const " + name ) };
   }
   static Log joined( std::initializer_list< Log > parts ) {
      Log all;
      for ( auto const& part : parts ) {
         all.insert( all.end(), part.begin(), part.end() );
      }
      return all;
   }
   Log handleStandby( std::string_view name ) {
      return steps( [ & ] { sm->handleLacpStandby( id( name ) ); } );
   }

   Ryx::Ptr< Lacp::LacpPCConfig > pc10;
};

TEST_F( LacpOverride, MatchingAtStartUpHoldsThePortChannelInStandby ) {
   arrives();
   EXPECT_EQ(
      only( writes( [ & ] { start(); } ), "Port" ), ( Log{ "lacp Port-Channel10 true" } ) );
   EXPECT_EQ( held(), Log() );
   EXPECT_EQ( snooping(), Log() );
   EXPECT_EQ( tracked(), Log() );
   EXPECT_EQ( recorded(), Log() );
   EXPECT_TRUE( standby( "Port-Channel10" ) );
}

TEST_F( LacpOverride, BecomingPrimaryReleasesThePortChannelInStandby ) {
   arrives();
   start();
   ASSERT_TRUE( pc10->stayInStandby() );
   EXPECT_EQ(
      only( writes( [ & ] { state( MlagState::mlagPrimary ); } ), "Port" ),
      ( Log{ "lacp Port-Channel10 false" } ) );
   EXPECT_FALSE( pc10->stayInStandby() );
   EXPECT_FALSE( standby( "Port-Channel10" ) );
   EXPECT_FALSE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( LacpOverride, InterfaceThatAppearsIsNotHeldInAMatchingPortChannel ) {
   arrives();
   start();
   member( "Ethernet2", "Port-Channel10" );
   EXPECT_EQ(
      steps( [ & ] { port( "Ethernet2" ); } ),
      ( Log{ called( "handleIntfStatus(Kovel::IntfId) Ethernet2" ),
             "8: MlagErrdisableSm::mlagLink Ethernet2",
             "8: New intfId: Port-Channel10",
             asked( "isLacpStandby(Kovel::IntfId) const Ethernet2" ),
             compared(),
             called( "setLacpStandby(Kovel::IntfId) Port-Channel10" ) } ) );
   EXPECT_EQ( held(), Log() );
}

TEST_F( LacpOverride, WithStandbySwitchedOffMembersAreHeldAsUsual ) {
   mlagConfig->lacpStandbyIs( false );
   arrives();
   start();
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
   EXPECT_FALSE( pc10->stayInStandby() );
}

TEST_F( LacpOverride, MembersThatDoNotQualifyAreHeldBesideAPortChannelInStandby ) {
   member( "Ethernet2", "Port-Channel10", LacpMode::lacpPassive );
   port( "Ethernet2" );
   arrives();
   start();
   EXPECT_EQ( held(), ( Log{ "Ethernet2" } ) );
   EXPECT_TRUE( pc10->stayInStandby() );
}

TEST_F( LacpOverride, ArrivingMovesAHeldMemberToStandby ) {
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   EXPECT_EQ(
      steps( [ & ] { arrives(); } ),
      joined( { { entry(), compared() },
                qualifying( "Ethernet1" ),
                { compared(),
                  "cause Ethernet1 -",
                  called( "maybeTrackIntfStatus(Kovel::IntfId)" ),
                  "8: Clearing errdisable status for Ethernet1",
                  called( "setLacpStandby(Kovel::IntfId) Port-Channel10" ),
                  "snooping Port-Channel10 -",
                  "lacp Port-Channel10 true" } } ) );
   EXPECT_EQ( held(), Log() );
   EXPECT_TRUE( watched( "Port-Channel10" ) );
   EXPECT_TRUE( standby( "Port-Channel10" ) );
   EXPECT_EQ( recorded(), ( Log{ "Ethernet1 in Port-Channel10" } ) );
}

TEST_F( LacpOverride, ArrivingEndsTheForcingFirstWhereThereIsNoStatusToWatch ) {
   start();
   Log const log = steps( [ & ] { arrives(); } );
   EXPECT_EQ(
      Log( log.end() - 4, log.end() ),
      ( Log{ "8: Clearing errdisable status for Ethernet1",
             "snooping Port-Channel10 -",
             called( "setLacpStandby(Kovel::IntfId) Port-Channel10" ),
             "lacp Port-Channel10 true" } ) );
}

TEST_F( LacpOverride, ArrivingMovesEveryMemberOfTheSnapshot ) {
   mlagMember( "Ethernet2", "Port-Channel10" );
   mlagMember( "Ethernet3", "Port-Channel20" );
   start();
   EXPECT_EQ( held().size(), 3u );
   arrives();
   EXPECT_EQ( held(), ( Log{ "Ethernet3" } ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel20" } ) );
}

TEST_F( LacpOverride, OneThatDoesNotMatchIsOnlyCompared ) {
   start();
   EXPECT_EQ(
      steps( [ & ] { lacpOverrideIs( "Port-Channel10", otherSystemId ); } ),
      ( Log{ entry(), compared( otherSystemId ) } ) );
   EXPECT_EQ(
      steps( [ & ] { lacpOverrideIs( "Port-Channel10", "00:00:00:00:00:00" ); } ),
      ( Log{ entry(), compared( "00:00:00:00:00:00" ) } ) );
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
}

TEST_F( LacpOverride, ChangedOrRemovedItReleasesNothing ) {
   arrives();
   start();
   EXPECT_EQ(
      steps( [ & ] { lacpOverrideIs( "Port-Channel10", otherSystemId ); } ),
      ( Log{ entry(), compared( otherSystemId ) } ) );
   EXPECT_EQ(
      steps( [ & ] { lacpOverride->lagIdConfigDel( id( "Port-Channel10" ) ); } ),
      ( Log{ entry(), compared( "00:00:00:00:00:00" ) } ) );
   EXPECT_TRUE( pc10->stayInStandby() );
   EXPECT_TRUE( standby( "Port-Channel10" ) );
}

TEST_F( LacpOverride, ChangedToTheMlagSystemIdItMovesTheMembers ) {
   lacpOverrideIs( "Port-Channel10", otherSystemId );
   start();
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
   arrives();
   EXPECT_EQ( held(), Log() );
   EXPECT_TRUE( pc10->stayInStandby() );
}

TEST_F( LacpOverride, ArrivingAfterThePeriodTracesItsEndForEachQualifyingMember ) {
   member( "Ethernet2", "Port-Channel10", LacpMode::lacpPassive );
   port( "Ethernet2" );
   start();
   moveTo( 300 );
   Log const first = joined( { qualifying( "Ethernet1" ), { "8: Mlag timer expired" } } );
   Log const head{ entry(), compared() };
   auto const second = qualifying( "Ethernet2" );
   Log const log = steps( [ & ] { arrives(); } );
   bool const inOrder = log == joined( { head, first, second } );
   EXPECT_TRUE( inOrder || log == joined( { head, second, first } ) )
      << ::testing::PrintToString( log );
   EXPECT_FALSE( pc10->stayInStandby() );
   EXPECT_FALSE( standby( "Port-Channel10" ) );
}

TEST_F( LacpOverride, InfinitePeriodNeverCountsAsOver ) {
   mlagConfig->reloadDelayIs( Ryx::never );
   start();
   moveTo( 100000 );
   arrives();
   EXPECT_TRUE( pc10->stayInStandby() );
   EXPECT_EQ( held(), Log() );
}

TEST_F( LacpOverride, PortChannelThatNobodyKnowsIsNoError ) {
   start();
   lacpOverrideIs( "Port-Channel99", mlagSystemId );
   EXPECT_NO_THROW( sm->handleLagIdConfig( id( "Port-Channel99" ) ) );
}

TEST_F( LacpOverride, PortChannelThatIsNewSinceStartUpIsReported ) {
   start();
   mlagMember( "Ethernet2", "Port-Channel20" );
   ASSERT_TRUE( mlagissuCause->intfStatusHas( id( "Ethernet2" ) ) );
   EXPECT_EQ(
      steps( [ & ] { lacpOverrideIs( "Port-Channel20", mlagSystemId ); } ),
      ( Log{
         entry( "Port-Channel20" ),
         compared( mlagSystemId, "Port-Channel20" ),
         called( "handleLagIdConfig(Kovel::IntfId)Port-Channel20 lag doesn't exist" ) } ) );
   EXPECT_TRUE( mlagissuCause->intfStatusHas( id( "Ethernet2" ) ) );
}

TEST_F( LacpOverride, MemberThatIsNewSinceStartUpIsNotReached ) {
   start();
   mlagMember( "Ethernet2", "Port-Channel10" );
   arrives();
   EXPECT_EQ( held(), ( Log{ "Ethernet2" } ) );
}

TEST_F( LacpOverride, MemberThatHasMovedIsReachedThroughItsOldPortChannel ) {
   lacpOverrideIs( "Port-Channel20", mlagSystemId );
   start();
   mlagInterface( "Port-Channel20" );
   member( "Ethernet1", "Port-Channel20" );
   auto const pc20 = lacp( "Port-Channel20" );
   // The snapshot finds it, the live configuration says where it is now.
   arrives();
   EXPECT_EQ( held(), Log() );
   EXPECT_FALSE( pc10->stayInStandby() );
   EXPECT_TRUE( pc20->stayInStandby() );
   EXPECT_TRUE( standby( "Port-Channel20" ) );
}

TEST_F( LacpOverride, MemberThatHasMovedToAnUnmatchedPortChannelStaysHeld ) {
   start();
   mlagInterface( "Port-Channel20" );
   member( "Ethernet1", "Port-Channel20" );
   EXPECT_EQ(
      steps( [ & ] { arrives(); } ),
      joined( { { entry(), compared() },
                qualifying( "Ethernet1" ),
                { compared( "00:00:00:00:00:00", "Port-Channel20" ) } } ) );
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
}

TEST_F( LacpOverride, ManagementInterfaceIsPassedOver ) {
   member( "Management1", "Port-Channel10" );
   present( "Management1" );
   arrives();
   start();
   EXPECT_EQ(
      handleStandby( "Management1" ),
      ( Log{ called( "handleLacpStandby(Kovel::IntfId) Management1" ) } ) );
}

TEST_F( LacpOverride, AbsentMemberIsPassedOver ) {
   member( "Ethernet2", "Port-Channel10" );
   arrives();
   start();
   EXPECT_EQ(
      handleStandby( "Ethernet2" ),
      ( Log{ called( "handleLacpStandby(Kovel::IntfId) Ethernet2" ) } ) );
}

TEST_F( LacpOverride, MemberThatDoesNotQualifyIsPassedOver ) {
   start();
   member( "Ethernet1", "Port-Channel10", LacpMode::lacpPassive );
   arrives();
   EXPECT_EQ( handleStandby( "Ethernet1" ), qualifying( "Ethernet1" ) );
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
}

TEST_F( LacpOverride, EndOfThePeriodReleasesEveryPortChannelInStandby ) {
   mlagMember( "Ethernet2", "Port-Channel20" );
   auto const pc20 = lacp( "Port-Channel20" );
   mlagMember( "Ethernet3", "Port-Channel30" );
   for ( std::string const name :
         { "Port-Channel10", "Port-Channel20", "Port-Channel30" } ) {
      lacpOverrideIs( name, mlagSystemId );
   }
   start();
   Log expected;
   for ( auto it = sm->lagsInStandbyIteratorConst(); it; ++it ) {
      expected.push_back( "8: releasing stayInStandby for " + it.key().string() );
      if ( it.key() != id( "Port-Channel30" ) ) {
         expected.push_back( "lacp " + it.key().string() + " false" );
      }
   }
   EXPECT_EQ( expected.size(), 5u );
   Log released;
   for ( auto const& line : steps( [ & ] { moveTo( 300 ); } ) ) {
      if ( line.find( "tandby for" ) != line.npos || line.find( "lacp " ) == 0 ) {
         released.push_back( line );
      }
   }
   EXPECT_EQ( released, expected );
   EXPECT_FALSE( pc10->stayInStandby() );
   EXPECT_FALSE( pc20->stayInStandby() );
   EXPECT_FALSE( sm->lagsInStandbyIteratorConst() );
}

TEST_F( LacpOverride, NonMlagReleaseLeavesStandbyAlone ) {
   mlagConfig->reloadDelayNonMlagConfiguredIs( true );
   mlagConfig->reloadDelayNonMlagIs( 100 );
   arrives();
   start();
   moveTo( 299 );
   EXPECT_FALSE( sm->nonMlagPortsErrdisabled() );
   EXPECT_TRUE( pc10->stayInStandby() );
   EXPECT_TRUE( standby( "Port-Channel10" ) );
}

} // namespace
