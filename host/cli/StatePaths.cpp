// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/StatePaths>

#include <host/state/TypeSchemas>

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string_view>

namespace ostra {

namespace {

using Names = std::vector< std::string >;

// A place in the state, by what a patch may say there.
class StatePlace {
 public:
   StatePlace( Json const& schemas, Json const& schema )
         : schemas_( &schemas ), schema_( &resolved( schema ) ) {}

   bool isMap() const { return schema_->contains( "properties" ) || isCollection(); }
   bool isCollection() const {
      return memberAt( *schema_, { "additionalProperties" } ).is_object();
   }
   // The attributes of an object.
   Json const& attributes() const { return memberAt( *schema_, { "properties" } ); }

   // What stands below it under that key; none where nothing can.
   std::optional< StatePlace > below( std::string const& key ) const {
      if ( isCollection() ) {
         return StatePlace( *schemas_, schema_->at( "additionalProperties" ) );
      }
      Json const& attributes = this->attributes();
      return attributes.contains( key )
         ? std::optional( StatePlace( *schemas_, attributes.at( key ) ) )
         : std::nullopt;
   }

   // The values that have names.
   Names values( bool isEntry, LiveNames const& live ) const {
      Names names;
      if ( schema_->contains( "oneOf" ) ) {
         for ( Json const& choice : schema_->at( "oneOf" ) ) {
            names.push_back( choice.at( "title" ) );
         }
      } else if ( schema_->value( "type", Json() ) == "boolean" ) {
         names = { "true", "false" };
      } else if ( schema_->value( "type", Json() ) == Json{ "string", "null" } ) {
         names = live.ports();
         names.push_back( "null" );
      }
      if ( isEntry ) {
         names.push_back( "null" );
      }
      return names;
   }

 private:
   // Of what may be null, or another number, what it is otherwise.
   Json const& resolved( Json const& schema ) const {
      if ( schema.contains( "$ref" ) ) {
         std::string const target = schema.at( "$ref" );
         return resolved( schemas_->at( target.substr( target.rfind( '/' ) + 1 ) ) );
      }
      return schema.contains( "anyOf" ) ? resolved( schema.at( "anyOf" ).front() ) : schema;
   }

   Json const* schemas_;
   Json const* schema_;
};

struct Reached {
   StatePlace place;
   // It is an entry of a collection.
   bool isEntry = false;
};

// The way of the keys, divided by dots, from the root.
std::optional< Reached >
reach( StatePlace const& root, std::string_view path ) {
   Reached reached{ root };
   while ( !path.empty() ) {
      std::size_t const end = std::min( path.find( '.' ), path.size() );
      auto const next = reached.place.below( std::string( path.substr( 0, end ) ) );
      if ( !next ) {
         return std::nullopt;
      }
      bool const isEntry = reached.place.isCollection();
      reached = { *next, isEntry };
      path.remove_prefix( std::min( end + 1, path.size() ) );
   }
   return reached;
}

Names
keysOf( StatePlace const& place, std::string_view path, LiveNames const& live ) {
   if ( place.isCollection() ) {
      return live.keysAt( path );
   }
   Names names;
   for ( auto const& [ name, schema ] : place.attributes().items() ) {
      names.push_back( name );
   }
   return names;
}

} // namespace

Names
statePaths( std::string const& text, PathUse use, LiveNames const& live ) {
   Json const schemas = stateSchemas();
   StatePlace const root( schemas, schemas.at( patchSchemaName( "State" ) ) );
   std::size_t const equals = text.find( '=' );
   bool const isValue = use == PathUse::assign && equals != text.npos;
   std::size_t const end = isValue ? equals : std::min( text.rfind( '.' ), text.size() );
   bool const isAtRoot = !isValue && end == text.size();
   std::string const path = isAtRoot ? "" : text.substr( 0, end );
   auto const reached = reach( root, path );
   Names names;
   if ( !reached ) {
      return names;
   }
   if ( isValue ) {
      for ( std::string const& value : reached->place.values( reached->isEntry, live ) ) {
         names.push_back( fmt::format( "{}={}", path, value ) );
      }
      return names;
   }
   std::string const before = isAtRoot ? "" : path + '.';
   for ( std::string const& key : keysOf( reached->place, path, live ) ) {
      auto const below = reached->place.below( key );
      bool const isMap = below && below->isMap();
      names.push_back( before + key + ( isMap ? "." : use == PathUse::assign ? "=" : "" ) );
   }
   return names;
}

} // namespace ostra
