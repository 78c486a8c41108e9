// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/Mounts>

#include <algorithm>
#include <span>
#include <utility>

namespace ostra {

namespace {

using Steps = std::span< std::string const >;

// What a path leads to: a value, or a collection of an object.
struct Found {
   GenericPtr value;
   RyxAttr const* attribute = nullptr;
   GenericPtr owner = nullptr;
   // False for a member that its collection does not have, and for anything below it.
   bool isThere = false;
};

// Null for a text that is no key of the collection, as for a member that is not there.
GenericPtr
memberOf( GenericIf& owner, RyxAttr const& collection, std::string const& key ) {
   try {
      return readMember( owner, collection, keyOf( collection, key ) );
   } catch ( Ryx::RangeException const& ) {
      return nullptr;
   }
}

Found
findFrom( GenericPtr const& from, Steps path ) {
   Found found{ from, nullptr, nullptr, true };
   while ( !path.empty() && found.value ) {
      GenericPtr const owner = found.value;
      RyxAttr const* const attribute = settableAttribute( *owner->type(), path[ 0 ] );
      if ( !attribute ) {
         return {};
      }
      path = path.subspan( 1 );
      if ( !isCollection( *attribute ) ) {
         found = { read( *owner, *attribute ), attribute, nullptr, true };
      } else if ( path.empty() ) {
         return { nullptr, attribute, owner, true };
      } else {
         GenericPtr member = memberOf( *owner, *attribute, path[ 0 ] );
         bool const isThere = member != nullptr;
         found = { std::move( member ), attribute, nullptr, isThere };
         path = path.subspan( 1 );
      }
   }
   return path.empty() ? found : Found();
}

// `path` is not empty.
Found
foundAt( std::span< GenericPtr const > mounts, Steps path ) {
   std::size_t const mount = Mounts::index( path.front() );
   return mount == mounts.size() ? Found() : findFrom( mounts[ mount ], path.subspan( 1 ) );
}

// Of all its collections.
std::size_t
membersOf( GenericIf& object ) {
   std::size_t members = 0;
   for ( RyxAttr const* attribute : settableAttributes( *object.type() ) ) {
      members += isCollection( *attribute ) ? sizeOf( object, *attribute ) : 0;
   }
   return members;
}

} // namespace

Mounts::Mounts() {
   for ( std::size_t i = 0; i < mountKinds.size(); ++i ) {
      RyxType const* const type = RyxType::type( Ryx::Name( mountKinds[ i ].type ) );
      objects_[ i ] = construct( *type, std::string( mountKinds[ i ].name ) );
   }
}

GenericPtr
Mounts::objectOf( RyxType const& type ) const {
   auto const found =
      std::find_if( objects_.begin(), objects_.end(), [ & ]( GenericPtr const& object ) {
         return object->type()->isA( &type );
      } );
   return found == objects_.end() ? nullptr : *found;
}

std::size_t
Mounts::index( std::string_view name ) {
   auto const found =
      std::find_if( mountKinds.begin(), mountKinds.end(), [ & ]( MountKind const& kind ) {
         return kind.name == name;
      } );
   return static_cast< std::size_t >( found - mountKinds.begin() );
}

KnownKeys const&
Mounts::names() {
   static KnownKeys const names = [] {
      KnownKeys all;
      for ( MountKind const& kind : mountKinds ) {
         all.emplace_back( kind.name );
      }
      return all;
   }();
   return names;
}

void
Mounts::patch( Item const& item, bool isApplied, VacuousRemovals* removals ) {
   std::size_t const mount = index( item.key() );
   if ( mount == mountKinds.size() ) {
      refuseUnknownKey( item, names() );
   }
   GenericIf& object = *objects_[ mount ];
   Patcher( context_, removals )
      .object(
         item, *object.type(), std::string( item.key() ), isApplied ? &object : nullptr );
}

void
Mounts::checkMount( Item const& item ) {
   patch( item, false );
}

void
Mounts::applyMount( Item const& item ) {
   patch( item, true );
}

void
Mounts::apply( Item const& item, VacuousRemovals* removals ) {
   item.forEachEntry(
      "a map of mounts", [ & ]( Item const& entry ) { patch( entry, true, removals ); } );
}

Json
Mounts::state() const {
   Json state = jsonObject( mountKinds.size() );
   for ( std::size_t i = 0; i < mountKinds.size(); ++i ) {
      appendMember(
         state, std::string( mountKinds[ i ].name ), objectToJson( *objects_[ i ] ) );
   }
   return state;
}

std::optional< Json >
Mounts::find( std::vector< std::string > const& path ) const {
   if ( path.empty() ) {
      return state();
   }
   Found const found = foundAt( objects_, path );
   if ( !found.isThere ) {
      return std::nullopt;
   }
   if ( found.owner ) {
      return collectionToJson( *found.owner, *found.attribute );
   }
   return found.attribute ? valueToJson( *found.attribute, found.value )
                          : objectToJson( *found.value );
}

Json
Mounts::at( std::vector< std::string > const& path ) const {
   return find( path ).value_or( nullptr );
}

void
Mounts::putLine( std::ostream& out ) const {
   char const* before = "{";
   for ( std::size_t i = 0; i < mountKinds.size(); ++i ) {
      out << std::exchange( before, "," ) << lineOfText( mountKinds[ i ].name ) << ':'
          << lineOfObject( *objects_[ i ] );
   }
   out << '}';
}

bool
Mounts::has( std::vector< std::string > const& path ) const {
   if ( path.empty() ) {
      return true;
   }
   Found const found = foundAt( objects_, path );
   return found.isThere && ( found.owner || found.value );
}

std::size_t
Mounts::size( std::vector< std::string > const& path ) const {
   if ( path.empty() ) {
      std::size_t size = 0;
      for ( GenericPtr const& object : objects_ ) {
         size += membersOf( *object );
      }
      return size;
   }
   Found const found = foundAt( objects_, path );
   if ( found.owner ) {
      return sizeOf( *found.owner, *found.attribute );
   }
   bool const isMount = found.isThere && path.size() == 1;
   return isMount ? membersOf( *found.value ) : 0;
}

std::size_t
Mounts::sizeWithout(
   std::vector< std::string > const& path, std::vector< std::string > const& other ) const {
   Found const these = foundAt( objects_, path );
   Found const those = foundAt( objects_, other );
   std::size_t size = 0;
   for ( auto it = these.owner->attributeIterator( these.attribute->id() ); it->nonNull();
         it->iterInc() ) {
      size += hasMember( *those.owner, *those.attribute, it->iterKey() ) ? 0 : 1;
   }
   return size;
}

std::vector< std::string >
Mounts::keys( std::vector< std::string > const& path ) const {
   if ( path.empty() ) {
      return {};
   }
   Found const found = foundAt( objects_, path );
   return found.owner ? keysOf( *found.owner, *found.attribute )
                      : std::vector< std::string >();
}

} // namespace ostra
