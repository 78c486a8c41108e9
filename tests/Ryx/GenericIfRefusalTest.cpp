// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the by-name interface refuses, with which text, and which refusal comes first. A
// refused operation changes nothing and notifies nobody.

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
using doubles::toGeneric;
using Ryx::GenericIf;
using Ryx::Ptr;
using support::badIndex;
using support::constInstance;
using support::notSupported;
using support::wrongType;

constexpr unsigned char noSuchRead = 77;
constexpr unsigned char noSuchChange = 200;

class GenericIfRefusalTest : public testing::Test {
 protected:
   ~GenericIfRefusalTest() override { EXPECT_EQ( calls, Calls{} ); }

   Calls calls;
   Generic const key = toGeneric( 5u );
   Ptr< Port > const port = Ryx::make< Port >( 1u );
   Ptr< Board > const board = Ryx::make< Board >( "board" );
   Ptr< BoardWatcher > const watcher = doubles::watch< BoardWatcher >( "w", calls, board );
   ByName const byName{ board };
   ByName const asConst{ board, true };
   Ptr< Supervisor > const owner = Ryx::make< Supervisor >( calls );
   ByName const supervisor{ owner };
   ByName const constSupervisor{ owner, true };
};

// The attributes that have no index, with a code that each of them supports.
std::vector< std::pair< std::string, unsigned char > > const unindexed{
   { "isNondestructing", GenericIf::get },
   { "mode", GenericIf::get },
   { "uplink", GenericIf::defaultValue },
   { "supply", GenericIf::set },
   { "vendor", GenericIf::get },
   { "sum", GenericIf::get },
   { "weight", GenericIf::set },
   { "age", GenericIf::get },
   { "fan", GenericIf::del },
   { "highest", GenericIf::get },
   { "ryxFwkActivity", GenericIf::get },
};

TEST_F( GenericIfRefusalTest, IsAnExceptionOfItsOwn ) {
   EXPECT_THROW( byName.operate( "mode", noSuchRead ), Ryx::GenericIfException );
   EXPECT_THROW( byName.operate( "mode", noSuchRead ), Ryx::RangeException );
}

TEST_F( GenericIfRefusalTest, AnIndexWhereNoneIsWanted ) {
   for ( auto const& [ name, code ] : unindexed ) {
      EXPECT_EQ( byName.refused( name, code, key ), badIndex( name ) );
   }
   EXPECT_EQ( supervisor.refused( "master", GenericIf::get, key ), badIndex( "master" ) );
   EXPECT_EQ( byName.refused( "level", GenericIf::size, key ), badIndex( "level" ) );
   EXPECT_EQ(
      byName.refused( "level", GenericIf::defaultValue, key ), badIndex( "level" ) );
}

TEST_F( GenericIfRefusalTest, ABadIndexComesBeforeEverythingElse ) {
   for ( auto const& [ name, code ] : unindexed ) {
      EXPECT_EQ( asConst.refused( name, GenericIf::set, key ), badIndex( name ) );
      EXPECT_EQ( asConst.refused( name, noSuchChange, key ), badIndex( name ) );
      EXPECT_EQ( byName.refused( name, noSuchRead, key ), badIndex( name ) );
   }
}

TEST_F( GenericIfRefusalTest, AMissingOrWrongIndexOfACollection ) {
   Generic const wrong = toGeneric( Ryx::String8( "5" ) );
   for ( char const* name : { "level", "held", "spare", "port", "slot" } ) {
      for ( unsigned char const code :
            { GenericIf::get, GenericIf::has, GenericIf::del } ) {
         EXPECT_EQ( byName.refused( name, code ), badIndex( name ) );
         EXPECT_EQ( byName.refused( name, code, wrong ), badIndex( name ) );
      }
   }
   EXPECT_EQ(
      byName.refused( "level", GenericIf::set, nullptr, toGeneric( 1u ) ),
      badIndex( "level" ) );
   EXPECT_EQ( byName.refused( "slot", GenericIf::set ), badIndex( "slot" ) );
   EXPECT_EQ(
      supervisor.refused( "port", GenericIf::get, toGeneric( port ) ), badIndex( "port" ) );
   EXPECT_EQ( supervisor.refused( "port", GenericIf::del ), badIndex( "port" ) );
}

