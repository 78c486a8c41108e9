// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <fuzz/generic/Laws>

#include <set>
#include <sstream>

namespace fuzz {

namespace {

using If = Ryx::GenericIf;
using Flags = Ryx::RyxAttr::AttrFlags;

// A value by its text, an object by its identity.
std::string
shown( Object const& value ) {
   if ( !value || !value->object() ) {
      return support::text( value );
   }
   std::ostringstream out;
   out << value->object();
   return out.str();
}

Object
read( Object const& object, Ryx::RyxAttr const& attr, Object const& index = nullptr ) {
   return object->attributeOp( { attr.id(), If::get }, index, nullptr );
}

std::string
shownMembers( Object const& object, Ryx::RyxAttr const& attr ) {
   std::ostringstream out;
   std::set< std::string > keys;
   for ( auto it = object->attributeIterator( attr.id() ); it->nonNull(); it->iterInc() ) {
      Object const key = it->iterKey();
      bool const isNew = keys.insert( key->strRep() ).second;
      require( isNew, attr.name(), " twice: ", key->strRep() );
      require( has( object, attr, key ), attr.name(), " has not ", key->strRep() );
      std::string const value = shown( it->iterObj() );
      require( shown( read( object, attr, key ) ) == value, attr.name(), " reads else" );
      out << key->strRep() << "=" << value << ",";
   }
   std::string const size =
      support::text( object->attributeOp( { attr.id(), If::size }, nullptr, nullptr ) );
   require( size == std::to_string( keys.size() ), attr.name(), " has size ", size );
   return out.str();
}

// Everything that can be read of an object.
std::string
shownState( Object const& object ) {
   std::ostringstream out;
   for ( auto const& attr : object->type()->allAttributes() ) {
      Use const use = useOf( *attr );
      if ( use == Use::collection ) {
         out << attr->name() << "{" << shownMembers( object, *attr ) << "}";
      } else if ( use != Use::inert && use != Use::function ) {
         out << attr->name() << "=" << shown( read( object, *attr ) ) << ";";
      }
   }
   return out.str();
}

// The refusal that comes before the arguments are looked at; empty when none does.
std::string
foreseen( Operation const& operation, Ryx::RyxAttr const* attr ) {
   auto const& [ object, id, code, index, value ] = operation;
   if ( !attr ) {
      return object->type()->name().string() + " has no attribute " + std::to_string( id );
   }
   std::string const name = attr->name().string();
   if ( index && !attr->has( Flags::isCollection ) ) {
      return support::badIndex( name );
   }
   if ( object->isConst() && code >= If::firstModifyingCode ) {
      return support::constInstance;
   }
   return support::isSupported( useOf( *attr ), code ) ? "" : support::notSupported( name );
}

bool
startsWith( std::string const& text, std::string_view start ) {
   return text.compare( 0, start.size(), start ) == 0;
}

void
checkRefusal(
   Operation const& operation, Ryx::RyxAttr const& attr, std::string const& why ) {
   std::string const name = attr.name().string();
   bool const ofIndex =
      useOf( attr ) == Use::collection && why == support::badIndex( name );
   // Not every attribute has a default value; a function or an argument may be const.
   bool const ofCode =
      operation.code == If::defaultValue && why == support::notSupported( name );
   if ( !ofIndex && !ofCode && why != support::constInstance ) {
      requireArgumentRefusal( why );
   }
}

// The machine's watch on a port-channel's status removes itself when it is re-pointed.
bool
isOneShot( Ryx::RyxAttr const& attr ) {
   return attr.name().string() == "lagIntfStatus";
}

// The key of the member that was set.
Object
keyOf( Operation const& operation ) {
   return operation.index ? operation.index
                          : support::valueOf( "Kovel::IntfId", operation.value->strRep() );
}

void
checkMemberSet( Operation const& operation, Ryx::RyxAttr const& attr ) {
   if ( isOneShot( attr ) || ( !operation.value && !attr.has( Flags::isInstantiating ) ) ) {
      return;
   }
   Object const key = keyOf( operation );
   bool const absent =
      attr.has( Flags::isSet ) && support::text( operation.value ) == "false";
   require( has( operation.object, attr, key ) != absent, attr.name(), " set, not there" );
   if ( !attr.has( Flags::isInstantiating ) && !absent ) {
      require(
         shown( read( operation.object, attr, key ) ) == shown( operation.value ),
         attr.name(),
         " set to ",
         shown( operation.value ) );
   }
}

void
checkSet( Operation const& operation, Ryx::RyxAttr const& attr, Object const& result ) {
   if ( attr.has( Flags::isCollection ) ) {
      checkMemberSet( operation, attr );
      return;
   }
   Object const& expected = attr.has( Flags::isInstantiating ) ? result : operation.value;
   std::string const now = shown( read( operation.object, attr ) );
   require( now == shown( expected ), attr.name(), " set, reads ", now );
}

void
checkDeleted( Operation const& operation, Ryx::RyxAttr const& attr ) {
   if ( attr.has( Flags::isCollection ) ) {
      require( !has( operation.object, attr, operation.index ), attr.name(), " deleted" );
   } else {
      require( !read( operation.object, attr ), attr.name(), " deleted, still there" );
   }
}

void
checkRead( Ryx::RyxAttr const& attr, Object const& result ) {
   if ( result ) {
      require( attr.valueType(), attr.name(), " gives something" );
      require( result->type()->isA( attr.valueType() ), attr.name(), " of another type" );
   }
}

void
checkResult( Operation const& operation, Ryx::RyxAttr const& attr, Object const& result ) {
   switch ( operation.code ) {
   case If::get:
      checkRead( attr, result );
      break;
   case If::set:
      checkSet( operation, attr, result );
      break;
   case If::del:
      checkDeleted( operation, attr );
      break;
   default:
      require(
         bool( result ) || operation.code == If::defaultValue, attr.name(), ": no answer" );
   }
}

// While it is on, an object is not released any more.
void
releaseAgain( Operation const& operation ) {
   if ( operation.id == Ryx::isNondestructingAttributeId && operation.code == If::set ) {
      support::set(
         operation.object,
         "isNondestructing",
         support::valueOf( "Ryx::Builtin<bool>", "false" ) );
   }
}

} // namespace

bool
has( Object const& object, Ryx::RyxAttr const& collection, Object const& index ) {
   return support::text( object->attributeOp(
             { collection.id(), If::has }, index, nullptr ) ) == "true";
}

void
requireArgumentRefusal( std::string const& message ) {
   bool const ofType = message.find( "\" is not of type \"" ) != std::string::npos ||
      message.find( "\" is null, not of type \"" ) != std::string::npos;
   bool const ofMutator = startsWith( message, "null _" ) &&
      message.find( " parameter to mutator for " ) != std::string::npos;
   bool const promised = ofType || ofMutator || message == "null ValidPtr" ||
      message == support::constInstance || startsWith( message, "unknown argument \"" );
   require( promised, "refused with: ", message );
}

Object
operate( Operation const& operation ) {
   auto const* const attr = operation.object->type()->attr( operation.id );
   std::string const expected = foreseen( operation, attr );
   std::string const before = shownState( operation.object );
   Object result;
   std::string const why = support::refusal< Ryx::GenericIfException >( [ & ] {
      result = operation.object->attributeOp(
         { operation.id, operation.code }, operation.index, operation.value );
   } );
   bool const isFunction = attr && useOf( *attr ) == Use::function;
   if ( !isFunction && ( !why.empty() || operation.object->isConst() ) ) {
      require( shownState( operation.object ) == before, "changed, though: ", why );
   }
   if ( !expected.empty() ) {
      require( why == expected, "not \"", expected, "\" but: ", why );
   } else if ( !why.empty() ) {
      checkRefusal( operation, *attr, why );
   } else {
      checkResult( operation, *attr, result );
      releaseAgain( operation );
   }
   return result;
}

} // namespace fuzz
