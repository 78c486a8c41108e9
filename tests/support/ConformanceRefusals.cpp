// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What every object makes of its constructor, of operations, and refuses.

#include <support/Conformance>

#include <gtest/gtest.h>

namespace support {

namespace {

using If = Ryx::GenericIf;

constexpr unsigned codes[]{ 0, 1, 2, 3, 4, 77, 127, 128, 129, 130, 255 };

void
expectRefused(
   Object const& object,
   std::string const& attribute,
   unsigned code,
   Object const& index,
   std::string const& message ) {
   EXPECT_EQ(
      refusal< Ryx::GenericIfException >(
         [ & ] { operation( object, attribute, code, index ); } ),
      message )
      << "code " << code;
}

std::string
argumentsRefused(
   Object const& object,
   std::string const& attribute,
   unsigned code,
   Object const& value ) {
   return refusal( [ & ] { operation( object, attribute, code, nullptr, value ); } );
}

// An argument list whose names are not the attribute's, and what is no list.
void
refuseArguments( Object const& object, std::string const& attribute, unsigned code ) {
   Object const one = valueOf( "Ryx::Builtin<int>", "1" );
   EXPECT_EQ(
      argumentsRefused( object, attribute, code, one ),
      wrongType( "List", "Ryx::GenericIf::List_" ) );
   EXPECT_EQ(
      argumentsRefused( object, attribute, code, listOf( { { "noSuchArgument", one } } ) ),
      unknownArgument( attribute, "noSuchArgument" ) );
}

void
refuseArgumentTypes( Object const& object, Ryx::RyxAttr const& attr, unsigned code ) {
   Object const one = valueOf( "Ryx::Builtin<int>", "1" );
   for ( auto const& argument : attr.arguments() ) {
      auto const list = Ryx::make< Ryx::GenericIfList >();
      for ( auto const& other : attr.arguments() ) {
         list->argumentIs(
            other.name.string(),
            other.name == argument.name ? one : sample( *other.type, 0, sampleKey( 0 ) ) );
      }
      EXPECT_EQ(
         argumentsRefused( object, attr.name().string(), code, list ),
         wrongType( argument.name.string(), argument.type->name().string() ) );
   }
}

} // namespace

void
checkConstructor( Ryx::RyxType const& type ) {
   if ( !type.code().construct ) {
      return;
   }
   auto const arguments = sampleArguments( type.constructorArguments() );
   auto const& list = static_cast< Ryx::GenericIfList const& >( *arguments );
   Object const made = type.code().construct( list );
   ASSERT_TRUE( made );
   EXPECT_EQ( made->type(), type.constructedType() );
   EXPECT_TRUE( made->type()->isA( &type ) || type.isA( made->type() ) );
   EXPECT_EQ( made->object()->references(), 1u );
   EXPECT_FALSE( made->isConst() );
   EXPECT_EQ( made->strRep(), text( list.arguments().front().second ) );

   // An unknown argument is refused in the name of what is constructed.
   std::string const full = type.constructedType()->name().string();
   std::string const name = full.substr( full.rfind( ':' ) + 1 );
   Object const one = valueOf( "Ryx::Builtin<int>", "1" );
   auto unknown = list.arguments();
   unknown.emplace_back( "noSuchArgument", one );
   EXPECT_EQ(
      refusal( [ & ] { constructed( type.name().string(), unknown ); } ),
      unknownArgument( name, "noSuchArgument" ) );
   for ( auto const& argument : type.constructorArguments() ) {
      std::string const expected =
         wrongType( argument.name.string(), argument.type->name().string() );
      EXPECT_EQ(
         refusal( [ & ] {
            constructed( type.name().string(), { { argument.name.string(), one } } );
         } ),
         expected );
      EXPECT_EQ(
         refusal( [ & ] { constructed( type.name().string(), {} ); } ),
         isNull( argument.name.string(), argument.type->name().string() ) );
   }
}

void
checkInstantiating( Ryx::RyxType const& type ) {
   forEachAttribute( type, Use::instantiating, [ & ]( Ryx::RyxAttr const& attr ) {
      Object const object = sample( type, sampleKey( 0 ) );
      std::string const name = attr.name().string();
      EXPECT_FALSE( get( object, name ) );
      EXPECT_FALSE( del( object, name ) );
      refuseArguments( object, name, If::set );
      refuseArgumentTypes( object, attr, If::set );
      EXPECT_FALSE( get( object, name ) );

      Object const arguments = sampleArguments( attr.arguments() );
      Object const answer = operation( object, name, If::set, nullptr, arguments );
      Object const made = get( object, name );
      ASSERT_TRUE( made );
      EXPECT_EQ( answer->object(), made->object() );
      EXPECT_EQ( made->type(), attr.valueType() );
      EXPECT_TRUE( get( constOf( object ), name )->isConst() );
      set( object, name, arguments );
      EXPECT_EQ( get( object, name )->object(), made->object() );
      set( object, name, sampleArguments( attr.arguments() ) );
      EXPECT_NE( get( object, name )->object(), made->object() );
      Object const last = get( object, name );
      EXPECT_EQ( del( object, name )->object(), last->object() );
      EXPECT_FALSE( get( object, name ) );
   } );
}

void
checkFunctions( Ryx::RyxType const& type ) {
   forEachAttribute( type, Use::function, [ & ]( Ryx::RyxAttr const& attr ) {
      Object const object = sample( type, sampleKey( 0 ) );
      refuseArguments( object, attr.name().string(), If::get );
      refuseArgumentTypes( object, attr, If::get );
   } );
}

void
checkRefusals( Ryx::RyxType const& type ) {
   Object const object = sample( type, sampleKey( 0 ) );
   Object const asConst = constOf( object );
   Object const index = valueOf( "Kovel::IntfId", sampleKey( 0 ) );
   Watch watch( object );
   for ( auto const& attr : type.allAttributes() ) {
      std::string const name = attr->name().string();
      SCOPED_TRACE( name );
      bool const keyed = attr->has( Ryx::RyxAttr::AttrFlags::isCollection );
      bool const hasNoDefault = attr->id() == Ryx::isNondestructingAttributeId;
      for ( unsigned code : codes ) {
         if ( !keyed ) {
            expectRefused( object, name, code, index, badIndex( name ) );
         }
         if ( code >= If::firstModifyingCode ) {
            expectRefused( asConst, name, code, nullptr, constInstance );
         }
         EXPECT_EQ(
            attr->has( Ryx::RyxAttr::AttrFlags::isReadable ) ||
               attr->introspectionFlags().isFunction(),
            isSupported( useOf( *attr ), If::get ) );
         bool const isRefused = !isSupported( useOf( *attr ), code );
         if ( isRefused || ( hasNoDefault && code == If::defaultValue ) ) {
            expectRefused( object, name, code, nullptr, notSupported( name ) );
         }
      }
      if ( useOf( *attr ) != Use::collection ) {
         EXPECT_EQ(
            refusal( [ & ] { object->attributeIterator( attr->id() ); } ),
            notSupported( name ) );
      }
   }
   for ( unsigned code : codes ) {
      EXPECT_EQ(
         refusal( [ & ] {
            object->attributeOp(
               { 9999, static_cast< unsigned char >( code ) }, nullptr, nullptr );
         } ),
         object->type()->name().string() + " has no attribute 9999" );
   }
   EXPECT_EQ( watch.take(), Calls() );
}

} // namespace support