TEST_F( GenericIfRefusalTest, DeletingWithoutAnIndexRemovesNothing ) {
   board->newLevel( 1, 0 );
   EXPECT_EQ( byName.refused( "level", GenericIf::del ), badIndex( "level" ) );
   EXPECT_EQ( board->levels().size(), 1u );
}

TEST_F( GenericIfRefusalTest, AnElementOrInputUnderAnotherKeyThanItsOwn ) {
   EXPECT_EQ(
      byName.refused( "port", GenericIf::set, key, toGeneric( port ) ),
      badIndex( "port" ) );
   EXPECT_EQ(
      supervisor.refused( "port", GenericIf::set, key, toGeneric( port ) ),
      badIndex( "port" ) );
   EXPECT_EQ( board->port( 1 ), nullptr );
   EXPECT_EQ( owner->ports(), 0u );
}

TEST_F( GenericIfRefusalTest, AChangeOfAConstInstance ) {
   for ( auto const& [ name, code ] : unindexed ) {
      EXPECT_EQ( asConst.refused( name, GenericIf::set ), constInstance );
   }
   for ( char const* name : { "level", "held", "spare", "port", "slot", "sensor" } ) {
      EXPECT_EQ( asConst.refused( name, GenericIf::set, key ), constInstance );
      EXPECT_EQ( asConst.refused( name, GenericIf::del ), constInstance );
   }
   EXPECT_EQ(
      constSupervisor.refused( "master", GenericIf::set, nullptr, toGeneric( port ) ),
      constInstance );
   EXPECT_EQ( constSupervisor.refused( "port", GenericIf::del, key ), constInstance );
}

TEST_F( GenericIfRefusalTest, AConstInstanceComesBeforeAnUnsupportedOperation ) {
   for ( char const* name :
         { "mode", "vendor", "sensor", "level", "sum", "age", "highest" } ) {
      EXPECT_EQ( asConst.refused( name, noSuchChange ), constInstance );
      EXPECT_EQ( asConst.refused( name, 128 ), constInstance );
      EXPECT_EQ( asConst.refused( name, noSuchRead ), notSupported( name ) );
   }
}

TEST_F( GenericIfRefusalTest, AnOperationThatChangesAConstInstance ) {
   EXPECT_EQ( asConst.refused( "reset", GenericIf::get ), constInstance );
   EXPECT_EQ(
      asConst.refused( "reset", GenericIf::get, nullptr, listOf( { { "x", key } } ) ),
      constInstance );
}

TEST_F( GenericIfRefusalTest, AnUnsupportedOperation ) {
   for ( char const* name : { "isNondestructing",
                              "mode",
                              "level",
                              "vendor",
                              "sensor",
                              "sum",
                              "weight",
                              "fan",
                              "highest",
                              "ryxFwkActivity" } ) {
      EXPECT_EQ( byName.refused( name, noSuchRead ), notSupported( name ) );
      EXPECT_EQ( byName.refused( name, noSuchChange ), notSupported( name ) );
   }
   EXPECT_EQ( supervisor.refused( "master", noSuchRead ), notSupported( "master" ) );
   EXPECT_EQ( supervisor.refused( "port", noSuchChange ), notSupported( "port" ) );
}

TEST_F( GenericIfRefusalTest, AnOperationThatTheKindDoesNotHave ) {
   for ( auto const& [ name, code ] :
         std::vector< std::pair< char const*, unsigned char > >{
            { "mode", GenericIf::size },
            { "mode", GenericIf::has },
            { "mode", GenericIf::del },
            { "isNondestructing", GenericIf::del },
            { "vendor", GenericIf::get },
            { "vendor", GenericIf::set },
            { "sensor", GenericIf::size },
            { "sum", GenericIf::set },
            { "age", GenericIf::set },
            { "weight", GenericIf::del },
            { "highest", GenericIf::set },
            { "ryxFwkActivity", GenericIf::get } } ) {
      EXPECT_EQ( byName.refused( name, code ), notSupported( name ) );
   }
   EXPECT_EQ(
      ByName( port ).refused( "intfId", GenericIf::set, nullptr, toGeneric( 2u ) ),
      notSupported( "intfId" ) );
   EXPECT_EQ( supervisor.refused( "master", GenericIf::size ), notSupported( "master" ) );
}

