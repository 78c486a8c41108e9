// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Patch>

#include <fmt/format.h>

#include <utility>

namespace ostra {

namespace {

std::string
expectedKeys( RyxType const& type ) {
   std::string names;
   for ( RyxAttr const* attribute : settableAttributes( type ) ) {
      names += ( names.empty() ? "" : ", " ) + attribute->name().string();
   }
   return names.empty() ? fmt::format( "none, {} has nothing to set", type.name().string() )
                        : names;
}

GenericPtr
readKey( Item const& item, RyxAttr const& collection ) {
   if ( item.key().empty() ) {
      item.refuseKey( fmt::format(
         "empty key: expected a key of type {}",
         collection.indexType()->name().string() ) );
   }
   try {
      return keyOf( collection, item.key() );
   } catch ( Ryx::RangeException const& error ) {
      item.refuseKey( error.message() );
   }
}

Patch::Step
removal( RyxAttr const& collection, GenericPtr key ) {
   return [ &collection, key = std::move( key ) ]( GenericIf& object ) {
      object.attributeOp( { collection.id(), GenericIf::del }, key, nullptr );
   };
}

Patch::Step
setting( RyxAttr const& attribute, GenericPtr key, GenericPtr value ) {
   return [ &attribute, key = std::move( key ), value = std::move( value ) ](
             GenericIf& object ) { write( object, attribute, key, value ); };
}

// The type of what the constructor builds, which may be one derived from what it is asked
// for.
RyxType const&
builtType( RyxType const& type, std::string const& id ) {
   return *construct( type, id )->type();
}

} // namespace

GenericPtr
ReferencePool::object( RyxType const& type, std::string const& name ) {
   GenericPtr& known = objects_[ { &type, name } ];
   if ( !known ) {
      known = construct( type, name );
   }
   return known;
}

void
Patch::apply( GenericIf& object ) const {
   for ( Step const& step : steps_ ) {
      step( object );
   }
}

Patch
PatchReader::object( Item const& item, RyxType const& type, std::string const& id ) {
   Patch patch;
   item.forEachEntry(
      fmt::format( "a map of {}", expectedKeys( type ) ), [ & ]( Item const& entry ) {
         RyxAttr const* const known = settableAttribute( type, entry.key() );
         if ( !known ) {
            entry.refuseKey( "unknown key: expected " + expectedKeys( type ) );
         }
         patch.stepIs( attribute( entry, *known, id ) );
      } );
   return patch;
}

Patch::Step
PatchReader::attribute(
   Item const& item, RyxAttr const& attribute, std::string const& id ) {
   if ( isCollection( attribute ) ) {
      return collection( item, attribute );
   }
   if ( isReference( attribute ) ) {
      return setting( attribute, nullptr, reference( item, attribute ) );
   }
   if ( !hasObjects( attribute ) ) {
      return setting( attribute, nullptr, readScalar( item, *attribute.valueType() ) );
   }
   return attribute.valueType()->kind() == Ryx::ValueKind::structure
      ? structure( item, attribute, nullptr )
      : contained( item, attribute, id );
}

GenericPtr
PatchReader::reference( Item const& item, RyxAttr const& attribute ) {
   if ( item.isNull() ) {
      return nullptr;
   }
   constexpr std::string_view expected = "a name, or null for none";
   if ( item.node().kind != DocumentNode::Kind::text || item.node().text.empty() ) {
      item.refuse( expected );
   }
   try {
      return references_.object( *attribute.valueType(), item.node().text );
   } catch ( Ryx::RangeException const& error ) {
      item.refuseBecause( error.message() );
   }
}

Patch::Step
PatchReader::contained(
   Item const& item, RyxAttr const& attribute, std::string const& id ) {
   if ( item.isNull() ) {
      return setting( attribute, nullptr, nullptr );
   }
   RyxType const& type = *attribute.valueType();
   return [ &attribute, &type, id, patch = object( item, builtType( type, id ), id ) ](
             GenericIf& owner ) {
      if ( GenericPtr const present = read( owner, attribute ) ) {
         patch.apply( *changeable( present ) );
         return;
      }
      GenericPtr const built = construct( type, id );
      patch.apply( *built );
      write( owner, attribute, nullptr, built );
   };
}

Patch::Step
PatchReader::structure(
   Item const& item, RyxAttr const& attribute, GenericPtr const& key ) {
   RyxType const& type = *attribute.valueType();
   return [ &attribute, key, patch = object( item, type, {} ) ]( GenericIf& owner ) {
      GenericPtr const value =
         owner.attributeOp( { attribute.id(), GenericIf::get }, key, nullptr );
      patch.apply( *value );
      write( owner, attribute, key, value );
   };
}

Patch::Step
PatchReader::collection( Item const& item, RyxAttr const& attribute ) {
   Patch members;
   item.forEachEntry(
      fmt::format( "a map by {}", attribute.indexType()->name().string() ),
      [ & ]( Item const& entry ) { members.stepIs( member( entry, attribute ) ); } );
   return
      [ members = std::move( members ) ]( GenericIf& object ) { members.apply( object ); };
}

Patch::Step
PatchReader::member( Item const& item, RyxAttr const& collection ) {
   GenericPtr const key = readKey( item, collection );
   if ( item.isNull() ) {
      return removal( collection, key );
   }
   if ( collection.valueType()->kind() == Ryx::ValueKind::object ) {
      return entity( item, collection, key );
   }
   if ( collection.valueType()->kind() == Ryx::ValueKind::structure ) {
      return structure( item, collection, key );
   }
   return setting( collection, key, readScalar( item, *collection.valueType() ) );
}

Patch::Step
PatchReader::entity( Item const& item, RyxAttr const& collection, GenericPtr const& key ) {
   RyxType const& type = *collection.valueType();
   std::string const& id = item.key();
   return
      [ &collection, &type, key, id, patch = object( item, builtType( type, id ), id ) ](
         GenericIf& owner ) {
         if ( GenericPtr const present = readMember( owner, collection, key ) ) {
            patch.apply( *changeable( present ) );
            return;
         }
         GenericPtr const built = construct( type, id );
         patch.apply( *built );
         write( owner, collection, key, built );
      };
}

} // namespace ostra
