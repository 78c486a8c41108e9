// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/GenericIf>

#include <Ryx/Entity>
#include <Ryx/GenericValue>

namespace Ryx {

namespace {

String8
quoted( std::string_view name ) {
   return "\"" + String8( name ) + "\"";
}

} // namespace

GenericIfException::~GenericIfException() = default;

AttributeId
GenericIf::attributeId( String8 const& name ) const {
   RyxType const* const described = type();
   RyxAttr const* const attr = described ? described->attr( Name( name ) ) : nullptr;
   return attr ? attr->id() : 0;
}

String8
GenericIf::attributeString( AttributeId id ) const {
   RyxType const* const described = type();
   RyxAttr const* const attr = described ? described->attr( id ) : nullptr;
   return attr ? attr->name().string() : "unknown";
}

Ptr< GenericIf >
GenericIf::attributeOp(
   AttributeOp const& op, Ptr< GenericIf const > const&, Ptr< GenericIf > const& ) {
   throwUnknownAttrException( type(), op.id );
}

Ptr< GenericIf::Iterator >
GenericIf::attributeIterator( AttributeId id ) {
   throwOpNotSupportedException( attributeString( id ) );
}

GenericIfList::GenericIfList( Arguments arguments ) {
   for ( auto& [ name, value ] : arguments ) {
      argumentIs( std::move( name ), std::move( value ) );
   }
}

void
GenericIfList::argumentIs( String8 name, Ptr< GenericIf > value ) {
   for ( auto& [ known, old ] : arguments_ ) {
      if ( known == name ) {
         old = std::move( value );
         return;
      }
   }
   arguments_.emplace_back( std::move( name ), std::move( value ) );
}

Ptr< GenericIf >
GenericIfList::argument( std::string_view name ) const {
   for ( auto const& [ known, value ] : arguments_ ) {
      if ( known == name ) {
         return value;
      }
   }
   return nullptr;
}

RyxType*
GenericIfList::type() const {
   return describedType< GenericIfList >();
}

String8
GenericIfList::strRep() const {
   String8 text = "(";
   for ( auto const& [ name, value ] : arguments_ ) {
      text += ( text.size() == 1 ? " " : ", " ) + name + " = ";
      text += value ? value->strRep() : "null";
   }
   return text + " )";
}

String8
GenericIfPtrInterface::strRep() const {
   RyxType const* const described = type();
   return described ? described->name().string() : "object";
}

String8
GenericIfEntity::strRep() const {
   return static_cast< Entity const* >( object() )->name().string();
}

String8
GenericIfEntity::attributeString( AttributeId id ) const {
   return static_cast< Entity const* >( object() )->attributeString( id );
}

Ptr< GenericIf >
GenericIfEntity::attributeOp(
   AttributeOp const& op,
   Ptr< GenericIf const > const& index,
   Ptr< GenericIf > const& value ) {
   if ( op.id != isNondestructingAttributeId ) {
      return GenericIf::attributeOp( op, index, value );
   }
   auto& entity = const_cast< Entity& >( static_cast< Entity const& >( *object() ) );
   if ( index ) {
      throwBadIndexAttrException( "isNondestructing" );
   }
   if ( op.code >= firstModifyingCode && isConst() ) {
      throwConstException();
   }
   switch ( op.code ) {
   case get:
      return toGeneric( entity.isNondestructing() );
   case set:
      entity.isNondestructingIs( fromGeneric< bool >( value, "isNondestructing" ) );
      return nullptr;
   default:
      throwOpNotSupportedException( "isNondestructing" );
   }
}

void
refuse( RangeException const& error ) {
   if ( dynamic_cast< GenericIfException const* >( &error ) ) {
      throw;
   }
   throw GenericIfException( error );
}

void
throwBadIndexAttrException( std::string_view attribute ) {
   throw GenericIfException( "bad index for attribute " + quoted( attribute ) );
}

void
throwConstException() {
   throw GenericIfException( "attempting to modify a const instance" );
}

void
throwOpNotSupportedException( std::string_view attribute ) {
   throw GenericIfException(
      "operation not supported by attribute " + quoted( attribute ) );
}

void
throwUnknownArgException( std::string_view attribute, std::string_view argument ) {
   throw GenericIfException(
      "unknown argument " + quoted( argument ) + " for " + quoted( attribute ) );
}

void
throwTypeException( std::string_view name, std::string_view expectedType ) {
   throw GenericIfException( quoted( name ) + " is not of type " + quoted( expectedType ) );
}

void
throwNullException( std::string_view name, std::string_view expectedType ) {
   throw GenericIfException(
      quoted( name ) + " is null, not of type " + quoted( expectedType ) );
}

void
throwUnknownAttrException( RyxType const* type, AttributeId id ) {
   throw GenericIfException(
      ( type ? type->name().string() : "object" ) + " has no attribute " +
      std::to_string( id ) );
}

} // namespace Ryx
