// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What holds for the scalars, references and inputs of every object.

#include <support/Conformance>

#include <gtest/gtest.h>

namespace support {

namespace {

using Flags = Ryx::RyxAttr::AttrFlags;

// A value and an object of types that no attribute of the other types takes.
Object
strangeValue( Ryx::RyxAttr const& attr ) {
   return attr.valueType()->name().string() == "Ryx::Builtin<int>"
      ? valueOf( "Ryx::Name", "strange" )
      : valueOf( "Ryx::Builtin<int>", "1" );
}

Object
strangeObject( Ryx::RyxAttr const& attr ) {
   std::string const name = "Lacp::LacpPCConfig";
   return attr.valueType()->name().string() == name
      ? sample( type( "Lacp::Config" ), sampleKey( 0 ) )
      : sample( type( name ), sampleKey( 0 ) );
}

// One attribute of one object, watched.
struct Subject {
   Subject( Ryx::RyxType const& type, Ryx::RyxAttr const& attr )
         : object( sample( type, sampleKey( 0 ) ) ),
           attribute( attr.name().string() ),
           watch( object ) {}

   void set( Object const& value ) { support::set( object, attribute, value ); }
   Object get() const { return support::get( object, attribute ); }

   // A real change is heard once, the same value again is not.
   void expectOneChange( Object const& value ) {
      set( value );
      EXPECT_EQ( watch.take(), watch.change( attribute ) );
      set( value );
      EXPECT_EQ( watch.take(), Calls() );
   }
   void expectRefusal( Object const& value, std::string const& message ) {
      EXPECT_EQ( refusal( [ & ] { set( value ); } ), message );
      EXPECT_EQ( watch.take(), Calls() );
   }

   Object object;
   std::string attribute;
   Watch watch;
};

Ryx::PtrInterface const*
behind( Object const& object ) {
   return object ? object->object() : nullptr;
}

} // namespace

void
checkScalars( Ryx::RyxType const& type ) {
   forEachAttribute( type, Use::scalar, [ & ]( Ryx::RyxAttr const& attr ) {
      Subject subject( type, attr );
      unsigned changes = 0;
      for ( unsigned which : { 0u, 1u, 0u } ) {
         Object const value = sample( *attr.valueType(), which, sampleKey( 0 ) );
         if ( text( subject.get() ) == text( value ) ) {
            continue;
         }
         subject.expectOneChange( value );
         EXPECT_EQ( subject.get()->type(), attr.valueType() );
         EXPECT_EQ( text( subject.get() ), sampleTexts( *attr.valueType() )[ which ] );
         ++changes;
      }
      EXPECT_GE( changes, 2u );
      std::string const expected =
         wrongType( subject.attribute, attr.valueType()->name().string() );
      std::string const before = text( subject.get() );
      subject.expectRefusal( strangeValue( attr ), expected );
      subject.expectRefusal(
         nullptr, isNull( subject.attribute, attr.valueType()->name().string() ) );
      EXPECT_EQ( text( subject.get() ), before );
      EXPECT_EQ(
         text(
            operation( subject.object, subject.attribute, Ryx::GenericIf::defaultValue ) ),
         text( attr.valueType()->code().defaultValue() ) );
   } );
}

void
checkReferences( Ryx::RyxType const& type ) {
   forEachAttribute( type, Use::reference, [ & ]( Ryx::RyxAttr const& attr ) {
      Subject subject( type, attr );
      if ( subject.get() ) {
         subject.set( nullptr );
         subject.watch.take();
      }
      for ( unsigned which : { 0u, 1u } ) {
         Object const target = sample( *attr.valueType(), sampleKey( which ) );
         subject.expectOneChange( target );
         EXPECT_EQ( behind( subject.get() ), target->object() );
         EXPECT_EQ( subject.get()->isConst(), attr.has( Flags::isConst ) );
         Object const asConst = constOf( target );
         if ( !attr.has( Flags::isConst ) ) {
            subject.expectRefusal( asConst, constInstance );
         }
      }
      Object const before = subject.get();
      std::string const expected =
         wrongType( subject.attribute, attr.valueType()->name().string() );
      subject.expectRefusal( strangeValue( attr ), expected );
      subject.expectRefusal( strangeObject( attr ), expected );
      EXPECT_EQ( behind( subject.get() ), behind( before ) );
      subject.expectOneChange( nullptr );
      EXPECT_FALSE( subject.get() );
   } );
}

void
checkInputs( Ryx::RyxType const& type ) {
   forEachAttribute( type, Use::input, [ & ]( Ryx::RyxAttr const& attr ) {
      Subject subject( type, attr );
      Object const other = sample( *attr.valueType(), sampleKey( 1 ) );
      subject.set( other );
      EXPECT_EQ( behind( subject.get() ), other->object() );
      EXPECT_TRUE( subject.get()->isConst() );
      subject.expectRefusal(
         nullptr,
         "null _" + subject.attribute + " parameter to mutator for " +
            type.name().string() + "::" + subject.attribute + " not allowed\"" );
      subject.expectRefusal(
         strangeObject( attr ),
         wrongType( subject.attribute, attr.valueType()->name().string() ) );
      EXPECT_EQ( behind( subject.get() ), other->object() );
      EXPECT_EQ( behind( del( subject.object, subject.attribute ) ), other->object() );
      EXPECT_FALSE( subject.get() );
      EXPECT_FALSE( del( subject.object, subject.attribute ) );
   } );
}

void
checkNondestructing( Ryx::RyxType const& type ) {
   if ( !type.isEntity() ) {
      return;
   }
   Object const object = sample( type, sampleKey( 0 ) );
   Watch watch( object );
   for ( char const* value : { "true", "false" } ) {
      Object const wanted = valueOf( "Ryx::Builtin<bool>", value );
      set( object, "isNondestructing", wanted );
      auto const heard = watch.take();
      EXPECT_EQ( std::count( heard.begin(), heard.end(), "adapter isNondestructing" ), 1 );
      set( object, "isNondestructing", wanted );
      EXPECT_EQ( watch.take(), Calls() );
      EXPECT_EQ( text( get( object, "isNondestructing" ) ), value );
   }
}

} // namespace support
