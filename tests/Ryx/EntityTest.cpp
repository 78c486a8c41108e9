// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Board"

#include <gtest/gtest.h>

namespace {

using doubles::Board;
using doubles::Calls;
using doubles::EntityWatcher;
using doubles::FastPort;
using doubles::Port;
using doubles::refusal;
using doubles::watch;
using Ryx::Ptr;

class EntityTest : public testing::Test {
 protected:
   Calls calls;
   Ptr< Board > const board = Ryx::make< Board >( "board" );
   Ptr< Port > const port = Ryx::make< Port >( 1u );
};

TEST_F( EntityTest, HasANameAndNoParent ) {
   EXPECT_EQ( port->name(), Ryx::Name( "port1" ) );
   EXPECT_EQ( port->parent(), nullptr );
   EXPECT_EQ( port->parentAttr(), "" );
   EXPECT_EQ( port->parentAttrId(), 0u );
   EXPECT_EQ( port->uriPath(), "/port1" );
}

TEST_F( EntityTest, AChildHoldsItsParentAndKnowsItsPlaceThere ) {
   port->parentIs( board );
   port->parentAttrIdIs( 264 );
   EXPECT_EQ( port->parent(), board );
   EXPECT_EQ( static_cast< Port const& >( *port ).parent(), board );
   EXPECT_EQ( board->references(), 2u );
   EXPECT_EQ( port->parentAttrId(), 264u );
   EXPECT_EQ( port->parentAttr(), "port" );
   port->parentIs( nullptr );
   EXPECT_EQ( board->references(), 1u );
   EXPECT_EQ( port->parentAttr(), "" );
}

TEST_F( EntityTest, ThePathLeadsFromTheTopmostParent ) {
   auto const top = Ryx::make< Board >( "switch" );
   board->parentIs( top );
   port->parentIs( board );
   EXPECT_EQ( port->uriPath(), "/switch/board/port1" );
   EXPECT_EQ( port->fullName(), "Test::Port /switch/board/port1" );
}

TEST_F( EntityTest, AnEntityWithoutADescriptionIsNamedByItsPath ) {
   class Plain final : public Ryx::Entity {
    public:
      Plain() : Entity( "plain" ) {}
   };
   EXPECT_EQ( Ryx::make< Plain >()->fullName(), "/plain" );
}

TEST_F( EntityTest, ANewParentIsNotified ) {
   auto const watcher = watch< EntityWatcher >( "w", calls, port );
   watcher->action = [ & ] { EXPECT_EQ( port->parent(), board ); };
   port->parentIs( board );
   EXPECT_EQ( calls, Calls{ "w parent" } );
   port->parentIs( board );
   EXPECT_EQ( calls.size(), 1u );
   port->parentIs( nullptr );
   EXPECT_EQ( calls.size(), 2u );
}

TEST_F( EntityTest, AnExceptionAboutTheParentCarriesItsId ) {
   auto const watcher = watch< EntityWatcher >( "w", calls, port );
   watcher->action = [] { throw 7; };
   port->parentIs( board );
   EXPECT_EQ( calls, ( Calls{ "w parent", "w exception 256" } ) );
}

class Child final : public Ryx::Entity {
 public:
   explicit Child( Calls& calls ) : calls_( calls ) {}
   void handleParent( Ptr< Ryx::Entity > const& parent ) override {
      calls_.push_back( "handles " + parent->name().string() );
   }

