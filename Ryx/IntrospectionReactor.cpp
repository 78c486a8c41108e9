// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/IntrospectionReactor>

namespace Ryx {

IntrospectionReactor&
IntrospectionReactor::global() {
   // Never destroyed: descriptions are used by the last static destructors.
   static auto* const reactor = new IntrospectionReactor;
   return *reactor;
}

void
IntrospectionReactor::handleNameSpace( char const* name ) {
   scopes_.emplace_back( name );
}

void
IntrospectionReactor::handleScopeExit() {
   if ( scopes_.empty() ) {
      assertFailed( "!scopes_.empty()", "Ryx/IntrospectionReactor", __LINE__, __func__ );
   }
   scopes_.pop_back();
}

void
IntrospectionReactor::handleType( RyxType& type ) {
   types_.emplace( type.name(), &type );
}

void
IntrospectionReactor::handleAttr( RyxAttr& attr ) {
   attrContext_ = &attr;
}

void
IntrospectionReactor::handleAttrContextExit() {
   attrContext_ = nullptr;
}

Ptr< RyxAttr >
IntrospectionReactor::defNoninstantiatingAttr(
   RyxType* owningType,
   Name const& name,
   RyxType* valueType,
   RyxType* indexType,
   std::vector< RyxArgument > arguments,
   RyxAttr::AttrFlags const& flags,
   RyxAttr::RyxAttrIntrospectionFlags introspection,
   AttributeId id ) {
   auto attr = RyxAttr::attrIs(
      name,
      Ptr< RyxType >( owningType ),
      valueType,
      indexType,
      std::move( arguments ),
      flags,
      introspection,
      id );
   handleAttr( *attr );
   handleAttrContextExit();
   return attr;
}

RyxType*
IntrospectionReactor::type( Name const& name ) const {
   auto const found = types_.find( name );
   return found == types_.end() ? nullptr : found->second;
}

std::vector< RyxType* >
IntrospectionReactor::types() const {
   std::vector< RyxType* > all;
   for ( auto const& [ name, type ] : types_ ) {
      all.push_back( type );
   }
   return all;
}

} // namespace Ryx
