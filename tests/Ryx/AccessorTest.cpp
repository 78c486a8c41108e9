// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the accessors of each kind of attribute do, notify and return.

#include "Board"

#include <gtest/gtest.h>

namespace {

using doubles::Board;
using doubles::BoardWatcher;
using doubles::Calls;
using doubles::Mode;
using doubles::Port;
using doubles::refusal;
using doubles::Slot;
using Ryx::Ptr;

class AccessorTest : public testing::Test {
 protected:
   Calls heard() { return std::exchange( calls, {} ); }
   std::vector< unsigned > levelKeys() {
      std::vector< unsigned > keys;
      for ( auto it = board->levelIterator(); it; ++it ) {
         keys.push_back( it.key() );
      }
      return keys;
   }

   Calls calls;
   Ptr< Board > const board = Ryx::make< Board >( "board" );
   Ptr< BoardWatcher > const watcher = doubles::watch< BoardWatcher >( "w", calls, board );
   Ptr< Port > const one = Ryx::make< Port >( 1u );
   Ptr< Port > const two = Ryx::make< Port >( 2u );
};

TEST_F( AccessorTest, AScalarNotifiesWhenItChanges ) {
   EXPECT_EQ( board->mode(), Mode::off );
   board->modeIs( Mode::fast );
   EXPECT_EQ( board->mode(), Mode::fast );
   EXPECT_EQ( heard(), Calls{ "w mode" } );
   board->modeIs( Mode::fast );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( AccessorTest, AStructureIsComparedWhole ) {
   board->supplyIs( { 12, "" } );
   EXPECT_EQ( heard(), Calls{} );
   board->supplyIs( { 12, "grid" } );
   EXPECT_EQ( heard(), Calls{ "w supply" } );
}

TEST_F( AccessorTest, AReferenceMayBeSetToNull ) {
   board->uplinkIs( one );
   EXPECT_EQ( board->uplink(), one );
   board->uplinkIs( one );
   board->uplinkIs( nullptr );
   EXPECT_EQ( heard(), ( Calls{ "w uplink", "w uplink" } ) );
   EXPECT_EQ( one->references(), 1u );
}

TEST_F( AccessorTest, AValueCollectionInsertsChangesAndComparesBeforeItNotifies ) {
   board->levelIs( 5, 70 );
   EXPECT_EQ( board->level( 5 ), 70u );
   EXPECT_EQ( heard(), Calls{ "w level 5" } );
   board->levelIs( 5, 70 );
   EXPECT_EQ( heard(), Calls{} );
   board->levelIs( 5, 71 );
   EXPECT_EQ( board->level( 5 ), 71u );
   EXPECT_EQ( heard(), Calls{ "w level 5" } );
   EXPECT_EQ( board->levels().size(), 1u );
}

TEST_F( AccessorTest, AnAbsentMemberReadsAsTheDefaultAndMayHaveIt ) {
   EXPECT_EQ( board->level( 5 ), 0u );
   EXPECT_FALSE( board->levels().contains( 5 ) );
   board->levelIs( 5, 0 );
   EXPECT_TRUE( board->levels().contains( 5 ) );
   EXPECT_EQ( heard(), Calls{ "w level 5" } );
}

TEST_F( AccessorTest, DeletingReturnsTheRemovedValueAfterNotifying ) {
   board->levelIs( 5, 70 );
   heard();
   bool present = true;
   watcher->action = [ & ] { present = board->levels().contains( 5 ); };
   EXPECT_EQ( board->levelDel( 5 ), 70u );
   EXPECT_FALSE( present );
   EXPECT_EQ( heard(), Calls{ "w level 5" } );
}

TEST_F( AccessorTest, DeletingAnAbsentMemberReturnsTheDefaultAndNotifiesNobody ) {
   board->levelIs( 4, 70 );
   heard();
   EXPECT_EQ( board->levelDel( 5 ), 0u );
   EXPECT_FALSE( board->heldDel( 5 ) );
   EXPECT_EQ( board->spareDel( 5 ), nullptr );
   EXPECT_EQ( board->portDel( 5 ), nullptr );
   EXPECT_EQ( board->slotDel( 5 ), nullptr );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( AccessorTest, DeletingAllNotifiesForEachMemberInOrder ) {
   for ( unsigned const key : { 1u, 2u, 3u } ) {
      board->newLevel( key, 10 * key );
   }
   EXPECT_EQ( heard(), Calls{} );
   EXPECT_EQ( levelKeys(), ( std::vector< unsigned >{ 2, 1, 3 } ) );
   board->levelDelAll();
   EXPECT_EQ( heard(), ( Calls{ "w level 2", "w level 1", "w level 3" } ) );
   EXPECT_TRUE( board->levels().empty() );
}

TEST_F( AccessorTest, ACallbackMayChangeTheCollectionThatIsBeingDeleted ) {
   for ( unsigned const key : { 1u, 2u, 3u } ) {
      board->newLevel( key, 0 );
   }
   watcher->action = [ & ] {
      board->levelDel( 1 );
      board->newLevel( 5, 0 );
   };
   board->levelDelAll();
   EXPECT_EQ( heard(), ( Calls{ "w level 2", "w level 1", "w level 5", "w level 3" } ) );
   EXPECT_TRUE( board->levels().empty() );
}

TEST_F( AccessorTest, DeletingThroughAnIteratorGoesOnWithTheNextMember ) {
   for ( unsigned const key : { 1u, 2u, 3u } ) {
      board->newLevel( key, 0 );
   }
   std::vector< unsigned > visited;
   for ( auto it = board->levelIterator(); it; ++it ) {
      visited.push_back( it.key() );
      board->levelDel( it.key() );
   }
   EXPECT_EQ( visited, ( std::vector< unsigned >{ 2, 1, 3 } ) );
   EXPECT_EQ( heard(), ( Calls{ "w level 2", "w level 1", "w level 3" } ) );
}

TEST_F( AccessorTest, ASetMemberThatBecomesFalseIsRemoved ) {
   board->heldIs( 5, false );
   EXPECT_EQ( heard(), Calls{} );
   board->heldIs( 5, true );
   board->heldIs( 5, true );
   EXPECT_TRUE( board->held( 5 ) );
   EXPECT_EQ( heard(), Calls{ "w held 5" } );
   board->heldIs( 5, false );
   EXPECT_FALSE( board->held( 5 ) );
   EXPECT_EQ( board->heldCount(), 0u );
   EXPECT_EQ( heard(), Calls{ "w held 5" } );
   board->heldIs( 5, true );
   EXPECT_TRUE( board->heldDel( 5 ) );
}

TEST_F( AccessorTest, ASetOfKeysMakesNoEntryForFalse ) {
   EXPECT_EQ( board->newHeld( 5, false ), nullptr );
   EXPECT_EQ( board->heldCount(), 0u );
   EXPECT_TRUE( board->newHeld( 5, true )->value() );
   EXPECT_EQ( board->heldCount(), 1u );
   for ( bool const in : { false, true } ) {
      EXPECT_NE( refusal( [ & ] { board->newHeld( 5, in ); } ), "" );
   }
}

TEST_F( AccessorTest, APointerCollectionTakesAnyKeyAndComparesByObject ) {
   board->spareIs( 7, one );
   board->spareIs( 7, one );
   EXPECT_EQ( board->spare( 7 ), one );
   EXPECT_EQ( heard(), Calls{ "w spare 7" } );
   board->spareIs( 7, two );
   EXPECT_EQ( heard(), Calls{ "w spare 7" } );
   EXPECT_EQ( one->references(), 1u );
   EXPECT_EQ( board->spareDel( 7 ), two );
   EXPECT_EQ( heard(), Calls{ "w spare 7" } );
   EXPECT_EQ( two->references(), 1u );
}

TEST_F( AccessorTest, NullRemovesFromAPointerCollection ) {
   board->spareIs( 7, one );
   heard();
   board->spareIs( 7, nullptr );
   EXPECT_EQ( board->spare( 7 ), nullptr );
   EXPECT_EQ( heard(), Calls{ "w spare 7" } );
   board->spareIs( 7, nullptr );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( AccessorTest, AnElementIsKeptUnderItsOwnKey ) {
   board->portIs( two );
   EXPECT_EQ( board->port( 2 ), two );
   EXPECT_EQ( heard(), Calls{ "w port 2" } );
   board->portIs( two );
   EXPECT_EQ( heard(), Calls{} );
   auto const another = Ryx::make< Port >( 2u );
   board->portIs( another );
   EXPECT_EQ( board->port( 2 ), another );
   EXPECT_EQ( heard(), Calls{ "w port 2" } );
   EXPECT_EQ( board->portDel( 2 ), another );
}

TEST_F( AccessorTest, ANullElementIsRefusedAndChangesNothing ) {
   board->portIs( one );
   heard();
   EXPECT_EQ(
      refusal( [ & ] { board->portIs( nullptr ); } ),
      "null _port parameter to mutator for Test::Board::port not allowed\"" );
   EXPECT_EQ( board->port( 1 ), one );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( AccessorTest, AnObjectIsMadeFromItsKeyOnce ) {
   auto const slot = board->slotIs( 3 );
   EXPECT_EQ( slot->fwkKey(), 3u );
   EXPECT_EQ( board->slot( 3 ), slot );
   EXPECT_EQ( heard(), Calls{ "w slot 3" } );
   EXPECT_EQ( board->slotIs( 3 ), slot );
   EXPECT_EQ( heard(), Calls{} );
   EXPECT_EQ( board->slotDel( 3 ), slot );
   EXPECT_EQ( slot->references(), 1u );
   EXPECT_EQ( heard(), Calls{ "w slot 3" } );
}

TEST_F( AccessorTest, NewInsertsWithoutNotification ) {
   board->newSlot( 3 );
   board->newLevel( 3, 30 );
   EXPECT_TRUE( board->slot( 3 ) );
   EXPECT_EQ( board->level( 3 ), 30u );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( AccessorTest, NewUnderAPresentKeyIsRefusedAndChangesNothing ) {
   auto const slot = board->newSlot( 3 );
   board->newLevel( 3, 30 );
   board->newSpare( 3, one );
   board->newPort( one );
   EXPECT_EQ(
      refusal( [ & ] { board->newSlot( 3 ); } ), "key 3 is present in Test::Board::slot" );
   EXPECT_EQ(
      refusal( [ & ] { board->newLevel( 3, 40 ); } ),
      "key 3 is present in Test::Board::level" );
   EXPECT_EQ(
      refusal( [ & ] { board->newSpare( 3, two ); } ),
      "key 3 is present in Test::Board::spare" );
   EXPECT_EQ(
      refusal( [ & ] { board->newPort( Ryx::make< Port >( 1u ) ); } ),
      "key 1 is present in Test::Board::port" );
   EXPECT_EQ( board->slot( 3 ), slot );
   EXPECT_EQ( board->level( 3 ), 30u );
   EXPECT_EQ( board->spare( 3 ), one );
   EXPECT_EQ( board->port( 1 ), one );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( AccessorTest, NewOfANullPointerIsRefusedAndChangesNothing ) {
   EXPECT_EQ(
      refusal( [ & ] { board->newPort( nullptr ); } ),
      "null _port parameter to mutator for Test::Board::port not allowed\"" );
   EXPECT_EQ(
      refusal( [ & ] { board->newSpare( 3, nullptr ); } ),
      "null _spare parameter to mutator for Test::Board::spare not allowed\"" );
   EXPECT_EQ( board->spareCount(), 0u );
}

TEST_F( AccessorTest, ACollectionNotificationCallsTheKeyedCallbackAlone ) {
   board->levelIs( 5, 1 );
   EXPECT_EQ( calls.size(), 1u );
}

TEST_F( AccessorTest, ACallbackMayDestroyTheObject ) {
   auto own = Ryx::make< Board >( "own" );
   auto const weak = doubles::watchWeakly< BoardWatcher >( "weak", calls, own );
   Board* const raw = own.ptr();
   weak->action = [ & ] { own = nullptr; };
   raw->slotIs( 1 );
   EXPECT_EQ( heard(), ( Calls{ "weak slot 1", "weak zero" } ) );
}

// A type that is no entity and has no notifiees.
class Counter final : public Ryx::StateOf< Counter, Ryx::PtrInterface > {
 public:
   static constexpr std::string_view fwkTypeName = "Test::Counter";
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::Value< "count", &Counter::count_ >,
         Ryx::Collection< "seen", &Counter::seen_ > >();
   }
   unsigned count() const { return count_; }
   void countIs( unsigned v ) { set< &Counter::count_ >( v ); }
   bool seen( unsigned key ) const { return seen_.value( key ); }
   void seenIs( unsigned key, bool v ) { entryIs< &Counter::seen_ >( key, v ); }
   bool seenDel( unsigned key ) { return entryDel< &Counter::seen_ >( key ); }

 private:
   unsigned count_ = 0;
   Ryx::ValueMap< unsigned, bool > seen_;
};

TEST( Accessor, OnATypeWithoutNotifieesOnlyStores ) {
   auto const counter = Ryx::make< Counter >();
   counter->countIs( 5 );
   EXPECT_EQ( counter->count(), 5u );
   counter->seenIs( 1, true );
   EXPECT_TRUE( counter->seen( 1 ) );
   EXPECT_TRUE( counter->seenDel( 1 ) );
   EXPECT_FALSE( counter->seen( 1 ) );
}

} // namespace