TEST_F( GenericIfRefusalTest, AnAttributeThatTheTypeDoesNotHave ) {
   EXPECT_EQ(
      byName.refused( "nothing", GenericIf::get ), "Test::Board has no attribute 0" );
   EXPECT_EQ(
      supervisor.refused( "isNondestructing", GenericIf::get ),
      "Test::Supervisor has no attribute 0" );
   EXPECT_EQ(
      doubles::refusal( [ this ] {
         key->attributeOp( { 258, GenericIf::get }, nullptr, nullptr );
      } ),
      "Ryx::Builtin<unsigned int> has no attribute 258" );
}

TEST_F( GenericIfRefusalTest, AnUnknownArgument ) {
   EXPECT_EQ(
      byName.refused( "sum", GenericIf::get, nullptr, listOf( { { "third", key } } ) ),
      support::unknownArgument( "sum", "third" ) );
   EXPECT_EQ(
      byName.refused( "reset", GenericIf::get, nullptr, listOf( { { "x", key } } ) ),
      support::unknownArgument( "reset", "x" ) );
   EXPECT_EQ(
      byName.refused( "fan", GenericIf::set, nullptr, listOf( { { "name", key } } ) ),
      support::unknownArgument( "fan", "name" ) );
   EXPECT_EQ( board->fan(), nullptr );
}

TEST_F( GenericIfRefusalTest, AnUnknownArgumentComesBeforeOneOfAWrongType ) {
   Generic const text = toGeneric( Ryx::String8( "x" ) );
   EXPECT_EQ(
      byName.refused(
         "sum",
         GenericIf::get,
         nullptr,
         listOf( { { "first", text }, { "third", key } } ) ),
      support::unknownArgument( "sum", "third" ) );
}

TEST_F( GenericIfRefusalTest, ArgumentsThatAreNoList ) {
   std::string const noList = wrongType( "List", "Ryx::GenericIf::List_" );
   EXPECT_EQ( byName.refused( "sum", GenericIf::get ), noList );
   EXPECT_EQ( byName.refused( "sum", GenericIf::get, nullptr, key ), noList );
   EXPECT_EQ( byName.refused( "reset", GenericIf::get, nullptr, key ), noList );
   EXPECT_EQ( byName.refused( "fan", GenericIf::set ), noList );
}

TEST_F( GenericIfRefusalTest, AnArgumentThatIsMissingOrOfAWrongType ) {
   std::string const number = "Ryx::Builtin<unsigned int>";
   EXPECT_EQ(
      byName.refused( "sum", GenericIf::get, nullptr, listOf( { { "first", key } } ) ),
      support::isNull( "second", number ) );
   EXPECT_EQ(
      byName.refused(
         "sum", GenericIf::get, nullptr, listOf( { { "first", toGeneric( 5 ) } } ) ),
      wrongType( "first", number ) );
   EXPECT_EQ(
      byName.refused( "adopt", GenericIf::get, nullptr, listOf( { { "port", key } } ) ),
      wrongType( "port", "Test::Port" ) );
   EXPECT_EQ(
      byName.refused(
         "adopt", GenericIf::get, nullptr, listOf( { { "port", byName.adapter } } ) ),
      wrongType( "port", "Test::Port" ) );
   EXPECT_EQ( board->uplink(), nullptr );
}

TEST_F( GenericIfRefusalTest, AValueOfAWrongType ) {
   EXPECT_EQ(
      byName.refused( "mode", GenericIf::set ), support::isNull( "mode", "Test::Mode" ) );
   EXPECT_EQ(
      byName.refused( "mode", GenericIf::set, nullptr, key ),
      wrongType( "mode", "Test::Mode" ) );
   EXPECT_EQ(
      byName.refused( "level", GenericIf::set, key, toGeneric( true ) ),
      wrongType( "level", "Ryx::Builtin<unsigned int>" ) );
   EXPECT_EQ(
      byName.refused( "spare", GenericIf::set, key, key ),
      wrongType( "spare", "Test::Port" ) );
   EXPECT_EQ(
      byName.refused( "uplink", GenericIf::set, nullptr, byName.adapter ),
      wrongType( "uplink", "Test::Port" ) );
   EXPECT_EQ(
      byName.refused( "isNondestructing", GenericIf::set, nullptr, key ),
      wrongType( "isNondestructing", "Ryx::Builtin<bool>" ) );
   EXPECT_EQ(
      supervisor.refused( "master", GenericIf::set, nullptr, byName.adapter ),
      wrongType( "master", "Test::Port" ) );
   EXPECT_EQ(
      ByName( port ).refused(
         "label", GenericIf::set, nullptr, toGeneric( Ryx::Name( "x" ) ) ),
      wrongType( "label", "Ryx::String8" ) );
   EXPECT_EQ( board->levels().size(), 0u );
}

