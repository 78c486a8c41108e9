// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The members that each port-channel had when the machine started.

#include "HeldSwitch"

namespace {

class MembershipSnapshot : public HeldSwitch {
 public:
   // The members of a port-channel in the collection's order.
   Log members( std::string_view portChannel ) const {
      Log names;
      auto const lag = sm->portChannelToMember( id( portChannel ) );
      for ( auto it = lag->memberIteratorConst(); it; ++it ) {
         EXPECT_TRUE( it->value() );
         names.push_back( it.key().string() );
      }
      return names;
   }
   std::size_t portChannels() const {
      std::size_t count = 0;
      for ( auto it = sm->portChannelToMemberIteratorConst(); it; ++it ) {
         ++count;
      }
      return count;
   }
};

TEST_F( MembershipSnapshot, HasEveryConfiguredMemberOfEveryPortChannel ) {
   member( "Ethernet1", "Port-Channel10" );
   member( "Ethernet2", "Port-Channel10" );
   member( "Ethernet3", "Port-Channel1000", LacpMode::lacpOff );
   member( "Management1", "Port-Channel30" );
   member( "Ethernet4", "" );
   start();
   EXPECT_EQ( portChannels(), 3u );
   EXPECT_EQ( members( "Port-Channel10" ).size(), 2u );
   EXPECT_EQ( members( "Port-Channel1000" ), ( Log{ "Ethernet3" } ) );
   EXPECT_EQ( members( "Port-Channel30" ), ( Log{ "Management1" } ) );
   EXPECT_TRUE(
      sm->portChannelToMember( id( "Port-Channel10" ) )->member( id( "Ethernet1" ) ) );
}

TEST_F( MembershipSnapshot, IsTakenAfterTheInterfacesWereHandled ) {
   port( "Ethernet1" );
   onLine = [ & ]( std::string const& line ) {
      if ( line == "0 cause Ethernet1 0" ) {
         member( "Ethernet9", "Port-Channel90" );
      }
   };
   start();
   EXPECT_EQ( members( "Port-Channel90" ), ( Log{ "Ethernet9" } ) );
}

TEST_F( MembershipSnapshot, DoesNotFollowTheConfiguration ) {
   member( "Ethernet1", "Port-Channel10" );
   start();
   member( "Ethernet2", "Port-Channel10" );
   member( "Ethernet3", "Port-Channel20" );
   member( "Ethernet1", "Port-Channel20" );
   lagInputConfig->phyIntfDel( id( "Ethernet1" ) );
   EXPECT_EQ( members( "Port-Channel10" ), ( Log{ "Ethernet1" } ) );
   EXPECT_FALSE( sm->portChannelToMember( id( "Port-Channel20" ) ) );
}

TEST_F( MembershipSnapshot, OutlivesTheRelease ) {
   member( "Ethernet1", "Port-Channel10" );
   start();
   moveTo( 300 );
   EXPECT_EQ( members( "Port-Channel10" ), ( Log{ "Ethernet1" } ) );
}

TEST_F( MembershipSnapshot, IsNotTakenWhenEverythingIsReleasedAtStartUp ) {
   member( "Ethernet1", "Port-Channel10" );
   mlagConfig->enabledIs( false );
   start();
   EXPECT_EQ( portChannels(), 0u );
}

TEST_F( MembershipSnapshot, PortChannelIsMadeOnceByItsKey ) {
   start();
   auto const made = sm->portChannelToMemberIs( id( "Port-Channel10" ) );
   EXPECT_EQ( made->intfId(), id( "Port-Channel10" ) );
   EXPECT_EQ( sm->portChannelToMemberIs( id( "Port-Channel10" ) ), made );
   EXPECT_EQ( sm->portChannelToMemberDel( id( "Port-Channel10" ) ), made );
   EXPECT_FALSE( sm->portChannelToMemberDel( id( "Port-Channel10" ) ) );
   EXPECT_EQ( made->references(), 1u );
}

TEST_F( MembershipSnapshot, GoesWithTheMachine ) {
   member( "Ethernet1", "Port-Channel10" );
   start();
   auto const lag = sm->portChannelToMember( id( "Port-Channel10" ) );
   stop();
   EXPECT_EQ( lag->references(), 1u );
}

} // namespace
