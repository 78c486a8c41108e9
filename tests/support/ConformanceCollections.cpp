// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What holds for the collections of every object.

#include <support/Conformance>

#include <gtest/gtest.h>

#include <set>

namespace support {

namespace {

using Flags = Ryx::RyxAttr::AttrFlags;
using If = Ryx::GenericIf;

// One collection of one object, watched.
class Collection {
 public:
   Collection( Ryx::RyxType const& type, Ryx::RyxAttr const& attr )
         : attr_( attr ),
           object_( sample( type, sampleKey( 0 ) ) ),
           name_( attr.name().string() ),
           watch_( object_ ),
           oneShot_( support::isOneShot( type.name().string() + "::" + name_ ) ) {
      delAll( object_, name_ );
      watch_.take();
   }

   std::string keyText( unsigned which ) const {
      return sampleTexts( *attr_.indexType() )[ which ];
   }
   Object key( unsigned which ) const {
      return attr_.indexType()->code().parse( keyText( which ) );
   }
   // A value for the member of that key.
   Object value( unsigned which, unsigned keyNumber ) const {
      if ( attr_.has( Flags::isInstantiating ) ) {
         return nullptr;
      }
      if ( attr_.has( Flags::isSet ) ) {
         return valueOf( "Ryx::Builtin<bool>", "true" );
      }
      return sample( *attr_.valueType(), which, keyText( keyNumber ) );
   }

   Object
   op( unsigned code, Object const& index = nullptr, Object const& value = nullptr ) const {
      return operation( object_, name_, code, index, value );
   }
   Object member( unsigned which ) const { return op( If::get, key( which ) ); }
   bool has( unsigned which ) const {
      return text( op( If::has, key( which ) ) ) == "true";
   }
   unsigned size() const {
      return static_cast< unsigned >( std::stoul( text( op( If::size ) ) ) );
   }
   void insert( unsigned which, Object const& value ) {
      expectMade( op( If::set, key( which ), value ), which );
   }

   void expectHeard( unsigned which ) {
      EXPECT_EQ( watch_.take(), watch_.change( name_, keyText( which ) ) );
   }
   void expectSilence() { EXPECT_EQ( watch_.take(), Calls() ); }
   void expectMade( Object const& answer, unsigned which ) const {
      bool const isMade = attr_.has( Flags::isInstantiating );
      ASSERT_EQ( bool( answer ), isMade );
      EXPECT_TRUE( !isMade || answer->object() == member( which )->object() );
   }
   // The member is what was given for it.
   void expectMember( unsigned which, Object const& given ) const {
      ASSERT_TRUE( has( which ) );
      Object const found = member( which );
      ASSERT_TRUE( found );
      if ( !given ) {
         EXPECT_TRUE( found->object() );
      } else if ( given->object() ) {
         EXPECT_EQ( found->object(), given->object() );
         EXPECT_EQ( found->isConst(), attr_.has( Flags::isConst ) );
      } else {
         EXPECT_EQ( text( found ), text( given ) );
      }
   }
   void expectAbsent( unsigned which ) const {
      EXPECT_FALSE( has( which ) );
      EXPECT_EQ( text( member( which ) ), text( op( If::defaultValue ) ) );
   }
   void expectRefused( unsigned code, Object const& index, Object const& value ) const {
      EXPECT_EQ( refusal( [ & ] { op( code, index, value ); } ), badIndex( name_ ) );
   }

   Ryx::RyxAttr const& attr() const { return attr_; }
   Object const& object() const { return object_; }
   std::string const& name() const { return name_; }
   Watch& watch() { return watch_; }
   bool isReplaceable() const {
      return !attr_.has( Flags::isSet ) && !attr_.has( Flags::isInstantiating );
   }
   bool isOneShot() const { return oneShot_; }

