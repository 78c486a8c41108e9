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

// In the words of a message: "attribute 258 "colour"".
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

// The attribute cannot become another one: those who use it have read what it is. Nor can a
// type declare the one of its base again.
void
RyxAttr::refuseOther( RyxAttr const& other, RyxType const& type ) const {
   auto const refuse = [ & ]( String8 const& difference ) {
      throwRangeException(
         "attribute " + numbered( other ) + " of " + type.name().string() +
         " is already registered " + difference );
   };
   bool const isInherited = owningType_ != &type;
   if ( id_ != other.id_ || name_ != other.name_ || isInherited ) {
      String8 const base = isInherited ? " of " + owningType_->name().string() : "";
      refuse( "as " + numbered( *this ) + base );
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
   for ( RyxType const* of = type.ptr(); of; of = of->baseType_ ) {
      for ( auto const& known : of->attributeQ_ ) {
         if ( known->id_ == id || known->name_ == attr->name_ ) {
            known->refuseOther( *attr, *type );
            return known;
         }
      }
   }
   if ( type->isRegistered_ ) {
      throwRangeException(
         type->name().string() + " is already registered without attribute " +
         numbered( *attr ) );
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

// Stores one fact of a type, or compares it with what is known.
template< class Fact >
void
RyxType::factIs( Fact& known, Fact fact, std::string_view difference ) {
   if ( !isRegistered_ ) {
      known = std::move( fact );
   } else if ( known != fact ) {
      throwRangeException(
         name_.string() + " is already registered " + String8( difference ) );
   }
}

void
RyxType::isEntityIs( bool entity ) {
   factIs( flags_.isEntity, entity, flags_.isEntity ? "as an entity" : "as no entity" );
}

void
RyxType::shapeIs( RyxType* baseType, ValueKind kind ) {
   factIs( kind_, kind, "as a type of another kind" );
   factIs( baseType_, baseType, typed( "base type", baseType_ ) );
}

void
RyxType::sizeIs( std::size_t size ) {
   factIs( size_, size, "with a size of " + std::to_string( size_ ) + " bytes" );
}

void
RyxType::attributeCountIs( std::size_t count ) const {
   if ( attributeQ_.size() != count ) {
      throwRangeException( name_.string() + " is already registered with more attributes" );
   }
}

void
RyxType::enumeratorsAre( std::vector< Name > names ) {
   factIs( enumerators_, std::move( names ), "with other enumerators" );
}

void
RyxType::constructorIs( RyxType* constructedType, std::vector< RyxArgument > arguments ) {
   factIs( constructedType_, constructedType, "with another constructor" );
   factIs( constructorArguments_, std::move( arguments ), "with another constructor" );
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

void
RyxType::registrationDel( void const* unit ) noexcept {
   codeDel( unit );
   if ( !isRegistered_ ) {
      baseType_ = nullptr;
      flags_ = {};
      size_ = 0;
      kind_ = ValueKind::none;
      enumerators_.clear();
      attributeQ_.clear();
      constructedType_ = nullptr;
      constructorArguments_.clear();
   }
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
