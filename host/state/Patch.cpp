// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/Patch>

#include <host/base/IntfRanges>
#include <host/input/UnknownKey>

#include <Kovel/Traits>

#include <fmt/format.h>

#include <utility>

namespace ostra {

namespace {

KnownKeys
keysOf( RyxType const& type ) {
   KnownKeys keys;
   for ( RyxAttr const* attribute : settableAttributes( type ) ) {
      keys.emplace_back( attribute->name().string() );
   }
   return keys;
}

std::string
expectedKeys( RyxType const& type ) {
   KnownKeys const keys = keysOf( type );
   return keys.empty() ? fmt::format( "none, {} has nothing to set", type.name().string() )
                       : listed( keys );
}

// What the keys are, in words: "an interface name".
std::string
keyWords( RyxAttr const& collection ) {
   std::string const& name = collection.indexType()->name().string();
   return name == Ryx::ValueTraits< Kovel::IntfId >::name ? "an interface name"
                                                          : "a " + name;
}

// Why the key is none, when a name is refused for that reason.
std::string
keyProblem( Item const& item, std::string const& why ) {
   if ( !item.node().tree().takesShorthand() ) {
      return shortenedIn( why, item.key() );
   }
   if ( isIntfRange( item.key() ) ) {
      try {
         interfacesOf( item.key() );
      } catch ( Ryx::RangeException const& error ) {
         return shortenedIn( error.message(), item.key() );
      }
   }
   bool const isRest = item.key().find_first_of( "0123456789" ) == 0;
   return shortenedIn( why, item.key() ) +
      ( isRest ? "; between brackets, a range with a comma stands in quotes" : "" );
}

GenericPtr
readKey( Item const& item, RyxAttr const& collection ) {
   if ( item.key().empty() ) {
      item.refuseKey( "empty key: expected " + keyWords( collection ) );
   }
   try {
      return keyOf( collection, std::string( item.key() ) );
   } catch ( Ryx::RangeException const& error ) {
      item.refuseKey( keyProblem( item, error.message() ) );
   }
}

void
set(
   GenericIf* target, RyxAttr const& attribute, GenericPtr const& key, GenericPtr value ) {
   if ( target ) {
      write( *target, attribute, key, value );
   }
}

} // namespace

GenericPtr const&
PatchContext::referenced( RyxType const& type, std::string_view name ) {
   ByName& known = referenced_[ &type ];
   auto const found = known.find( name );
   if ( found != known.end() ) {
      return found->second;
   }
   std::string id( name );
   GenericPtr object = construct( type, id );
   return known.emplace( std::move( id ), std::move( object ) ).first->second;
}

RyxType const&
PatchContext::builtType( RyxType const& type, std::string const& id ) {
   RyxType const*& built = built_[ &type ];
   if ( !built ) {
      built = construct( type, id )->type();
   }
   return *built;
}

void
Patcher::object(
   Item const& item, RyxType const& type, std::string const& id, GenericIf* target ) {
   item.forEachEntry(
      [ & ] { return fmt::format( "a map of {}", expectedKeys( type ) ); },
      [ & ]( Item const& entry ) {
         RyxAttr const* const known = settableAttribute( type, entry.key() );
         if ( !known ) {
            refuseUnknownKey( entry, keysOf( type ), expectedKeys( type ) );
         }
         attribute( entry, *known, id, target );
      } );
}

void
Patcher::attribute(
   Item const& item, RyxAttr const& attribute, std::string const& id, GenericIf* target ) {
   if ( isCollection( attribute ) ) {
      collection( item, attribute, target );
   } else if ( isReference( attribute ) ) {
      set( target, attribute, nullptr, reference( item, attribute ) );
   } else if ( !hasObjects( attribute ) ) {
      set( target, attribute, nullptr, readScalar( item, *attribute.valueType() ) );
   } else if ( attribute.valueType()->kind() == Ryx::ValueKind::structure ) {
      structure( item, attribute, nullptr, target );
   } else {
      contained( item, attribute, id, target );
   }
}

GenericPtr
Patcher::reference( Item const& item, RyxAttr const& attribute ) {
   if ( item.isNull() ) {
      return nullptr;
   }
   constexpr std::string_view expected = "a name, or null for none";
   if ( item.node().kind() != NodeKind::text || item.node().text().empty() ) {
      item.refuse( expected );
   }
   try {
      return context_.referenced( *attribute.valueType(), item.node().text() );
   } catch ( Ryx::RangeException const& error ) {
      item.refuseBecause( shortenedIn( error.message(), item.node().text() ) );
   }
}

GenericPtr
Patcher::built(
   Item const& item, RyxType const& type, std::string const& id, GenericPtr const& key ) {
   GenericPtr object = construct( type, id, key );
   this->object( item, *object->type(), id, object.ptr() );
   return object;
}

void
Patcher::contained(
   Item const& item, RyxAttr const& attribute, std::string const& id, GenericIf* target ) {
   RyxType const& type = *attribute.valueType();
   if ( item.isNull() ) {
      set( target, attribute, nullptr, nullptr );
   } else if ( !target ) {
      object( item, context_.builtType( type, id ), id, nullptr );
   } else if ( GenericPtr const present = read( *target, attribute ) ) {
      object( item, context_.builtType( type, id ), id, changeable( present ).ptr() );
   } else {
      write( *target, attribute, nullptr, built( item, type, id, nullptr ) );
   }
}

void
Patcher::structure(
   Item const& item, RyxAttr const& attribute, GenericPtr const& key, GenericIf* target ) {
   RyxType const& type = *attribute.valueType();
   if ( !target ) {
      object( item, type, {}, nullptr );
      return;
   }
   GenericPtr const value =
      target->attributeOp( { attribute.id(), GenericIf::get }, key, nullptr );
   object( item, type, {}, value.ptr() );
   write( *target, attribute, key, value );
}

void
Patcher::collection( Item const& item, RyxAttr const& attribute, GenericIf* target ) {
   item.forEachEntry(
      [ & ] { return "a map with " + keyWords( attribute ) + " as each key"; },
      [ & ]( Item const& entry ) { member( entry, attribute, target ); } );
}

void
Patcher::member( Item const& item, RyxAttr const& collection, GenericIf* target ) {
   GenericPtr const key = readKey( item, collection );
   if ( item.isNull() ) {
      if ( target && removals_ && !readMember( *target, collection, key ) ) {
         removals_->push_back( item.keys() );
      }
      if ( target ) {
         target->attributeOp( { collection.id(), GenericIf::del }, key, nullptr );
      }
      return;
   }
   switch ( collection.valueType()->kind() ) {
   case Ryx::ValueKind::object:
      entity( item, collection, key, target );
      break;
   case Ryx::ValueKind::structure:
      structure( item, collection, key, target );
      break;
   default:
      set( target, collection, key, readScalar( item, *collection.valueType() ) );
      break;
   }
}

void
Patcher::entity(
   Item const& item, RyxAttr const& collection, GenericPtr const& key, GenericIf* target ) {
   RyxType const& type = *collection.valueType();
   std::string const id( item.key() );
   if ( !target ) {
      object( item, context_.builtType( type, id ), id, nullptr );
   } else if ( GenericPtr const present = readMember( *target, collection, key ) ) {
      object( item, context_.builtType( type, id ), id, changeable( present ).ptr() );
   } else {
      write( *target, collection, key, built( item, type, id, key ) );
   }
}

} // namespace ostra