 private:
   Ryx::RyxAttr const& attr_;
   Object object_;
   std::string name_;
   Watch watch_;
   bool oneShot_;
};

void
insertAndReplace( Collection& collection ) {
   collection.expectAbsent( 0 );
   Object const first = collection.value( 0, 0 );
   collection.insert( 0, first );
   collection.expectHeard( 0 );
   collection.expectMember( 0, first );
   Object const present = collection.member( 0 );
   collection.insert( 0, first );
   collection.expectSilence();
   EXPECT_EQ( collection.member( 0 )->object(), present->object() );
   EXPECT_EQ( collection.size(), 1u );
   if ( !collection.isReplaceable() ) {
      return;
   }
   Object const second = collection.value( 1, 0 );
   collection.insert( 0, second );
   collection.expectHeard( 0 );
   if ( collection.isOneShot() ) {
      collection.expectAbsent( 0 );
      collection.insert( 0, second );
   }
   collection.expectMember( 0, second );
   EXPECT_EQ( collection.size(), 1u );
}

void
removeMembers( Collection& collection ) {
   Object const last = collection.member( 0 );
   Object const removed = collection.op( If::del, collection.key( 0 ) );
   collection.expectHeard( 0 );
   EXPECT_EQ( text( removed ), text( last ) );
   EXPECT_EQ( removed->object(), last->object() );
   collection.expectAbsent( 0 );
   EXPECT_EQ(
      text( collection.op( If::del, collection.key( 0 ) ) ),
      text( collection.op( If::defaultValue ) ) );
   collection.expectSilence();
   EXPECT_EQ( collection.size(), 0u );
   if ( collection.attr().has( Flags::isSet ) ) {
      collection.insert( 0, valueOf( "Ryx::Builtin<bool>", "true" ) );
      collection.expectHeard( 0 );
      collection.insert( 0, valueOf( "Ryx::Builtin<bool>", "false" ) );
      collection.expectHeard( 0 );
      collection.expectAbsent( 0 );
      collection.insert( 0, valueOf( "Ryx::Builtin<bool>", "false" ) );
      collection.expectSilence();
   }
}

// A key of another type, none at all, one where none belongs.
void
refuseIndices( Collection& collection ) {
   Object const strange = valueOf( "Ryx::Builtin<int>", "1" );
   for ( unsigned code : { If::get, If::has, If::del } ) {
      collection.expectRefused( code, nullptr, nullptr );
      collection.expectRefused( code, strange, nullptr );
   }
   collection.expectRefused( If::size, collection.key( 0 ), nullptr );
   collection.expectRefused( If::defaultValue, collection.key( 0 ), nullptr );
   collection.expectRefused( If::set, strange, collection.value( 0, 0 ) );
   if ( collection.attr().has( Flags::isSelfKeyed ) ) {
      collection.expectRefused( If::set, collection.key( 1 ), collection.value( 0, 0 ) );
   } else {
      collection.expectRefused( If::set, nullptr, collection.value( 0, 0 ) );
   }
   EXPECT_EQ( collection.size(), 0u );
   collection.expectSilence();
}

void
refuseValues( Collection& collection ) {
   bool const isMade = collection.attr().has( Flags::isInstantiating );
   std::string const expected = isMade
      ? wrongType( "List", "Ryx::GenericIf::List_" )
      : wrongType( collection.name(), collection.attr().valueType()->name().string() );
   auto const refused = [ & ]( Object const& value ) {
      return refusal( [ & ] { collection.insert( 0, value ); } );
   };
   EXPECT_EQ( refused( valueOf( "Ryx::Builtin<int>", "1" ) ), expected );
   if ( collection.attr().has( Flags::isSelfKeyed ) ) {
      std::string const null = refused( nullptr );
      EXPECT_TRUE( null.starts_with( "null _" + collection.name() ) ) << null;
      EXPECT_TRUE( null.ends_with( "::" + collection.name() + " not allowed\"" ) ) << null;
   }
   Object const given = collection.value( 0, 0 );
   if ( given && given->object() && !collection.attr().has( Flags::isConst ) ) {
      EXPECT_EQ( refused( constOf( given ) ), constInstance );
   }
   EXPECT_EQ( collection.size(), 0u );
   collection.expectSilence();
}

Calls
keysOf( Ryx::Ptr< If::Iterator > const& iterator ) {
   Calls keys;
   for ( ; If::attributeIterator_nonNull( *iterator );
         If::attributeIterator_iterInc( *iterator ) ) {
      keys.push_back( text( If::attributeIterator_iterKey( *iterator ) ) );
   }
   return keys;
}

Ryx::Ptr< If::Iterator >
iterator( Collection const& collection ) {
   return collection.object()->attributeIterator( collection.attr().id() );
}

void
fill( Collection& collection ) {
   for ( unsigned which : { 1u, 0u } ) {
      collection.insert( which, collection.value( 0, which ) );
      collection.expectHeard( which );
   }
}

} // namespace

void
checkCollections( Ryx::RyxType const& type ) {
   forEachAttribute( type, Use::collection, [ & ]( Ryx::RyxAttr const& attr ) {
      Collection collection( type, attr );
      insertAndReplace( collection );
      removeMembers( collection );
      refuseIndices( collection );
      refuseValues( collection );
   } );
}

void
checkIteration( Ryx::RyxType const& type ) {
   forEachAttribute( type, Use::collection, [ & ]( Ryx::RyxAttr const& attr ) {
      Collection collection( type, attr );
      EXPECT_EQ( keysOf( iterator( collection ) ), Calls() );
      fill( collection );
      Calls const keys = keysOf( iterator( collection ) );
      ASSERT_EQ( keys.size(), 2u );
      EXPECT_NE( keys[ 0 ], keys[ 1 ] );

      auto const current = iterator( collection );
      auto const clone = If::attributeIterator_iterClone( *current );
      EXPECT_EQ(
         text( If::attributeIterator_iterObj( *current ) ),
         text( collection.op( If::get, If::attributeIterator_iterKey( *current ) ) ) );
      If::attributeIterator_iterDel( *current );
      EXPECT_EQ(
         collection.watch().take(),
         collection.watch().change( collection.name(), keys[ 0 ] ) );
      current->iterInc();
      EXPECT_EQ( text( current->iterKey() ), keys[ 1 ] );
      clone->iterInc();
      EXPECT_EQ( text( clone->iterKey() ), keys[ 1 ] );

      auto const asConst = constOf( collection.object() )->attributeIterator( attr.id() );
      EXPECT_EQ( refusal( [ & ] { asConst->iterDel(); } ), constInstance );
      EXPECT_EQ( collection.size(), 1u );
   } );
   forEachAttribute( type, Use::collection, [ & ]( Ryx::RyxAttr const& attr ) {
      Collection collection( type, attr );
      fill( collection );
      Calls expected;
      for ( std::string const& key : keysOf( iterator( collection ) ) ) {
         for ( std::string const& heard :
               collection.watch().change( collection.name(), key ) ) {
            expected.push_back( heard );
         }
      }
      delAll( collection.object(), collection.name() );
      EXPECT_EQ( collection.watch().take(), expected );
      EXPECT_EQ( collection.size(), 0u );
   } );
}

} // namespace support
