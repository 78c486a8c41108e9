// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Every kind of attribute, used by name.

#include "GenericDoubles"

#include <gtest/gtest.h>

namespace {

using doubles::Board;
using doubles::BoardWatcher;
using doubles::ByName;
using doubles::Calls;
using doubles::Generic;
using doubles::listOf;
using doubles::Mode;
using doubles::Port;
using doubles::Supervisor;
using doubles::Supply;
using doubles::toGeneric;
using Ryx::GenericIf;
using Ryx::Ptr;

class GenericIfTest : public testing::Test {
 protected:
   Calls heard() { return std::exchange( calls, {} ); }
   static Generic key( unsigned key ) { return toGeneric( key ); }

   Calls calls;
   Ptr< Board > const board = Ryx::make< Board >( "board" );
   Ptr< BoardWatcher > const watcher = doubles::watch< BoardWatcher >( "w", calls, board );
   Ptr< Port > const one = Ryx::make< Port >( 1u );
   Ptr< Port > const two = Ryx::make< Port >( 2u );
   ByName const byName{ board };
};

TEST_F( GenericIfTest, AnAdapterKnowsItsObject ) {
   EXPECT_EQ( byName.adapter->type(), Board::_fwkType() );
   EXPECT_EQ( byName.adapter->object(), board.ptr() );
   EXPECT_EQ( byName.adapter->strRep(), "board" );
   EXPECT_FALSE( byName.adapter->isConst() );
   EXPECT_TRUE( ByName( board, true ).adapter->isConst() );
   EXPECT_NE( Ryx::ptrCast< Ryx::GenericIfEntity >( byName.adapter ), nullptr );
   EXPECT_NE( Ryx::ptrCast< Board::GenericIf_ >( byName.adapter ), nullptr );
}

TEST_F( GenericIfTest, AnAdapterHoldsItsObject ) {
   EXPECT_EQ( board->references(), 3u );
}

TEST_F( GenericIfTest, AnObjectThatIsNoEntityIsNamedByItsType ) {
   ByName const supervisor( Ryx::make< Supervisor >( calls ) );
   EXPECT_EQ( supervisor.adapter->strRep(), "Test::Supervisor" );
   EXPECT_EQ( Ryx::ptrCast< Ryx::GenericIfEntity >( supervisor.adapter ), nullptr );
   EXPECT_EQ( supervisor.adapter->attributeString( 258 ), "master" );
   EXPECT_EQ( supervisor.adapter->attributeString( 999 ), "unknown" );
}

// An object of a type that nobody has described.
class Undescribed final : public Ryx::PtrInterface {
 public:
   Ryx::RyxType* fwkType() const override { return nullptr; }
};

TEST_F( GenericIfTest, AnObjectWithoutADescriptionHasNoAttributes ) {
   Generic const adapter = Ryx::wrapObject( Ryx::make< Undescribed >(), false );
   EXPECT_EQ( adapter->type(), nullptr );
   EXPECT_EQ( adapter->strRep(), "object" );
   EXPECT_EQ( adapter->attributeId( "speed" ), 0u );
   EXPECT_EQ( adapter->attributeString( 258 ), "unknown" );
   EXPECT_EQ(
      support::refusal( [ & ] {
         adapter->attributeOp( { 258, GenericIf::get }, nullptr, nullptr );
      } ),
      "object has no attribute 258" );
}

TEST_F( GenericIfTest, NamesAndIdsOfAttributesAreFoundFromEachOther ) {
   EXPECT_EQ( byName.adapter->attributeId( "mode" ), 258u );
   EXPECT_EQ( byName.adapter->attributeId( "isNondestructing" ), 6u );
   EXPECT_EQ( byName.adapter->attributeId( "nothing" ), 0u );
   EXPECT_EQ( byName.adapter->attributeString( 261 ), "level" );
   EXPECT_EQ( byName.adapter->attributeString( 999 ), "unknown" );
   ByName const fast( Ryx::make< doubles::FastPort >( 1u ) );
   EXPECT_EQ( fast.adapter->attributeId( "speed" ), 259u );
   EXPECT_EQ( fast.adapter->attributeString( 261 ), "lanes" );
}

TEST_F( GenericIfTest, IsNondestructingIsReadAndSet ) {
   EXPECT_EQ( byName.text( "isNondestructing" ), "false" );
   byName.set( "isNondestructing", toGeneric( true ) );
   EXPECT_TRUE( board->isNondestructing() );
   byName.set( "isNondestructing", toGeneric( false ) );
   EXPECT_FALSE( board->isNondestructing() );
}

TEST_F( GenericIfTest, AScalarIsReadAndSetAndNotifiesLikeAnyOther ) {
   EXPECT_EQ( byName.text( "mode" ), "off" );
   byName.set( "mode", toGeneric( Mode::fast ) );
   EXPECT_EQ( board->mode(), Mode::fast );
   EXPECT_EQ( heard(), Calls{ "w mode" } );
   EXPECT_EQ( byName.text( "mode" ), "fast" );
   byName.set(
      "mode",
      Board::_fwkType()->attr( Ryx::Name( "mode" ) )->valueType()->code().parse( "slow" ) );
   EXPECT_EQ( board->mode(), Mode::slow );
   EXPECT_EQ( byName.text( "mode", GenericIf::defaultValue ), "off" );
}

TEST_F( GenericIfTest, AnObjectIsAdaptedThroughItsOwnTypeOrABaseOfIt ) {
   Ptr< Ryx::PtrInterface const > const fast = Ryx::make< doubles::FastPort >( 1u );
   Generic const asPort = Port::_fwkType()->code().wrap( fast, false );
   EXPECT_EQ( asPort->type(), doubles::FastPort::_fwkType() );
   EXPECT_EQ( asPort->strRep(), "port1" );
   EXPECT_EQ( Port::_fwkType()->code().wrap( nullptr, false ), nullptr );
   EXPECT_EQ( Ryx::wrapObject( nullptr, false ), nullptr );
}

TEST_F( GenericIfTest, AnAttributeOfTheBaseIsUsedLikeAnOwnOne ) {
   auto const fast = Ryx::make< doubles::FastPort >( 1u );
   ByName const fastByName( fast );
   fastByName.set( "speed", toGeneric( 7u ) );
   fastByName.set( "lanes", toGeneric( 4u ) );
   EXPECT_EQ( fast->speed(), 7u );
   EXPECT_EQ( fast->lanes(), 4u );
   EXPECT_EQ( fastByName.text( "speed" ), "7" );
}

TEST_F( GenericIfTest, AReferenceIsReadAsAnAdapterAndMayBeNull ) {
   EXPECT_EQ( byName.text( "uplink" ), "null" );
   byName.set( "uplink", toGeneric( one ) );
   EXPECT_EQ( board->uplink(), one );
   EXPECT_EQ( byName.text( "uplink" ), "port1" );
   Generic const uplink = byName.operate( "uplink", GenericIf::get );
   uplink->attributeOp( { 259, GenericIf::set }, nullptr, toGeneric( 9u ) );
   EXPECT_EQ( one->speed(), 9u );
   byName.set( "uplink", nullptr );
   EXPECT_EQ( board->uplink(), nullptr );
   EXPECT_EQ( byName.text( "uplink", GenericIf::defaultValue ), "null" );
}

TEST_F( GenericIfTest, AContainedObjectOfAConstInstanceIsConst ) {
   board->uplinkIs( one );
   EXPECT_TRUE( ByName( board, true ).operate( "uplink", GenericIf::get )->isConst() );
   EXPECT_FALSE( byName.operate( "uplink", GenericIf::get )->isConst() );
}

TEST_F( GenericIfTest, TheFieldsOfAStructureAreReadAndSetByName ) {
   Generic const supply = toGeneric( Supply{ 12, "grid" } );
   EXPECT_EQ( supply->strRep(), "12 V grid" );
   EXPECT_EQ( supply->attributeId( "source" ), 259u );
   auto const read = [ & ]( Ryx::AttributeId id ) {
      return supply->attributeOp( { id, GenericIf::get }, nullptr, nullptr )->strRep();
   };
   EXPECT_EQ( read( 258 ), "12" );
   supply->attributeOp( { 258, GenericIf::set }, nullptr, toGeneric( 48u ) );
   EXPECT_EQ( read( 258 ), "48" );
   EXPECT_EQ( read( 259 ), "grid" );
   byName.set( "supply", supply );
   EXPECT_EQ( board->supply(), ( Supply{ 48, "grid" } ) );
}

TEST_F( GenericIfTest, AValueCollectionIsReadChangedAndEmptied ) {
   byName.operate( "level", GenericIf::set, key( 5 ), toGeneric( 70u ) );
   EXPECT_EQ( board->level( 5 ), 70u );
   EXPECT_EQ( heard(), Calls{ "w level 5" } );
   EXPECT_EQ( byName.text( "level", GenericIf::get, key( 5 ) ), "70" );
   EXPECT_EQ( byName.text( "level", GenericIf::get, key( 6 ) ), "0" );
   EXPECT_EQ( byName.text( "level", GenericIf::size ), "1" );
   EXPECT_EQ( byName.text( "level", GenericIf::has, key( 5 ) ), "true" );
   EXPECT_EQ( byName.text( "level", GenericIf::has, key( 6 ) ), "false" );
   EXPECT_EQ( byName.text( "level", GenericIf::defaultValue ), "0" );
   EXPECT_EQ( byName.text( "level", GenericIf::del, key( 5 ) ), "70" );
   EXPECT_EQ( heard(), Calls{ "w level 5" } );
   EXPECT_EQ( byName.text( "level", GenericIf::del, key( 5 ) ), "0" );
   EXPECT_EQ( heard(), Calls{} );
}

TEST_F( GenericIfTest, AnIteratorEmptiesACollectionInOrder ) {
   for ( unsigned const member : { 1u, 2u, 3u } ) {
      board->newLevel( member, 0 );
   }
   support::delAll( byName.adapter, "level" );
   EXPECT_EQ( heard(), ( Calls{ "w level 2", "w level 1", "w level 3" } ) );
   EXPECT_EQ( byName.text( "level", GenericIf::size ), "0" );
}

TEST_F( GenericIfTest, ASetMemberThatIsSetToFalseIsRemoved ) {
   byName.operate( "held", GenericIf::set, key( 5 ), toGeneric( true ) );
   EXPECT_TRUE( board->held( 5 ) );
   byName.operate( "held", GenericIf::set, key( 5 ), toGeneric( false ) );
   EXPECT_EQ( board->heldCount(), 0u );
}

TEST_F( GenericIfTest, APointerCollectionTakesObjects ) {
   byName.operate( "spare", GenericIf::set, key( 7 ), toGeneric( one ) );
   EXPECT_EQ( board->spare( 7 ), one );
   EXPECT_EQ( byName.text( "spare", GenericIf::get, key( 7 ) ), "port1" );
   EXPECT_EQ( byName.text( "spare", GenericIf::get, key( 8 ) ), "null" );
   EXPECT_EQ( byName.text( "spare", GenericIf::del, key( 7 ) ), "port1" );
   EXPECT_EQ( board->spare( 7 ), nullptr );
}

TEST_F( GenericIfTest, AnElementIsSetWithOrWithoutItsOwnKey ) {
   byName.set( "port", toGeneric( one ) );
   byName.operate( "port", GenericIf::set, key( 2 ), toGeneric( two ) );
   EXPECT_EQ( board->port( 1 ), one );
   EXPECT_EQ( board->port( 2 ), two );
}

TEST_F( GenericIfTest, AnObjectIsMadeFromItsKey ) {
   Generic const made = byName.operate( "slot", GenericIf::set, key( 3 ) );
   ASSERT_TRUE( board->slot( 3 ) );
   ASSERT_TRUE( made );
   EXPECT_EQ( made->object(), board->slot( 3 ).ptr() );
   EXPECT_FALSE( made->isConst() );
   EXPECT_EQ( heard(), Calls{ "w slot 3" } );
   Generic const again = byName.operate( "slot", GenericIf::set, key( 3 ), listOf( {} ) );
   EXPECT_EQ( again->object(), made->object() );
   EXPECT_EQ( heard(), Calls{} );
   EXPECT_EQ( byName.text( "slot", GenericIf::get, key( 3 ) ), "slot" );
   EXPECT_EQ( byName.text( "slot", GenericIf::del, key( 3 ) ), "slot" );
   EXPECT_FALSE( board->slot( 3 ) );
   EXPECT_EQ( heard(), Calls{ "w slot 3" } );
}

TEST_F( GenericIfTest, MembersOfAConstInstanceAreConst ) {
   board->spareIs( 7, one );
   EXPECT_TRUE(
      ByName( board, true ).operate( "spare", GenericIf::get, key( 7 ) )->isConst() );
}

TEST_F( GenericIfTest, AnOperationIsCalledWithArgumentsByName ) {
   Generic const arguments =
      listOf( { { "second", toGeneric( 30u ) }, { "first", toGeneric( 4u ) } } );
   EXPECT_EQ( arguments->strRep(), "( second = 30, first = 4 )" );
   EXPECT_EQ( byName.text( "sum", GenericIf::get, nullptr, arguments ), "34" );
   EXPECT_EQ(
      ByName( board, true ).text( "sum", GenericIf::get, nullptr, arguments ), "34" );
}

TEST_F( GenericIfTest, AnOperationWithoutArgumentsNeedsNoList ) {
   board->totalIs( 5 );
   EXPECT_EQ( byName.text( "reset" ), "null" );
   EXPECT_EQ( board->total(), 0u );
   EXPECT_EQ( byName.text( "reset", GenericIf::get, nullptr, listOf( {} ) ), "null" );
}

TEST_F( GenericIfTest, AnObjectArgumentMayBeNullOrMissing ) {
   Generic const result = byName.operate(
      "adopt", GenericIf::get, nullptr, listOf( { { "port", toGeneric( one ) } } ) );
   EXPECT_EQ( board->uplink(), one );
   EXPECT_EQ( result->object(), one.ptr() );
   EXPECT_TRUE( result->isConst() );
   byName.operate( "adopt", GenericIf::get, nullptr, listOf( { { "port", nullptr } } ) );
   EXPECT_EQ( board->uplink(), nullptr );
   board->uplinkIs( one );
   byName.operate( "adopt", GenericIf::get, nullptr, listOf( {} ) );
   EXPECT_EQ( board->uplink(), nullptr );
}

TEST_F( GenericIfTest, AnArgumentGivenTwiceHasItsLastValue ) {
   Ryx::GenericIfList list;
   list.argumentIs( "x", toGeneric( 1u ) );
   list.argumentIs( "x", toGeneric( 2u ) );
   list.argumentIs( "y", nullptr );
   EXPECT_EQ( list.strRep(), "( x = 2, y = null )" );
   EXPECT_EQ( list.argument( "z" ), nullptr );
   Ryx::GenericIfList const whole(
      { { "x", toGeneric( 1u ) }, { "y", nullptr }, { "x", toGeneric( 2u ) } } );
   EXPECT_EQ( whole.strRep(), "( x = 2, y = null )" );
   EXPECT_EQ( support::text( whole.argument( "x" ) ), "2" );
   EXPECT_EQ(
      byName.text(
         "sum",
         GenericIf::get,
         nullptr,
         listOf( { { "first", toGeneric( true ) },
                   { "second", toGeneric( 30u ) },
                   { "first", toGeneric( 4u ) } } ) ),
      "34" );
}

TEST_F( GenericIfTest, APropertyIsReadAndSetThroughItsAccessors ) {
   EXPECT_EQ( byName.text( "weight" ), "1.5" );
   byName.set( "weight", toGeneric( 2.5 ) );
   EXPECT_EQ( board->weight(), 2.5 );
   EXPECT_EQ( byName.text( "age" ), "3" );
}

TEST_F( GenericIfTest, AnInstantiatedObjectIsMadeReadAndDeleted ) {
   EXPECT_EQ( byName.text( "fan" ), "null" );
   Generic const arguments = listOf(
      { { "intfId", toGeneric( 8u ) }, { "label", toGeneric( Ryx::String8( "f" ) ) } } );
   EXPECT_EQ( byName.text( "fan", GenericIf::set, nullptr, arguments ), "port8" );
   EXPECT_EQ( board->fan()->label(), "f" );
   EXPECT_EQ( byName.text( "fan" ), "port8" );
   EXPECT_EQ( byName.text( "fan", GenericIf::del ), "port8" );
   EXPECT_EQ( board->fan(), nullptr );
}

TEST_F( GenericIfTest, AnInstantiatedObjectOfADerivedTypeIsReachedAsWhatItIs ) {
   Generic const arguments = listOf(
      { { "intfId", toGeneric( 8u ) }, { "label", toGeneric( Ryx::String8( "fast" ) ) } } );
   Generic const made = byName.operate( "fan", GenericIf::set, nullptr, arguments );
   EXPECT_EQ( support::text( support::get( made, "lanes" ) ), "1" );
}

TEST_F( GenericIfTest, AConstantIsRead ) {
   EXPECT_EQ( byName.text( "highest" ), "99" );
}

TEST_F( GenericIfTest, AnInputIsSetReadAndDeleted ) {
   auto const supervisor = Ryx::make< Supervisor >( calls );
   ByName const inputs( supervisor );
   EXPECT_EQ( inputs.text( "master" ), "null" );
   inputs.set( "master", toGeneric( one ) );
   EXPECT_EQ( supervisor->master(), one );
   EXPECT_TRUE( inputs.operate( "master", GenericIf::get )->isConst() );
   EXPECT_EQ( inputs.text( "master", GenericIf::del ), "port1" );
   EXPECT_EQ( supervisor->master(), nullptr );
}

TEST_F( GenericIfTest, AReactorCollectionTakesInputsAndRetiresReactors ) {
   auto const supervisor = Ryx::make< Supervisor >( calls );
   ByName const inputs( supervisor );
   inputs.set( "port", toGeneric( one ) );
   inputs.set( "port", toGeneric( two ) );
   auto const reactor = supervisor->port( 1 );
   EXPECT_EQ( inputs.text( "port", GenericIf::get, key( 1 ) ), "port1" );
   EXPECT_EQ( inputs.text( "port", GenericIf::del, key( 1 ) ), "port1" );
   EXPECT_TRUE( reactor->ryxMarkedForDeletion() );
   EXPECT_EQ( reactor->owner(), nullptr );
   support::delAll( inputs.adapter, "port" );
   EXPECT_EQ( supervisor->ports(), 0u );
}

TEST_F( GenericIfTest, ObjectsAreMadeByNameFromTheirConstructorsArguments ) {
   auto const& code = Ryx::RyxType::type( "Test::Board" )->code();
   auto const arguments = listOf(
      { { "name", toGeneric( Ryx::Name( "made" ) ) }, { "uplink", toGeneric( one ) } } );
   Generic const made =
      code.construct( static_cast< GenericIf::List_ const& >( *arguments ) );
   EXPECT_EQ( made->type(), Board::_fwkType() );
   EXPECT_EQ( made->strRep(), "made" );
   EXPECT_FALSE( made->isConst() );
   EXPECT_EQ( static_cast< Board const* >( made->object() )->uplink(), one );
}

TEST_F( GenericIfTest, ValuesAreMadeByNameFromText ) {
   auto const& code = Ryx::RyxType::type( "Ryx::Builtin<double>" )->code();
   EXPECT_EQ( code.parse( "2.50" )->strRep(), "2.5" );
   EXPECT_EQ( code.defaultValue()->strRep(), "0" );
   EXPECT_EQ(
      doubles::refusal( [ & ] { code.parse( "2.5x" ); } ),
      "junk at column 3 deserializing 2.5x" );
}

} // namespace