 private:
   Calls& calls_;
};

TEST_F( EntityTest, HandlesItsNewParentBeforeOthersHearOfIt ) {
   auto const child = Ryx::make< Child >( calls );
   auto const watcher = watch< EntityWatcher >( "w", calls, child );
   child->parentIs( board );
   EXPECT_EQ( calls, ( Calls{ "handles board", "w parent" } ) );
}

TEST_F( EntityTest, AnEntityIsNotItsOwnAncestor ) {
   auto const top = Ryx::make< Board >( "switch" );
   board->parentIs( top );
   port->parentIs( board );
   auto const watcher = watch< EntityWatcher >( "w", calls, top );
   EXPECT_EQ(
      refusal( [ & ] { top->parentIs( port ); } ),
      "/switch cannot have /switch/board/port1 for its parent: it would be its own "
      "ancestor" );
   EXPECT_EQ(
      refusal( [ & ] { port->parentIs( port ); } ),
      "/switch/board/port1 cannot have /switch/board/port1 for its parent: it would be "
      "its own ancestor" );
   EXPECT_EQ( top->parent(), nullptr );
   EXPECT_EQ( port->parent(), board );
   EXPECT_EQ( calls, Calls{} );
   port->parentIs( nullptr );
   top->parentIs( port );
   EXPECT_EQ( board->uriPath(), "/port1/switch/board" );
   top->parentIs( nullptr );
}

TEST_F( EntityTest, AChildThatEndedLeavesItsParentFreeToMove ) {
   {
      auto const child = Ryx::make< Port >( 2u );
      child->parentIs( board );
      child->parentIs( port );
      child->parentIs( board );
   }
   board->parentIs( port );
   EXPECT_EQ( board->uriPath(), "/port1/board" );
   EXPECT_THROW( port->parentIs( board ), Ryx::RangeException );
}

// Quadratic work or a recursion would be noticed here.
TEST_F( EntityTest, AVeryLongLineOfAncestorsIsBuiltNamedAndEnded ) {
   constexpr int depth = 100000;
   Ptr< Ryx::Entity > lowest = board;
   for ( int i = 0; i < depth; ++i ) {
      auto const child = Ryx::make< Board >( "c" );
      child->parentIs( lowest );
      lowest = child;
   }
   EXPECT_EQ( lowest->uriPath().size(), 6u + 2u * depth );
   EXPECT_THROW( board->parentIs( lowest ), Ryx::RangeException );
   Ptr< Ryx::Entity > highest = Ryx::make< Board >( "h" );
   Ptr< Ryx::Entity > const first = highest;
   for ( int i = 0; i < depth; ++i ) {
      auto const above = Ryx::make< Board >( "h" );
      highest->parentIs( above );
      highest = above;
   }
   EXPECT_EQ( first->uriPath().size(), 2u + 2u * depth );
}

TEST_F( EntityTest, AncestorsEndFromTheLowestUp ) {
   std::vector< std::string > ended;
   class Link final : public Ryx::Entity {
    public:
      Link( std::string name, std::vector< std::string >& ended )
            : Entity( Ryx::Name( name ) ), name_( std::move( name ) ), ended_( ended ) {}
      ~Link() override { ended_.push_back( name_ ); }

    private:
      std::string name_;
      std::vector< std::string >& ended_;
   };
   {
      auto const low = Ryx::make< Link >( "low", ended );
      auto const middle = Ryx::make< Link >( "middle", ended );
      low->parentIs( middle );
      middle->parentIs( Ryx::make< Link >( "high", ended ) );
   }
   EXPECT_EQ( ended, ( Calls{ "low", "middle", "high" } ) );
}

TEST_F( EntityTest, NondestructingNotifiesWhenItChanges ) {
   auto const watcher = watch< EntityWatcher >( "w", calls, port );
   port->isNondestructingIs( false );
   EXPECT_EQ( calls, Calls{} );
   port->isNondestructingIs( true );
   EXPECT_TRUE( port->isNondestructing() );
   EXPECT_EQ( calls, Calls{ "w nondestructing" } );
   port->isNondestructingIs( true );
   EXPECT_EQ( calls.size(), 1u );
   port->isNondestructingIs( false );
   EXPECT_EQ( calls.size(), 2u );
   EXPECT_FALSE( port->isNondestructing() );
}

TEST_F( EntityTest, PinningAndUnpinningKeepsTheReferences ) {
   auto const watcher = watch< EntityWatcher >( "w", calls, port );
   EXPECT_EQ( port->references(), 2u );
   port->isNondestructingIs( true );
   { Ptr< Port > const more = port; }
   port->isNondestructingIs( false );
   EXPECT_EQ( port->references(), 2u );
}

TEST_F( EntityTest, AnExceptionAboutNondestructingCarriesItsId ) {
   auto const watcher = watch< EntityWatcher >( "w", calls, port );
   watcher->action = [] { throw 7; };
   port->isNondestructingIs( true );
   EXPECT_EQ( calls, ( Calls{ "w nondestructing", "w exception 6" } ) );
   port->isNondestructingIs( false );
}

TEST_F( EntityTest, ZeroReferencesNotifiesAllNotifiees ) {
   auto const a = watch( "a", calls, port );
   auto const b = watch< doubles::Watcher >( "b", calls, port );
   port->zeroReferencesIs( true );
   EXPECT_EQ( calls, ( Calls{ "a zero", "b zero" } ) );
}

TEST_F( EntityTest, ANotifieeOfAMutableEntityMayChangeIt ) {
   class Adopter final : public Ryx::Entity::Notifiee {
    public:
      void onParent() override { notifier()->parentAttrIdIs( 261 ); }
   };
   static_assert( std::is_base_of_v< Ryx::Entity::NotifieeConst, Ryx::Entity::Notifiee > );
   auto const adopter = Ryx::make< Adopter >();
   static_assert( std::is_same_v< decltype( adopter->notifier() ), Ptr< Ryx::Entity > > );
   adopter->notifierIs( port );
   adopter->isRegisteredNotifieeIs( true );
   port->parentIs( board );
   EXPECT_EQ( port->parentAttrId(), 261u );
   EXPECT_EQ( adopter->notifier(), port );
}

TEST_F( EntityTest, AttributeStringFallsBackFromTypeToBaseToUnknown ) {
   auto const fast = Ryx::make< FastPort >( 1u );
   EXPECT_EQ( fast->attributeString( 261 ), "lanes" );
   EXPECT_EQ( fast->attributeString( 262 ), "power" );
   EXPECT_EQ( fast->attributeString( 258 ), "intfId" );
   EXPECT_EQ( fast->attributeString( 260 ), "label" );
   EXPECT_EQ( fast->attributeString( 257 ), "version" );
   EXPECT_EQ( fast->attributeString( 256 ), "parent" );
   EXPECT_EQ( fast->attributeString( 6 ), "isNondestructing" );
   EXPECT_EQ( fast->attributeString( 5 ), "zeroReferences" );
   EXPECT_EQ( fast->attributeString( 263 ), "unknown" );
   EXPECT_EQ( fast->attributeString( 0 ), "unknown" );
   EXPECT_EQ( port->attributeString( 261 ), "unknown" );
}

TEST_F( EntityTest, AnExplicitIdIsWhereTheNextOnesCountFrom ) {
   EXPECT_EQ( board->attributeString( 267 ), "sensor" );
   EXPECT_EQ( board->attributeString( 268 ), "unknown" );
   EXPECT_EQ( board->attributeString( 300 ), "total" );
   EXPECT_EQ( board->attributeString( 301 ), "sum" );
}

TEST_F( EntityTest, TheHooksOfTheDatabaseDoNothing ) {
   EXPECT_EQ( port->ryxNboAttrLogSa(), nullptr );
   EXPECT_EQ( port->ryxHboAttrLogSa(), nullptr );
   port->ryxNotifieeAdapterIs( board );
   EXPECT_EQ( board->references(), 1u );
}

TEST( Entity, CallbacksDoNothingByDefault ) {
   class Silent final : public Board::NotifieeConst {};
   auto const board = Ryx::make< Board >( "board" );
   auto const silent = Ryx::make< Silent >();
   silent->notifierIs( board );
   silent->isRegisteredNotifieeIs( true );
   board->modeIs( doubles::Mode::fast );
   board->levelIs( 1, 1 );
   board->isNondestructingIs( true );
   board->isNondestructingIs( false );
   board->parentIs( Ryx::make< Board >( "parent" ) );
   board->zeroReferencesIs( true );
   silent->handleDefault( nullptr, Ryx::allAttributesId, true );
   silent->onAttribute( 1 );
   silent->onNotification();
   silent->onCollectionNotification( "x" );
   silent->onNotificationException();
   silent->onNotificationException( 1 );
   silent->handleNotificationException();
   silent->handleNotificationException( 1 );
   silent->ryx_bitSetIs( 1 );
   EXPECT_EQ( silent->references(), 1u );
}

} // namespace
