// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/RyxType>

#include <Ryx/IntrospectionReactor>

#include <algorithm>

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

namespace {

String8
numbered( RyxAttr const& attr ) {
   return std::to_string( attr.id() ) + " \"" + attr.name().string() + "\"";
}

// "with index type Kovel::IntfId", "with no index type"
String8
typed( String8 const& what, RyxType const* type ) {
   return type ? "with " + what + " " + type->name().string() : "with no " + what;
}

} // namespace

// The attribute cannot become another one: those who use it have read what it is.
void
RyxAttr::refuseOther( RyxAttr const& other ) const {
   auto const refuse = [ & ]( String8 const& difference ) {
      throwRangeException(
         "attribute " + numbered( other ) + " of " + owningType_->name().string() +
         " is already registered " + difference );
   };
   if ( id_ != other.id_ || name_ != other.name_ ) {
      refuse( "as " + numbered( *this ) );
   }
   if ( valueType_ != other.valueType_ ) {
      refuse( typed( "value type", valueType_ ) );
   }
   if ( indexType_ != other.indexType_ ) {
      refuse( typed( "index type", indexType_ ) );
   }
   if ( arguments_ != other.arguments_ ) {
      refuse( "with other arguments" );
   }
   if ( flags_ != other.flags_ || introspection_ != other.introspection_ ) {
      refuse( "with other flags" );
   }
}

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
   auto attr = make< RyxAttr >( std::move( name ), type.ptr(), id, introspectionFlags );
   attr->valueType_ = valueType;
   attr->indexType_ = indexType;
   attr->arguments_ = std::move( arguments );
   attr->flags_ = flags;
   for ( auto const& known : type->attributeQ_ ) {
      if ( known->id_ == id || known->name_ == attr->name_ ) {
         known->refuseOther( *attr );
         return known;
      }
   }
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

RyxType::Code const&
RyxType::code() const noexcept {
   static constexpr Code none;
   return codes_.empty() ? none : codes_.back().second;
}

RyxType::Code const&
RyxType::codeOf( PtrInterface const& object ) const noexcept {
   // Copies of a library have a description of the class each, at an address of its own.
   auto const own = std::find_if( codes_.begin(), codes_.end(), [ & ]( auto const& entry ) {
      return entry.second.objectClass == &typeid( object );
   } );
   return own == codes_.end() ? code() : own->second;
}

void
RyxType::codeIs( void const* unit, Code const& code ) {
   codes_.emplace_back( unit, code );
}

void
RyxType::codeDel( void const* unit ) noexcept {
   std::erase_if( codes_, [ unit ]( auto const& entry ) { return entry.first == unit; } );
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
