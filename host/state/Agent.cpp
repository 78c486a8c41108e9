// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/Agent>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

KnownKeys
childNames( std::vector< RyxAttr const* > const& children ) {
   KnownKeys names;
   for ( RyxAttr const* child : children ) {
      names.push_back( child->name().string() );
   }
   return names;
}

} // namespace

std::vector< RyxAttr const* >
agentChildren( RyxType const& agentType ) {
   std::vector< RyxAttr const* > children;
   for ( auto const& attribute : agentType.attributeQ() ) {
      if ( attribute->has( Flags::isInstantiating ) && !isCollection( *attribute ) ) {
         children.push_back( attribute.ptr() );
      }
   }
   return children;
}

AgentPatch
readAgentPatch( Item const& item, RyxType const& agentType ) {
   AgentPatch patch;
   if ( item.isNull() ) {
      patch.removesAgent = true;
      return patch;
   }
   auto const known = agentChildren( agentType );
   item.forEachEntry(
      [ & ] { return "null, {} or a map of " + listed( childNames( known ) ); },
      [ & ]( Item const& entry ) {
         auto const child =
            std::find_if( known.begin(), known.end(), [ & ]( RyxAttr const* attribute ) {
               return attribute->name().string() == entry.key();
            } );
         if ( child == known.end() ) {
            refuseUnknownKey( entry, childNames( known ) );
         }
         if ( !entry.isNull() && !entry.node().isEmptyMap() ) {
            entry.refuse( "{} to set it or null to delete it" );
         }
         patch.children.push_back( { *child, !entry.isNull() } );
      } );
   if ( patch.children.empty() ) {
      for ( RyxAttr const* child : known ) {
         patch.children.push_back( { child, true } );
      }
   }
   return patch;
}

Agent::Agent( RyxType const& type, Mounts const& mounts )
      : type_( type ), mounts_( mounts ) {
   for ( RyxAttr const* child : agentChildren( type_ ) ) {
      arguments( *child );
   }
}

GenericPtr
Agent::arguments( RyxAttr const& child ) const {
   auto list = Ryx::make< Ryx::GenericIfList >();
   for ( auto const& argument : child.arguments() ) {
      GenericPtr const mount = mounts_.objectOf( *argument.type );
      if ( !mount ) {
         throw Failure(
            ExitStatus::badPlugin,
            fmt::format(
               "plug-in: {} needs a {}: expected one of the mounts' types",
               child.name().string(),
               argument.type->name().string() ) );
      }
      list->argumentIs( argument.name.string(), mount );
   }
   return list;
}

void
Agent::setAll() {
   for ( RyxAttr const* child : agentChildren( type_ ) ) {
      set( *child );
   }
}

void
Agent::apply( Item const& item ) {
   AgentPatch const patch = readAgentPatch( item, type_ );
   if ( patch.removesAgent ) {
      agent_ = nullptr;
   }
   for ( auto const& [ attribute, isSet ] : patch.children ) {
      if ( isSet ) {
         set( *attribute );
      } else {
         remove( *attribute );
      }
   }
}

Json
Agent::at( std::span< std::string const > path ) const {
   GenericPtr value = agent_;
   while ( value && !path.empty() ) {
      RyxAttr const* const attribute = value->type()->attr( Ryx::Name( path[ 0 ] ) );
      path = path.subspan( 1 );
      if ( !attribute || ( isCollection( *attribute ) && path.empty() ) ) {
         return nullptr;
      }
      if ( isCollection( *attribute ) ) {
         value = readMember( *value, *attribute, keyOf( *attribute, path[ 0 ] ) );
         path = path.subspan( 1 );
      } else {
         value = ostra::read( *value, *attribute );
      }
   }
   bool const isObject = value && value->object();
   return isObject ? Json( true ) : scalarToJson( value );
}

GenericPtr
Agent::child( std::string_view name ) const {
   return agent_ ? ostra::read( *agent_, *type_.attr( Ryx::Name( name ) ) ) : nullptr;
}

GenericPtr
Agent::call(
   std::string_view child, std::string_view operation, GenericPtr const& value ) const {
   GenericPtr const called = this->child( child );
   if ( !called ) {
      return nullptr;
   }
   RyxAttr const& attribute = *called->type()->attr( Ryx::Name( operation ) );
   auto arguments = Ryx::make< Ryx::GenericIfList >();
   if ( value ) {
      arguments->argumentIs( attribute.arguments().front().name.string(), value );
   }
   return called->attributeOp( { attribute.id(), GenericIf::get }, nullptr, arguments );
}

void
Agent::set( RyxAttr const& child ) {
   if ( !agent_ ) {
      agent_ = construct( type_, "ostra" );
   }
   agent_->attributeOp( { child.id(), GenericIf::set }, nullptr, arguments( child ) );
}

void
Agent::remove( RyxAttr const& child ) {
   if ( agent_ ) {
      agent_->attributeOp( { child.id(), GenericIf::del }, nullptr, nullptr );
   }
}

} // namespace ostra
