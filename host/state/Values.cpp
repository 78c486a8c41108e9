// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/Values>

#include <host/base/JsonLine>

#include <algorithm>
#include <charconv>
#include <iterator>

namespace ostra {

namespace {

Json
numberToJson( std::string const& text ) {
   double number = 0;
   std::from_chars( text.data(), text.data() + text.size(), number );
   return toJson( number );
}

Json
enumerationToJson( RyxType const& type, std::string const& text ) {
   auto const& names = type.enumerators();
   auto const found = std::find( names.begin(), names.end(), Ryx::Name( text ) );
   return found == names.end() ? numberToJson( text )
                               : Json( std::distance( names.begin(), found ) );
}

} // namespace

bool
isSettable( RyxAttr const& attribute ) {
   return attribute.id() >= Ryx::firstOwnAttributeId &&
      attribute.has( Flags::isWritable ) && !attribute.has( Flags::isInert ) &&
      !attribute.introspectionFlags().isFunction() && attribute.valueType();
}

std::vector< RyxAttr const* >
settableAttributes( RyxType const& type ) {
   std::vector< RyxAttr const* > settable;
   if ( RyxType const* const base = type.baseType() ) {
      settable = settableAttributes( *base );
   }
   for ( auto const& attribute : type.attributeQ() ) {
      if ( isSettable( *attribute ) ) {
         settable.push_back( attribute.ptr() );
      }
   }
   return settable;
}

RyxAttr const*
settableAttribute( RyxType const& type, std::string_view name ) {
   RyxAttr const* const attribute = type.attr( Ryx::Name( name ) );
   return attribute && isSettable( *attribute ) ? attribute : nullptr;
}

bool
isCollection( RyxAttr const& attribute ) {
   return attribute.has( Flags::isCollection );
}

bool
hasObjects( RyxAttr const& attribute ) {
   Ryx::ValueKind const kind = attribute.valueType()->kind();
   return kind == Ryx::ValueKind::structure ||
      ( kind == Ryx::ValueKind::object && !isReference( attribute ) );
}

bool
isReference( RyxAttr const& attribute ) {
   return attribute.valueType()->kind() == Ryx::ValueKind::object &&
      !attribute.has( Flags::isContained ) && !isCollection( attribute );
}

GenericPtr
keyOf( RyxAttr const& collection, std::string const& text ) {
   return collection.indexType()->code().parse( text );
}

GenericPtr
construct( RyxType const& type, std::string const& id ) {
   return construct( type, id, nullptr );
}

GenericPtr
construct( RyxType const& type, std::string const& id, GenericPtr const& key ) {
   Ryx::GenericIfList arguments;
   for ( auto const& [ name, taken ] : type.constructorArguments() ) {
      bool const isKey = key && key->type() == taken;
      arguments.argumentIs( name.string(), isKey ? key : taken->code().parse( id ) );
   }
   return type.code().construct( arguments );
}

GenericPtr
changeable( GenericPtr const& object ) {
   if ( !object->isConst() ) {
      return object;
   }
   return Ryx::wrapObject( Ryx::Ptr< Ryx::PtrInterface const >( object->object() ), false );
}

GenericPtr
read( GenericIf& object, RyxAttr const& attribute ) {
   return object.attributeOp( { attribute.id(), GenericIf::get }, nullptr, nullptr );
}

bool
hasMember( GenericIf& object, RyxAttr const& collection, GenericPtr const& key ) {
   return object.attributeOp( { collection.id(), GenericIf::has }, key, nullptr )
             ->strRep() == "true";
}

GenericPtr
readMember( GenericIf& object, RyxAttr const& collection, GenericPtr const& key ) {
   return hasMember( object, collection, key )
      ? object.attributeOp( { collection.id(), GenericIf::get }, key, nullptr )
      : nullptr;
}

void
write(
   GenericIf& object,
   RyxAttr const& attribute,
   GenericPtr const& key,
   GenericPtr const& value ) {
   object.attributeOp( { attribute.id(), GenericIf::set }, key, value );
}

Json
scalarToJson( GenericPtr const& value ) {
   if ( !value ) {
      return nullptr;
   }
   std::string const text = value->strRep();
   switch ( value->type()->kind() ) {
   case Ryx::ValueKind::boolean:
      return text == "true";
   case Ryx::ValueKind::number:
      return numberToJson( text );
   case Ryx::ValueKind::enumeration:
      return enumerationToJson( *value->type(), text );
   default:
      return text;
   }
}

Json
objectToJson( GenericIf& object ) {
   auto const attributes = settableAttributes( *object.type() );
   Json json = jsonObject( attributes.size() );
   for ( RyxAttr const* attribute : attributes ) {
      appendMember(
         json,
         attribute->name().string(),
         isCollection( *attribute )
            ? collectionToJson( object, *attribute )
            : valueToJson( *attribute, read( object, *attribute ) ) );
   }
   return json;
}

Json
valueToJson( RyxAttr const& attribute, GenericPtr const& value ) {
   return value && hasObjects( attribute ) ? objectToJson( *value ) : scalarToJson( value );
}

Json
collectionToJson( GenericIf& object, RyxAttr const& collection ) {
   Json json = jsonObject( sizeOf( object, collection ) );
   for ( auto it = object.attributeIterator( collection.id() ); it->nonNull();
         it->iterInc() ) {
      appendMember(
         json, it->iterKey()->strRep(), valueToJson( collection, it->iterObj() ) );
   }
   return json;
}

namespace {

std::string
lineOfCollection( GenericIf& object, RyxAttr const& collection ) {
   ObjectLine line;
   for ( auto it = object.attributeIterator( collection.id() ); it->nonNull();
         it->iterInc() ) {
      line.add( it->iterKey()->strRep(), valueToJson( collection, it->iterObj() ) );
   }
   return line.take();
}

} // namespace

std::string
lineOfObject( GenericIf& object ) {
   ObjectLine line;
   for ( RyxAttr const* attribute : settableAttributes( *object.type() ) ) {
      std::string const name = attribute->name().string();
      if ( isCollection( *attribute ) ) {
         line.addLine( name, lineOfCollection( object, *attribute ) );
      } else {
         line.add( name, valueToJson( *attribute, read( object, *attribute ) ) );
      }
   }
   return line.take();
}

std::size_t
sizeOf( GenericIf& object, RyxAttr const& collection ) {
   auto const size =
      object.attributeOp( { collection.id(), GenericIf::size }, nullptr, nullptr );
   return static_cast< std::size_t >( std::stoull( size->strRep() ) );
}

std::vector< std::string >
keysOf( GenericIf& object, RyxAttr const& collection ) {
   std::vector< std::string > keys;
   keys.reserve( sizeOf( object, collection ) );
   for ( auto it = object.attributeIterator( collection.id() ); it->nonNull();
         it->iterInc() ) {
      keys.push_back( it->iterKey()->strRep() );
   }
   return keys;
}

} // namespace ostra
