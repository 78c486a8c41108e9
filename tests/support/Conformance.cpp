// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What holds for the description of every type, and for values.

#include <support/Conformance>

#include <Ryx/Entity>
#include <gtest/gtest.h>

#include <set>

namespace support {

namespace {

constexpr Ryx::AttributeId unknownIds[]{ 0, 1, 255, 1000, 0xffffffff };

// One past the last id that the type has, itself and in its bases.
Ryx::AttributeId
nextId( Ryx::RyxType const* type ) {
   Ryx::AttributeId next = Ryx::firstOwnAttributeId;
   for ( ; type; type = type->baseType() ) {
      for ( auto const& attr : type->attributeQ() ) {
         next = std::max( next, attr->id() + 1 );
      }
   }
   return next;
}

} // namespace

void
forEachAttribute(
   Ryx::RyxType const& type,
   Use use,
   std::function< void( Ryx::RyxAttr const& ) > const& check ) {
   for ( auto const& attr : type.allAttributes() ) {
      if ( attr->id() != Ryx::isNondestructingAttributeId && useOf( *attr ) == use ) {
         SCOPED_TRACE( attr->name().string() );
         check( *attr );
      }
   }
}

void
checkDescription( Ryx::RyxType const& type ) {
   EXPECT_EQ( Ryx::RyxType::type( type.name() ), &type );
   EXPECT_EQ( Ryx::RyxType::typeIs( type.name() ), &type );
   EXPECT_TRUE( type.isNondestructing() );
   auto const all = Ryx::RyxType::types();
   EXPECT_EQ( std::count( all.begin(), all.end(), &type ), 1 );
   if ( type.code().wrap ) {
      EXPECT_TRUE( type.hasGenericIfSupport() );
      EXPECT_EQ( type.kind(), Ryx::ValueKind::object );
      EXPECT_GT( type.size(), sizeof( Ryx::PtrInterface ) );
   }
}

void
checkAttributeOrder( Ryx::RyxType const& type ) {
   std::set< Ryx::AttributeId > ids;
   std::set< std::string > names;
   for ( auto const& attr : type.allAttributes() ) {
      EXPECT_TRUE( ids.insert( attr->id() ).second ) << attr->name();
      EXPECT_TRUE( names.insert( attr->name().string() ).second ) << attr->name();
   }
   Ryx::AttributeId previous = nextId( type.baseType() ) - 1;
   bool first = true;
   for ( auto const& attr : type.attributeQ() ) {
      EXPECT_EQ( attr->owningType(), &type );
      if ( type.isEntity() && !type.baseType() && std::exchange( first, false ) ) {
         EXPECT_EQ( attr->name().string(), "isNondestructing" );
         EXPECT_EQ( attr->id(), Ryx::isNondestructingAttributeId );
         EXPECT_EQ( attr->valueType()->name().string(), "Ryx::Builtin<bool>" );
         continue;
      }
      if ( type.isEntity() ) {
         EXPECT_EQ( attr->id(), previous + 1 ) << attr->name();
      } else {
         EXPECT_GT( attr->id(), previous ) << attr->name();
      }
      previous = attr->id();
   }
   EXPECT_TRUE( !type.isEntity() || ids.count( Ryx::isNondestructingAttributeId ) );
}

void
checkAttributeNames( Ryx::RyxType const& type ) {
   Object const object = sample( type, sampleKey( 0 ) );
   auto const* const entity = as< Ryx::Entity >( object );
   EXPECT_EQ( entity != nullptr, type.isEntity() );
   for ( auto const& attr : type.allAttributes() ) {
      std::string const name = attr->name().string();
      EXPECT_EQ( object->attributeId( name ), attr->id() );
      EXPECT_EQ( object->attributeString( attr->id() ), name );
      EXPECT_EQ( entity ? entity->attributeString( attr->id() ) : name, name );
      EXPECT_EQ( type.attr( attr->id() ), attr.ptr() );
      EXPECT_EQ( Ryx::RyxAttr::attr( type, attr->name() ), attr );
   }
   EXPECT_EQ( object->attributeId( "noSuchAttribute" ), 0u );
   EXPECT_FALSE( Ryx::RyxAttr::attr( type, Ryx::Name( "noSuchAttribute" ) ) );
   for ( Ryx::AttributeId const id : unknownIds ) {
      EXPECT_EQ( object->attributeString( id ), "unknown" ) << id;
      EXPECT_EQ( entity ? entity->attributeString( id ) : "unknown", "unknown" ) << id;
   }
}

void
checkTextForm( Ryx::RyxType const& type ) {
   std::string const name = type.name().string();
   for ( std::string const& text : sampleTexts( type ) ) {
      Object const value = type.code().parse( text );
      EXPECT_EQ( value->type(), &type );
      EXPECT_EQ( value->strRep(), text );
      EXPECT_EQ( value->object(), nullptr );
      if (
         type.kind() == Ryx::ValueKind::text || type.kind() == Ryx::ValueKind::structure ) {
         continue;
      }
      EXPECT_EQ(
         refusal( [ & ] { type.code().parse( text + " x" ); } ),
         "junk at column " + std::to_string( text.size() ) + " deserializing " + text +
            " x" );
      std::string const refused = refusal( [ & ] { type.code().parse( "?" ); } );
      EXPECT_TRUE( refused.starts_with( "cannot convert \"?\" to " ) ) << refused;
   }
   ASSERT_NE( type.code().defaultValue, nullptr );
   Object const unset = type.code().defaultValue();
   EXPECT_EQ( unset->type(), &type );
   EXPECT_EQ( type.code().parse( unset->strRep() )->strRep(), unset->strRep() );
   for ( std::size_t i = 0; i < type.enumerators().size(); ++i ) {
      std::string const enumerator = type.enumerators()[ i ].string();
      EXPECT_EQ( text( type.code().parse( enumerator ) ), enumerator );
      EXPECT_EQ( text( type.code().parse( std::to_string( i ) ) ), enumerator );
   }
}

void
checkFields( Ryx::RyxType const& type ) {
   Object const value = type.code().defaultValue();
   for ( auto const& attr : type.attributeQ() ) {
      std::string const name = attr->name().string();
      SCOPED_TRACE( name );
      for ( std::string const& text : sampleTexts( *attr->valueType() ) ) {
         set( value, name, attr->valueType()->code().parse( text ) );
         EXPECT_EQ( support::text( get( value, name ) ), text );
      }
      EXPECT_EQ( refusal( [ & ] { del( value, name ); } ), notSupported( name ) );
      EXPECT_EQ( refusal( [ & ] { get( value, name, value ); } ), badIndex( name ) );
      EXPECT_EQ(
         refusal( [ & ] { set( value, name, nullptr ); } ),
         isNull( name, attr->valueType()->name().string() ) );
   }
   EXPECT_THROW(
      value->attributeOp( { 9999, 0 }, nullptr, nullptr ), Ryx::GenericIfException );
   EXPECT_EQ( value->attributeString( 9999 ), "unknown" );
}

} // namespace support
