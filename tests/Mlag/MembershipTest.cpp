// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which held member is recorded under which port-channel, and when a port-channel's tracker
// comes and goes.

#include "MembershipFixture"

#include <support/ByName>

#include <utility>

namespace {

TEST_F( Membership, MembersOfOnePortChannelShareOneTracker ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   mlagMember( "Ethernet2", "Port-Channel10" );
   start();
   EXPECT_EQ( tracked(), ( Log{ "Port-Channel10" } ) );
   EXPECT_EQ( sm->memberToPortChannel( id( "Ethernet1" ) ), tracker( "Port-Channel10" ) );
   EXPECT_EQ( sm->memberToPortChannel( id( "Ethernet2" ) ), tracker( "Port-Channel10" ) );
   EXPECT_EQ( tracker( "Port-Channel10" )->igmpsnoopingConfig(), igmpsnoopingConfig );
}

TEST_F( Membership, TrackerIsHeldByItsEntryAndOneForEachMember ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   EXPECT_EQ( references( "Port-Channel10" ), 2u );
   mlagMember( "Ethernet2", "Port-Channel10" );
   EXPECT_EQ( references( "Port-Channel10" ), 3u );
   handle( "Ethernet2" );
   EXPECT_EQ( references( "Port-Channel10" ), 3u );
   absent( "Ethernet1" );
   EXPECT_EQ( references( "Port-Channel10" ), 2u );
}

TEST_F( Membership, RecordingAMemberTwiceLeavesOneEntry ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   auto const first = tracker( "Port-Channel10" );
   EXPECT_EQ( writes( [ & ] { handle( "Ethernet1" ); } ), Log() );
   EXPECT_EQ( recorded(), ( Log{ "Ethernet1 in Port-Channel10" } ) );
   EXPECT_EQ( tracker( "Port-Channel10" ), first );
}

TEST_F( Membership, OnlyTheLastMembersDeletionEndsTheTrackerAndTheWatch ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   mlagMember( "Ethernet2", "Port-Channel10" );
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   sm->maybeTrackIntfStatus( id( "Ethernet1" ) );
   ASSERT_TRUE( watched( "Port-Channel10" ) );

   EXPECT_EQ( steps( [ & ] { absent( "Ethernet1" ); } ), deleted( "Ethernet1" ) );
   EXPECT_EQ( tracked(), ( Log{ "Port-Channel10" } ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
   EXPECT_TRUE( watched( "Port-Channel10" ) );

   bool watchedAtTheEnd = true;
   onLine = [ & ]( std::string const& line ) {
      if ( line == "0 snooping Port-Channel10 -" ) {
         watchedAtTheEnd = watched( "Port-Channel10" );
      }
   };
   Log expected = deleted( "Ethernet2" );
   expected.push_back( destroyed() );
   expected.push_back( "snooping Port-Channel10 -" );
   EXPECT_EQ( steps( [ & ] { absent( "Ethernet2" ); } ), expected );
   EXPECT_FALSE( watchedAtTheEnd );
   EXPECT_EQ( tracked(), Log() );
   EXPECT_EQ( recorded(), Log() );
   EXPECT_FALSE( watched( "Port-Channel10" ) );
}

TEST_F( Membership, MembersMayGoInAnyOrder ) {
   Log names{ "Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4" };
   for ( auto const& name : names ) {
      mlagMember( name, "Port-Channel10" );
   }
   start();
   do {
      for ( auto const& name : names ) {
         EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
         absent( name );
      }
      EXPECT_EQ( snooping(), Log() );
      EXPECT_EQ( tracked(), Log() );
      for ( auto const& name : names ) {
         present( name );
      }
   } while ( std::next_permutation( names.begin(), names.end() ) );
   EXPECT_EQ( recorded().size(), 4u );
   EXPECT_EQ( references( "Port-Channel10" ), 5u );
}

TEST_F( Membership, EntryOutlivesTheReleaseOfItsMember ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   moveTo( 300 );
   EXPECT_EQ( held(), Log() );
   EXPECT_EQ( recorded(), ( Log{ "Ethernet1 in Port-Channel10" } ) );
   EXPECT_EQ( tracked(), ( Log{ "Port-Channel10" } ) );
   absent( "Ethernet1" );
   EXPECT_EQ( tracked(), Log() );
}

TEST_F( Membership, EntryOutlivesTheMembersPlaceInThePortChannel ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   member( "Ethernet1", "" );
   handle( "Ethernet1" );
   EXPECT_EQ( recorded(), ( Log{ "Ethernet1 in Port-Channel10" } ) );
   absent( "Ethernet1" );
   EXPECT_EQ( snooping(), Log() );
}

TEST_F( Membership, MemberThatMovedReplacesItsEntryAndLeavesTheOldTracker ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   mlagMember( "Ethernet1", "Port-Channel20" );
   EXPECT_EQ( recorded(), ( Log{ "Ethernet1 in Port-Channel20" } ) );
   EXPECT_EQ( references( "Port-Channel10" ), 1u );
   EXPECT_EQ( references( "Port-Channel20" ), 2u );
   EXPECT_EQ( snooping().size(), 2u );
   // Nothing is recorded under the old one, so no deletion ends it.
   absent( "Ethernet1" );
   EXPECT_EQ( tracked(), ( Log{ "Port-Channel10" } ) );
   EXPECT_EQ( snooping(), ( Log{ "Port-Channel10" } ) );
   EXPECT_EQ( writes( [ & ] { stop(); } ), ( Log{ "snooping Port-Channel10 -" } ) );
}

TEST_F( Membership, MemberThatNeverForcedIsNotRecorded ) {
   member( "Ethernet1", "Port-Channel10" );
   mlagInterface( "Port-Channel10" );
   admin( "Ethernet1", IntfEnabledState::shutdown );
   present( "Ethernet1" );
   start();
   EXPECT_EQ( recorded(), Log() );
   EXPECT_EQ( steps( [ & ] { absent( "Ethernet1" ); } ), deleted( "Ethernet1" ) );
}

TEST_F( Membership, TrackerInOtherHandsForcesUntilTheyLetGoAndIsTrackedNoLonger ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   sm->maybeTrackIntfStatus( id( "Ethernet1" ) );
   auto kept = tracker( "Port-Channel10" );
   EXPECT_EQ( writes( [ & ] { absent( "Ethernet1" ); } ), ( Log{ "cause Ethernet1 -" } ) );
   EXPECT_EQ( tracked(), Log() );
   EXPECT_FALSE( watched( "Port-Channel10" ) );
   EXPECT_EQ( kept->references(), 1u );
   EXPECT_EQ( writes( [ & ] { kept = nullptr; } ), ( Log{ "snooping Port-Channel10 -" } ) );
}

TEST_F( Membership, MembersEntryInOtherHandsIsNoMember ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   mlagMember( "Ethernet2", "Port-Channel10" );
   start();
   auto kept = sm->memberToPortChannelIterator().ptr();
   absent( kept->key().string() );
   EXPECT_EQ( tracked(), ( Log{ "Port-Channel10" } ) );
   absent( sm->memberToPortChannelIterator().key().string() );
   EXPECT_EQ( tracked(), Log() );
   EXPECT_EQ( writes( [ & ] { kept = nullptr; } ), ( Log{ "snooping Port-Channel10 -" } ) );
}

TEST_F( Membership, IteratorOnTheLastMemberDoesNotKeepItsPortChannelTracked ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   auto it = sm->memberToPortChannelIterator();
   absent( "Ethernet1" );
   EXPECT_EQ( tracked(), Log() );
   EXPECT_EQ( snooping(), Log() );
   EXPECT_FALSE( ++it );
}

TEST_F( Membership, IteratorByNameDoesNotKeepItsPortChannelTracked ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   auto const byName = support::adapted( sm );
   auto const it = byName->attributeIterator(
      byName->type()->attr( Ryx::Name( "memberToPortChannel" ) )->id() );
   ASSERT_TRUE( it->nonNull() );
   absent( "Ethernet1" );
   EXPECT_EQ( tracked(), Log() );
   EXPECT_EQ( snooping(), Log() );
}

// By name an entry of portChannelTracker can be deleted while members are recorded under it.
TEST_F( Membership, WatchOutlivesADeletedTrackersEntryUntilItsLastMemberGoes ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   mlagMember( "Ethernet2", "Port-Channel10" );
   lagStatus( "Port-Channel10", LinkStatus::linkDown );
   start();
   sm->maybeTrackIntfStatus( id( "Ethernet1" ) );
   sm->portChannelTrackerDel( id( "Port-Channel10" ) );
   absent( "Ethernet1" );
   EXPECT_TRUE( watched( "Port-Channel10" ) );
   absent( "Ethernet2" );
   EXPECT_FALSE( watched( "Port-Channel10" ) );
}

TEST_F( Membership, TrackerThatTookTheDeletedOnesPlaceStaysWhileItHasMembers ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   auto const deleted = sm->portChannelTrackerDel( id( "Port-Channel10" ) );
   mlagMember( "Ethernet2", "Port-Channel10" );
   auto const present = tracker( "Port-Channel10" );
   ASSERT_NE( present, deleted );
   absent( "Ethernet1" );
   EXPECT_EQ( tracker( "Port-Channel10" ), present );
   absent( "Ethernet2" );
   EXPECT_EQ( tracked(), Log() );
}

TEST_F( Membership, DestructionEndsTheForcingOfAllInTheTrackersOrder ) {
   for ( int i = 1; i <= 12; ++i ) {
      mlagMember( "Ethernet" + std::to_string( i ), "Port-Channel" + std::to_string( i ) );
   }
   port( "Ethernet50" );
   start();
   Log byTracker;
   for ( auto const& name : tracked() ) {
      byTracker.push_back( destroyed( name ) );
      byTracker.push_back( "snooping " + name + " -" );
   }
   Log byMember;
   for ( auto it = sm->memberToPortChannelIteratorConst(); it; ++it ) {
      byMember.push_back( it->value()->intfId().string() );
   }
   ASSERT_NE( byMember, tracked() );
   EXPECT_EQ( steps( [ & ] { stop(); } ), byTracker );
   EXPECT_EQ( held().size(), 13u );
   EXPECT_TRUE( mlagProtoStatus->portsErrdisabled() );
}

TEST_F( Membership, TrackersOfAReplacedMachineEndWhatTheNextOneForces ) {
   mlagMember( "Ethernet1", "Port-Channel10" );
   start();
   auto old = std::exchange( sm, nullptr );
   EXPECT_EQ( writes( [ & ] { start(); } ), Log() );
   EXPECT_NE(
      old->portChannelTracker( id( "Port-Channel10" ) ), tracker( "Port-Channel10" ) );
   EXPECT_EQ( writes( [ & ] { old = nullptr; } ), ( Log{ "snooping Port-Channel10 -" } ) );
   EXPECT_EQ( tracked(), ( Log{ "Port-Channel10" } ) );
   EXPECT_EQ( held(), ( Log{ "Ethernet1" } ) );
}

} // namespace
