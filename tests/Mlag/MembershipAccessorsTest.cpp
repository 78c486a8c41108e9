// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The accessors of the collections that record members and trackers.

#include "MembershipFixture"

#include <support/ByName>

#include <utility>

namespace {

using Mlag::Ostra::PortChannelTracker;

class MembershipAccessors : public Membership {
 public:
   MembershipAccessors() {
      start();
      first = make( "Port-Channel10" );
      second = make( "Port-Channel20" );
   }
   Ryx::Ptr< PortChannelTracker > make( std::string_view portChannel ) const {
      return PortChannelTracker::PortChannelTrackerIs(
         id( portChannel ), igmpsnoopingConfig );
   }

   Ryx::Ptr< PortChannelTracker > first;
   Ryx::Ptr< PortChannelTracker > second;
   IntfId const member = id( "Ethernet1" );
};

TEST_F( MembershipAccessors, MemberEntryIsInsertedReplacedAndDeletedByNull ) {
   EXPECT_FALSE( sm->memberToPortChannel( member ) );
   sm->memberToPortChannelIs( member, first );
   EXPECT_EQ( first->references(), 2u );
   sm->memberToPortChannelIs( member, first );
   EXPECT_EQ( first->references(), 2u );
   sm->memberToPortChannelIs( member, second );
   EXPECT_EQ( sm->memberToPortChannel( member ), second );
   EXPECT_EQ( first->references(), 1u );
   sm->memberToPortChannelIs( member, nullptr );
   EXPECT_FALSE( sm->memberToPortChannel( member ) );
   EXPECT_EQ( second->references(), 1u );
   sm->memberToPortChannelIs( member, nullptr );
   EXPECT_EQ( recorded(), Log() );
}

TEST_F( MembershipAccessors, MemberEntrysDeletionGivesItBack ) {
   sm->memberToPortChannelIs( member, first );
   EXPECT_EQ( sm->memberToPortChannelDel( member ), first );
   EXPECT_FALSE( sm->memberToPortChannelDel( member ) );
}

TEST_F( MembershipAccessors, TrackerIsKeyedByItsPortChannel ) {
   sm->portChannelTrackerIs( first );
   sm->portChannelTrackerIs( second );
   EXPECT_EQ( tracker( "Port-Channel10" ), first );
   EXPECT_EQ( tracker( "Port-Channel20" ), second );
   auto const replacement = make( "Port-Channel10" );
   sm->portChannelTrackerIs( replacement );
   EXPECT_EQ( tracker( "Port-Channel10" ), replacement );
   EXPECT_EQ( first->references(), 1u );
   EXPECT_EQ( sm->portChannelTrackerDel( id( "Port-Channel10" ) ), replacement );
   EXPECT_FALSE( sm->portChannelTrackerDel( id( "Port-Channel10" ) ) );
   sm->portChannelTrackerDelAll();
   EXPECT_EQ( tracked(), Log() );
   EXPECT_EQ( second->references(), 1u );
}

TEST_F( MembershipAccessors, NullTrackerIsRefused ) {
   EXPECT_EQ(
      support::refusal( [ & ] { sm->portChannelTrackerIs( nullptr ); } ),
      "null _portChannelTracker parameter to mutator for "
      "Mlag::Ostra::MlagErrdisableSm::portChannelTracker not allowed\"" );
   EXPECT_EQ( tracked(), Log() );
}

TEST_F( MembershipAccessors, TrackerCountsItsMembersHoweverTheyComeAndGo ) {
   IntfId const other = id( "Ethernet2" );
   sm->newMemberToPortChannel( member, first );
   sm->memberToPortChannelIs( other, first );
   EXPECT_EQ( first->members(), 2u );
   sm->memberToPortChannelIs( other, first );
   EXPECT_EQ( first->members(), 2u );
   sm->memberToPortChannelIs( other, second );
   EXPECT_EQ( first->members(), 1u );
   EXPECT_EQ( second->members(), 1u );
   sm->memberToPortChannelDel( other );
   sm->memberToPortChannelDel( other );
   EXPECT_EQ( second->members(), 0u );
   sm->memberToPortChannelIs( member, nullptr );
   EXPECT_EQ( first->members(), 0u );
}

TEST_F( MembershipAccessors, TrackerCountsItsMembersWhenAllAreDeleted ) {
   sm->memberToPortChannelIs( member, first );
   sm->memberToPortChannelIs( id( "Ethernet2" ), first );
   sm->memberToPortChannelDelAll();
   EXPECT_EQ( first->members(), 0u );
   sm->memberToPortChannelIs( member, first );
   stop();
   EXPECT_EQ( first->members(), 0u );
}

TEST_F( MembershipAccessors, TrackerCountsItsMembersWhenTheirStorageGoes ) {
   {
      Mlag::Ostra::RecordedMembers storage;
      storage.newRecord( member, first );
      EXPECT_EQ( first->members(), 1u );
   }
   EXPECT_EQ( first->members(), 0u );
}

TEST_F( MembershipAccessors, AnIteratorOnARemovedMemberDoesNotDeleteTheOneInItsPlace ) {
   Mlag::Ostra::RecordedMembers storage;
   storage.newRecord( member, first );
   Mlag::Ostra::RecordedMembers::Map::Iterator it( storage.map );
   storage.map.remove( member );
   storage.newRecord( member, second );
   storage.map.remove( it );
   EXPECT_EQ( storage.value( member ), second );
   EXPECT_EQ( second->members(), 1u );
}

TEST_F( MembershipAccessors, TrackerCountsItsMembersByName ) {
   auto const named = support::adapted( sm );
   auto const key = Ryx::toGeneric( member );
   support::operation(
      named, "memberToPortChannel", Ryx::GenericIf::set, key, Ryx::toGeneric( first ) );
   EXPECT_EQ( first->members(), 1u );
   support::del( named, "memberToPortChannel", key );
   EXPECT_EQ( first->members(), 0u );
}

TEST_F( MembershipAccessors, CreatorsRefuseNullAndAPresentKey ) {
   auto const mutator = []( std::string const& name ) {
      return "null _" + name +
         " parameter to mutator for Mlag::Ostra::MlagErrdisableSm::" + name +
         " not allowed\"";
   };
   EXPECT_EQ(
      support::refusal( [ & ] { sm->newPortChannelTracker( nullptr ); } ),
      mutator( "portChannelTracker" ) );
   EXPECT_EQ(
      support::refusal( [ & ] { sm->newMemberToPortChannel( member, nullptr ); } ),
      mutator( "memberToPortChannel" ) );
   EXPECT_FALSE( sm->memberToPortChannelIteratorConst() );
   sm->newPortChannelTracker( first );
   sm->newMemberToPortChannel( member, first );
   EXPECT_EQ(
      support::refusal( [ & ] { sm->newPortChannelTracker( make( "Port-Channel10" ) ); } ),
      "key Port-Channel10 is present in "
      "Mlag::Ostra::MlagErrdisableSm::portChannelTracker" );
   EXPECT_EQ(
      support::refusal( [ & ] { sm->newMemberToPortChannel( member, second ); } ),
      "key Ethernet1 is present in "
      "Mlag::Ostra::MlagErrdisableSm::memberToPortChannel" );
   EXPECT_EQ( tracker( "Port-Channel10" ), first );
   EXPECT_EQ( sm->memberToPortChannel( member ), first );
   EXPECT_EQ( first->members(), 1u );
   EXPECT_EQ( second->members(), 0u );
}

TEST_F( MembershipAccessors, MembersAreDeletedAllAtOnce ) {
   sm->memberToPortChannelIs( member, first );
   sm->memberToPortChannelIs( id( "Ethernet2" ), first );
   sm->memberToPortChannelDelAll();
   EXPECT_EQ( recorded(), Log() );
   EXPECT_EQ( first->references(), 1u );
}

} // namespace
