// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Members that are removed through an iterator, and owners that are told of it.

#include "HashMapIteratorFixture"

#include <functional>

namespace {

using namespace iterators;

class HashMapIteratorRemoval : public HashMapIterator {};

TEST_F( HashMapIteratorRemoval, RemovingThroughItGoesOnWithTheNextMember ) {
   Map::Iterator it = at( 5 );
   map.remove( it );
   EXPECT_FALSE( map.contains( key( 5 ) ) );
   ++it;
   EXPECT_EQ( it.key(), key( 6 ) );
   EXPECT_EQ( keysOf( map ), keys( { 2, 4, 6, 8, 12 } ) );
}

TEST_F( HashMapIteratorRemoval, RemovingEveryOtherMemberWhileVisiting ) {
   bool odd = false;
   for ( Map::Iterator it( map ); it; ++it, odd = !odd ) {
      if ( odd ) {
         map.remove( it );
      }
   }
   EXPECT_EQ( keysOf( map ), keys( { 2, 5, 8 } ) );
}

TEST_F( HashMapIteratorRemoval, RemovingThroughItLeavesASuccessorOfItsMemberAlone ) {
   Map::Iterator it = at( 5 );
   map.remove( key( 5 ) );
   insertNew( map, key( 5 ) );
   map.remove( it );
   EXPECT_TRUE( map.contains( key( 5 ) ) );
}

class Owner {
 public:
   void memberNotify( TestKey removed, Ryx::Ptr< Record > const& member ) {
      EXPECT_EQ( member->fwkKey(), removed );
      EXPECT_FALSE( member->fwkHmLinked() );
      notified.push_back( removed );
      if ( onNotify ) {
         onNotify( removed );
      }
   }

   using Iterator = Ryx::OwnedIterator< Map, Owner, &Owner::memberNotify >;

   Keys notified;
   std::function< void( TestKey ) > onNotify;
};

TEST_F( HashMapIteratorRemoval, AnOwnedOneTellsItsOwner ) {
   Owner owner;
   Owner::Iterator it( map, &owner );
   ++it;
   map.remove( it );
   EXPECT_EQ( owner.notified, keys( { 4 } ) );
   map.remove( it );
   map.remove( key( 6 ) );
   EXPECT_EQ( owner.notified, keys( { 4 } ) );
}

TEST_F( HashMapIteratorRemoval, DeletingMembersTellsTheOwnerOfEachInOrder ) {
   Owner owner;
   map.deleteMembers( Owner::Iterator( map, &owner ) );
   EXPECT_EQ( owner.notified, keys( { 2, 4, 5, 6, 8, 12 } ) );
   EXPECT_TRUE( map.empty() );
}

TEST_F( HashMapIteratorRemoval, DeletingMembersStartsWhereTheIteratorStands ) {
   Owner owner;
   Owner::Iterator it( map, &owner );
   ++ ++it;
   map.deleteMembers( it );
   EXPECT_EQ( owner.notified, keys( { 5, 6, 8, 12 } ) );
   EXPECT_EQ( keysOf( map ), keys( { 2, 4 } ) );
}

TEST_F( HashMapIteratorRemoval, TheOwnerMayChangeTheMapWhileMembersAreDeleted ) {
   Owner owner;
   owner.onNotify = [ this ]( TestKey removed ) {
      if ( removed == key( 4 ) ) {
         map.remove( key( 5 ) );
         insertAll( map, keys( { 0, 4, 10 } ) );
      }
   };
   map.deleteMembers( Owner::Iterator( map, &owner ) );
   EXPECT_EQ( owner.notified, keys( { 2, 4, 6, 8, 10, 12 } ) );
   EXPECT_EQ( keysOf( map ), keys( { 0, 4 } ) );
}

} // namespace
