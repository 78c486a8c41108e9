// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <support/ByName>

#include <stdexcept>

namespace support {

std::string const constInstance = "attempting to modify a const instance";

std::string
badIndex( std::string const& attribute ) {
   return "bad index for attribute \"" + attribute + "\"";
}

std::string
notSupported( std::string const& attribute ) {
   return "operation not supported by attribute \"" + attribute + "\"";
}

std::string
unknownArgument( std::string const& attribute, std::string const& argument ) {
   return "unknown argument \"" + argument + "\" for \"" + attribute + "\"";
}

std::string
wrongType( std::string const& name, std::string const& expected ) {
   return "\"" + name + "\" is not of type \"" + expected + "\"";
}

std::string
isNull( std::string const& name, std::string const& expected ) {
   return "\"" + name + "\" is null, not of type \"" + expected + "\"";
}

Ryx::RyxType const&
type( std::string const& name ) {
   Ryx::RyxType const* const found = Ryx::RyxType::type( Ryx::Name( name ) );
   if ( !found ) {
      throw std::runtime_error( "no type " + name );
   }
   return *found;
}

Object
valueOf( std::string const& typeName, std::string const& text ) {
   return type( typeName ).code().parse( text );
}

Object
listOf( Arguments arguments ) {
   return Ryx::make< Ryx::GenericIfList >( std::move( arguments ) );
}

Object
constructed( std::string const& typeName, Arguments arguments ) {
   return type( typeName )
      .code()
      .construct( *Ryx::make< Ryx::GenericIfList >( std::move( arguments ) ) );
}

Object
adapted( Ryx::Ptr< Ryx::PtrInterface const > const& object, bool asConst ) {
   return Ryx::wrapObject( object, asConst );
}

Object
constOf( Object const& object ) {
   return adapted( Ryx::Ptr< Ryx::PtrInterface const >( object->object() ), true );
}

Object
operation(
   Object const& object,
   std::string const& attribute,
   unsigned code,
   Object const& index,
   Object const& value ) {
   return object->attributeOp(
      { object->attributeId( attribute ), static_cast< unsigned char >( code ) },
      index,
      value );
}

Object
get( Object const& object, std::string const& attribute, Object const& index ) {
   return operation( object, attribute, Ryx::GenericIf::get, index );
}

void
set( Object const& object, std::string const& attribute, Object const& value ) {
   operation( object, attribute, Ryx::GenericIf::set, nullptr, value );
}

void
setMember(
   Object const& object,
   std::string const& attribute,
   Object const& index,
   Object const& value ) {
   operation( object, attribute, Ryx::GenericIf::set, index, value );
}

Object
del( Object const& object, std::string const& attribute, Object const& index ) {
   return operation( object, attribute, Ryx::GenericIf::del, index );
}

void
delAll( Object const& object, std::string const& attribute ) {
   auto const it = object->attributeIterator( object->attributeId( attribute ) );
   for ( ; it->nonNull(); it->iterInc() ) {
      it->iterDel();
   }
}

std::string
text( Object const& value ) {
   return value ? value->strRep() : "null";
}

} // namespace support
