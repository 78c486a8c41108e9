// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/RyxType>

#include <Ryx/IntrospectionReactor>

namespace Ryx {

RyxAttr::RyxAttrIntrospectionFlags::RyxAttrIntrospectionFlags( unsigned value )
      : value_( value ) {
   if ( value > 0x3f ) {
      throwRangeException( "RyxAttrIntrospectionFlags::value > 0x3f not allowed" );
   }
}

RyxAttr::RyxAttr(
   Name name, RyxType* type, AttributeId id, RyxAttrIntrospectionFlags flags )
      : name_( std::move( name ) ),
        owningType_( type ),
        introspection_( flags ),
        id_( id ) {}

Ptr< RyxAttr >
RyxAttr::attrIs(
   Name name,
   Ptr< RyxType > const& type,
   RyxType* valueType,
   RyxType* indexType,
   std::vector< RyxArgument > arguments,
   AttrFlags const& flags,
   RyxAttrIntrospectionFlags introspectionFlags,
   AttributeId id ) {
   for ( auto const& known : type->attributeQ_ ) {
      if ( known->id_ == id ) {
         return known;
      }
   }
   auto attr = make< RyxAttr >( std::move( name ), type.ptr(), id, introspectionFlags );
   attr->valueType_ = valueType;
   attr->indexType_ = indexType;
   attr->arguments_ = std::move( arguments );
   attr->flags_ = flags;
   type->attributeQ_.push_back( attr );
   return attr;
}

Ptr< RyxAttr >
RyxAttr::attr( RyxType const& type, Name const& name ) {
   return Ptr< RyxAttr >( const_cast< RyxAttr* >( type.attr( name ) ) );
}

RyxType*
RyxType::type( Name const& name ) {
   return IntrospectionReactor::global().type( name );
}

std::vector< RyxType* >
RyxType::types() {
   return IntrospectionReactor::global().types();
}

RyxType*
RyxType::typeIs( Name const& name ) {
   IntrospectionReactor& introspection = IntrospectionReactor::global();
   if ( RyxType* const known = introspection.type( name ) ) {
      return known;
   }
   auto created = Ptr< RyxType >::adopt( new RyxType( name ) );
   created->isNondestructingIs( true );
   try {
      introspection.handleType( *created );
   } catch ( ... ) {
      created->isNondestructingIs( false );
      throw;
   }
   return created.release();
}

Name
RyxType::scope() const {
   String8 const& full = name_.string();
   std::size_t const template_ = full.find( '<' );
   std::size_t const colons = full.rfind( "::", template_ );
   return colons == String8::npos ? Name() : Name( full.substr( 0, colons ) );
}

void
RyxType::shapeIs( RyxType* baseType, std::size_t size, ValueKind kind ) {
   baseType_ = baseType;
   size_ = size;
   kind_ = kind;
}

void
RyxType::constructorIs( RyxType* constructedType, std::vector< RyxArgument > arguments ) {
   constructedType_ = constructedType;
   constructorArguments_ = std::move( arguments );
}

RyxType::AttributeQ
RyxType::allAttributes() const {
   AttributeQ all = baseType_ ? baseType_->allAttributes() : AttributeQ();
   all.insert( all.end(), attributeQ_.begin(), attributeQ_.end() );
   return all;
}

RyxAttr const*
RyxType::attr( AttributeId id ) const noexcept {
   for ( auto const& own : attributeQ_ ) {
      if ( own->id() == id ) {
         return own.ptr();
      }
   }
   return baseType_ ? baseType_->attr( id ) : nullptr;
}

RyxAttr const*
RyxType::attr( Name const& name ) const noexcept {
   for ( auto const& own : attributeQ_ ) {
      if ( own->name() == name ) {
         return own.ptr();
      }
   }
   return baseType_ ? baseType_->attr( name ) : nullptr;
}

bool
RyxType::isA( RyxType const* base ) const noexcept {
   return this == base || ( baseType_ && baseType_->isA( base ) );
}

} // namespace Ryx
