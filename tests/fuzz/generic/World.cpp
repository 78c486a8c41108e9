// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <fuzz/generic/World>

#include <fuzz/generic/Laws>

#include <support/Samples>

#include <algorithm>

namespace fuzz {

namespace {

using Types = std::vector< Ryx::RyxType* >;

constexpr std::size_t mostObjects = 64;

char const* const names[] = { "Ethernet1",     "Ethernet2",       "Port-Channel1",
                              "Port-Channel2", "Management1",     "Internal1",
                              "PeerEthernet1", "Port-Channel1000" };
char const* const seconds[] = { "0", "5", "10", "40", "300", "inf", "-1", "-inf", "1e308" };

template< class Predicate >
Types
typesThat( Predicate predicate ) {
   Types all = Ryx::RyxType::types();
   all.erase(
      std::remove_if(
         all.begin(),
         all.end(),
         [ & ]( Ryx::RyxType* type ) { return !predicate( *type ); } ),
      all.end() );
   return all;
}

Types const&
constructible() {
   static Types const types =
      typesThat( []( Ryx::RyxType const& type ) { return type.code().construct; } );
   return types;
}

bool
isReadable( Ryx::RyxType const& type ) {
   try {
      return type.code().parse && type.code().parse( support::sampleTexts( type )[ 0 ] );
   } catch ( std::exception const& ) {
      return false;
   }
}

Types const&
values() {
   static Types const types = typesThat( isReadable );
   return types;
}

bool
isNamed( Ryx::RyxType const* type, std::string_view name ) {
   return type->name().string() == name;
}

void
takeApart( Object const& object ) {
   for ( auto const& attr : object->type()->allAttributes() ) {
      bool const hasObjects =
         attr->valueType() && attr->valueType()->kind() == Ryx::ValueKind::object;
      if ( hasObjects && useOf( *attr ) == Use::collection ) {
         support::delAll( object, attr->name().string() );
         continue;
      }
      auto const code = support::isSupported( useOf( *attr ), Ryx::GenericIf::del )
         ? Ryx::GenericIf::del
         : Ryx::GenericIf::set;
      if ( hasObjects ) {
         support::refusal( [ & ] {
            object->attributeOp( { attr->id(), code }, nullptr, nullptr );
         } );
      }
   }
}

} // namespace

World::World( Bytes& bytes ) : bytes_( bytes ) {
   for ( Ryx::RyxType* type : constructible() ) {
      auto const& argument = *type->constructorArguments().front().type;
      auto const list = Ryx::make< Ryx::GenericIfList >();
      list->argumentIs(
         type->constructorArguments().front().name.string(),
         argument.code().parse( "Ethernet1" ) );
      keep( type->code().construct( *list ) );
   }
}

World::~World() {
   places.clear();
   for ( Object const& object : objects_ ) {
      takeApart(
         support::adapted( Ryx::Ptr< Ryx::PtrInterface const >( object->object() ) ) );
   }
}

Object
World::object() {
   Object const& any = bytes_.pick( objects_ );
   return bytes_.below( 8 ) == 0 ? support::constOf( any ) : any;
}

void
World::keep( Object const& object ) {
   if ( !object || !object->object() || objects_.size() == mostObjects ) {
      return;
   }
   bool const known =
      std::any_of( objects_.begin(), objects_.end(), [ & ]( Object const& other ) {
         return other->object() == object->object();
      } );
   if ( !known ) {
      objects_.push_back( object );
   }
}

Object
World::value( Ryx::RyxType const* type ) {
   if ( isNamed( type, "Kovel::IntfId" ) ) {
      return type->code().parse( bytes_.pick( names ) );
   }
   if ( isNamed( type, "Ryx::Builtin<double>" ) ) {
      return type->code().parse( bytes_.pick( seconds ) );
   }
   if ( !type->enumerators().empty() ) {
      return type->code().parse( bytes_.pick( type->enumerators() ).string() );
   }
   if ( std::find( values().begin(), values().end(), type ) == values().end() ) {
      return nullptr;
   }
   return type->code().parse( bytes_.pick( support::sampleTexts( *type ) ) );
}

Object
World::fitting( Ryx::RyxType const* type ) {
   if ( !type || type->kind() != Ryx::ValueKind::object ) {
      return type ? value( type ) : nullptr;
   }
   std::size_t const start = bytes_.below( objects_.size() );
   for ( std::size_t i = 0; i < objects_.size(); ++i ) {
      Object const& object = objects_[ ( start + i ) % objects_.size() ];
      if ( object->type()->isA( type ) ) {
         return object;
      }
   }
   return nullptr;
}

Object
World::anything() {
   switch ( bytes_.below( 4 ) ) {
   case 0:
      return nullptr;
   case 1:
      return object();
   case 2:
      return Ryx::make< Ryx::GenericIfList >();
   default:
      return value( bytes_.pick( values() ) );
   }
}

Object
World::maybeFitting( Ryx::RyxType const* type ) {
   return bytes_.below( 16 ) == 15 ? anything() : fitting( type );
}

Object
World::arguments( std::vector< Ryx::RyxArgument > const& arguments ) {
   auto const list = Ryx::make< Ryx::GenericIfList >();
   unsigned const odd = bytes_.below( 16 );
   if ( odd == 15 ) {
      return anything();
   }
   for ( auto const& argument : arguments ) {
      list->argumentIs( argument.name.string(), maybeFitting( argument.type ) );
   }
   if ( odd == 14 ) {
      list->argumentIs( "noSuchArgument", anything() );
   }
   return list;
}

void
World::construct() {
   Ryx::RyxType const* const type = bytes_.pick( constructible() );
   Object const list = arguments( type->constructorArguments() );
   auto const* const given = dynamic_cast< Ryx::GenericIfList const* >( list.ptr() );
   if ( !given ) {
      return;
   }
   Object made;
   std::string const message =
      support::refusal( [ & ] { made = type->code().construct( *given ); } );
   require( bool( made ) == message.empty(), "made and refused: ", message );
   if ( made ) {
      require( made->type() == type->constructedType(), "made a ", made->type()->name() );
      require( made->object()->references() == 1, "references to a new ", type->name() );
   } else {
      requireArgumentRefusal( message );
   }
   keep( made );
}

} // namespace fuzz
