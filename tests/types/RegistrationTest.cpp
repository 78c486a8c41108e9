// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How types and attributes announce themselves, and values in their text form.

#include <support/ByName>

#include <Kovel/Traits>
#include <Ryx/IntrospectionReactor>
#include <gtest/gtest.h>

namespace {

using support::refusal;
using Flags = Ryx::RyxAttr::RyxAttrIntrospectionFlags;

TEST( IntrospectionFlags, HaveSixBits ) {
   EXPECT_EQ( Flags( 63 ).value(), 63u );
   EXPECT_TRUE( Flags( Flags::isFunction_ ).isFunction() );
   EXPECT_FALSE(
      Flags( Flags::hasInternalIndex_ | Flags::isIndependentDomainAttr_ ).isFunction() );
   EXPECT_EQ(
      refusal( [] { Flags flags( 64 ); } ),
      "RyxAttrIntrospectionFlags::value > 0x3f not allowed" );
   EXPECT_THROW( Flags( 0xffffffffu ), Ryx::RangeException );
}

TEST( Introspection, BracketsNamespacesAndAttributes ) {
   auto& introspection = Ryx::IntrospectionReactor::global();
   EXPECT_TRUE( introspection.scopes().empty() );
   introspection.handleNameSpace( "Outer" );
   introspection.handleNameSpace( "Inner" );
   EXPECT_EQ( introspection.scopes(), ( std::vector< Ryx::Name >{ "Outer", "Inner" } ) );
   introspection.handleScopeExit();
   EXPECT_EQ( introspection.scopes(), std::vector< Ryx::Name >{ "Outer" } );
   introspection.handleScopeExit();
   auto const attr = support::type( "Mlag::Status" ).attributeQ().front();
   introspection.handleAttr( *attr );
   EXPECT_EQ( introspection.attrContext(), attr.ptr() );
   introspection.handleAttrContextExit();
   EXPECT_EQ( introspection.attrContext(), nullptr );
}

TEST( Introspection, AnAttributeIsRegisteredOnceUnderItsId ) {
   Ryx::RyxType* const type = Ryx::RyxType::typeIs( "Test::Registered" );
   Ryx::RyxType* const number = Ryx::RyxType::type( "Ryx::Builtin<unsigned int>" );
   auto const define = [ & ]( char const* name, Ryx::AttributeId id ) {
      return Ryx::IntrospectionReactor::global().defNoninstantiatingAttr(
         type, name, number, nullptr, {}, {}, Flags(), id );
   };
   auto const speed = define( "speed", 258 );
   auto const lanes = define( "lanes", 259 );
   EXPECT_EQ( define( "speed", 258 ), speed );
   EXPECT_EQ( type->attributeQ(), ( Ryx::RyxType::AttributeQ{ speed, lanes } ) );
   EXPECT_EQ( speed->owningType(), type );
   EXPECT_EQ( speed->valueType(), number );
   EXPECT_EQ( Ryx::RyxAttr::attr( *type, Ryx::Name( "lanes" ) ), lanes );
   EXPECT_FALSE( Ryx::RyxAttr::attr( *type, Ryx::Name( "color" ) ) );
   EXPECT_EQ( type->scope(), Ryx::Name( "Test" ) );
}

TEST( Introspection, ScopeOfATemplatesNameIsTheNamespaceOfTheTemplate ) {
   EXPECT_EQ( support::type( "Ryx::Builtin<bool>" ).scope(), Ryx::Name( "Ryx" ) );
   EXPECT_EQ(
      support::type( "Bridging::IgmpSnooping::Config" ).scope(),
      Ryx::Name( "Bridging::IgmpSnooping" ) );
}

TEST( Strep, JunkBehindAValueIsRefusedAtItsColumn ) {
   EXPECT_EQ( Ryx::strepToValue< double >( "1.5" ), 1.5 );
   EXPECT_EQ(
      refusal( [] { Ryx::strepToValue< double >( "1.5 s" ); } ),
      "junk at column 3 deserializing 1.5 s" );
   EXPECT_EQ(
      refusal( [] { Ryx::strepToValue< Kovel::IntfId >( "Ethernet1, Ethernet2" ); } ),
      "junk at column 9 deserializing Ethernet1, Ethernet2" );
   std::size_t column = 0;
   EXPECT_EQ( Ryx::sequenceToValue< unsigned >( "12 apples", column ), 12u );
   EXPECT_EQ( column, 2u );
}

TEST( Strep, WhatCannotBeConvertedSaysWhatWasExpected ) {
   EXPECT_EQ(
      refusal( [] { Ryx::strepToValue< bool >( "yes" ); } ),
      "cannot convert \"yes\" to Ryx::Builtin<bool>: expected true or false" );
   EXPECT_EQ(
      refusal( [] { Ryx::strepToValue< unsigned char >( "256" ); } ),
      "cannot convert \"256\" to Ryx::Builtin<unsigned char>: expected a whole number in "
      "range" );
   EXPECT_THROW( Ryx::strepToValue< double >( "nan" ), Ryx::RangeException );
   EXPECT_THROW( Ryx::strepToValue< unsigned >( "-1" ), Ryx::RangeException );
   EXPECT_THROW( Ryx::strepToValue< unsigned >( "" ), Ryx::RangeException );
}

TEST( Strep, AnAddressIsShownButNotRead ) {
   void* const address = reinterpret_cast< void* >( 0xbeef );
   EXPECT_EQ( Ryx::valueToStrep( address ), "0xbeef" );
   EXPECT_EQ(
      refusal( [] { support::valueOf( "Ryx::Builtin<void*>", "0xbeef" ); } ),
      "cannot convert \"0xbeef\" to Ryx::Builtin<void*>: expected nothing: an address "
      "cannot "
      "be read from a text" );
}

TEST( Strep, ADoubleKeepsAllItsDigits ) {
   for ( double value : { 0.1, 284.9999964, 1e300, -2.5e-10 } ) {
      EXPECT_EQ( Ryx::strepToValue< double >( Ryx::valueToStrep( value ) ), value );
   }
   EXPECT_EQ( Ryx::valueToStrep( 300.0 ), "300" );
}

} // namespace