TEST_F( GenericIfRefusalTest, AValueForAnObjectThatIsMadeFromItsKey ) {
   std::string const noList = wrongType( "List", "Ryx::GenericIf::List_" );
   EXPECT_EQ( byName.refused( "slot", GenericIf::set, key, key ), noList );
   EXPECT_EQ( byName.refused( "slot", GenericIf::set, key, byName.adapter ), noList );
   EXPECT_EQ(
      byName.refused( "slot", GenericIf::set, key, listOf( { { "intfId", key } } ) ),
      support::unknownArgument( "slot", "intfId" ) );
   EXPECT_FALSE( board->slot( 5 ) );
}

TEST_F( GenericIfRefusalTest, AnAdapterOfAnObjectOfAnotherType ) {
   auto const& wrap = Board::_fwkType()->code().wrap;
   for ( Ptr< Ryx::PtrInterface const > const& other :
         { Ptr< Ryx::PtrInterface const >( port ),
           Ptr< Ryx::PtrInterface const >( owner ) } ) {
      EXPECT_EQ(
         support::refusal< Ryx::GenericIfException >( [ & ] { wrap( other, false ); } ),
         wrongType( "object", "Test::Board" ) );
   }
}

TEST_F( GenericIfRefusalTest, AConstObjectWhereItMayBeChanged ) {
   Generic const constPort = toGeneric( port, true );
   EXPECT_EQ(
      byName.refused( "uplink", GenericIf::set, nullptr, constPort ), constInstance );
   EXPECT_EQ( byName.refused( "spare", GenericIf::set, key, constPort ), constInstance );
   EXPECT_EQ( supervisor.refused( "master", GenericIf::set, nullptr, constPort ), "" );
   EXPECT_EQ( owner->master(), port );
   EXPECT_EQ( board->uplink(), nullptr );
}

TEST_F( GenericIfRefusalTest, ANullWhereTheMutatorNeedsAnObject ) {
   EXPECT_EQ(
      byName.refused( "port", GenericIf::set ),
      "null _port parameter to mutator for Test::Board::port not allowed\"" );
   EXPECT_EQ(
      supervisor.refused( "master", GenericIf::set ),
      "null _master parameter to mutator for Test::Supervisor::master not allowed\"" );
   EXPECT_EQ(
      supervisor.refused( "port", GenericIf::set ),
      "null _port parameter to mutator for Test::Supervisor::port not allowed\"" );
   EXPECT_EQ( owner->master(), nullptr );
   EXPECT_EQ( owner->ports(), 0u );
}

TEST_F( GenericIfRefusalTest, AFieldOfAStructure ) {
   Generic const supply = toGeneric( doubles::Supply() );
   auto const refused =
      [ & ]( unsigned char code, Generic const& index, Generic const& value ) {
         return doubles::refusal( [ & ] {
            supply->attributeOp( { 258, code }, index, value );
         } );
      };
   EXPECT_EQ( refused( GenericIf::get, key, nullptr ), badIndex( "volts" ) );
   EXPECT_EQ( refused( noSuchChange, key, nullptr ), badIndex( "volts" ) );
   EXPECT_EQ( refused( GenericIf::del, nullptr, nullptr ), notSupported( "volts" ) );
   EXPECT_EQ(
      refused( GenericIf::set, nullptr, toGeneric( true ) ),
      wrongType( "volts", "Ryx::Builtin<unsigned int>" ) );
}

TEST_F( GenericIfRefusalTest, AConstructorsArguments ) {
   auto const& code = Board::_fwkType()->code();
   auto const refused = [ & ]( Generic const& list ) {
      return doubles::refusal(
         [ & ] { code.construct( static_cast< GenericIf::List_ const& >( *list ) ); } );
   };
   EXPECT_EQ(
      refused( listOf( { { "colour", key } } ) ),
      support::unknownArgument( "Board", "colour" ) );
   EXPECT_EQ( refused( listOf( {} ) ), support::isNull( "name", "Ryx::Name" ) );
}

} // namespace
