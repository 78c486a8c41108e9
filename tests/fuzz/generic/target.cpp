// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The by-name interface of everything that is registered, the plug-in's types included. An
// input is a list of operations on a world of objects that refer to each other; the laws
// are in <fuzz/generic/Laws>. A place in a collection stays usable whatever happens to the
// collection; at its end nothing can be reached through it.

#include <fuzz/generic/Laws>
#include <fuzz/generic/World>

#include <Ryx/Activity>
#include <Ryx/Clock>
#include <Ryx/Log>
#include <support/SimulatedTime>

namespace {

using fuzz::has;
using fuzz::Object;
using fuzz::Place;
using fuzz::require;
using fuzz::World;
using support::SimulatedTime;
using If = Ryx::GenericIf;

constexpr std::size_t mostPlaces = 8;
constexpr unsigned char codes[] = { If::get, If::get, If::size, If::has, If::defaultValue,
                                    If::set, If::set, If::set,  If::del, If::del };

class Silence final : public Ryx::LogSink {
 public:
   Silence() { Ryx::logSinkIs( this ); }
   ~Silence() override { Ryx::logSinkIs( nullptr ); }
   Silence( Silence const& ) = delete;
   Silence& operator=( Silence const& ) = delete;
   void log( Ryx::LogRecord const& ) override {}
};

Ryx::RyxAttr const*
attribute( World& world, Object const& object ) {
   auto const attributes = object->type()->allAttributes();
   return attributes.empty() ? nullptr : world.bytes().pick( attributes ).ptr();
}

// An index where one belongs, and sometimes where none does.
Object
index( World& world, Ryx::RyxAttr const& attr ) {
   bool const belongs = attr.indexType() != nullptr;
   if ( world.bytes().below( 16 ) == 15 ) {
      return belongs ? nullptr : world.maybeFitting( attr.valueType() );
   }
   return belongs ? world.maybeFitting( attr.indexType() ) : nullptr;
}

Object
value( World& world, Ryx::RyxAttr const& attr ) {
   bool const takesList = support::useOf( attr ) == support::Use::function ||
      attr.has( Ryx::RyxAttr::AttrFlags::isInstantiating );
   return takesList ? world.arguments( attr.arguments() )
                    : world.maybeFitting( attr.valueType() );
}

// Any that fits two bytes, or the one that means all.
Ryx::AttributeId
anyId( fuzz::Bytes& bytes ) {
   Ryx::AttributeId const id = bytes.byte();
   Ryx::AttributeId const high = bytes.byte();
   return id == 255 ? ~0u : high << 8 | id;
}

void
operateOn( World& world, Object const& object, Ryx::RyxAttr const& attr ) {
   fuzz::Bytes& bytes = world.bytes();
   unsigned const odd = bytes.below( 16 );
   auto const id = odd == 15 ? anyId( bytes ) : attr.id();
   auto const code =
      odd == 14 ? static_cast< unsigned char >( bytes.byte() ) : bytes.pick( codes );
   Object const at = index( world, attr );
   world.keep( fuzz::operate( { object, id, code, at, value( world, attr ) } ) );
}

// Some operations on one attribute, which so have to do with each other.
void
operate( World& world ) {
   Object const object = world.object();
   auto const* const attr = attribute( world, object );
   for ( unsigned count = attr ? 1 + world.bytes().below( 4 ) : 0; count != 0; --count ) {
      operateOn( world, object, *attr );
   }
}

void
visit( World& world ) {
   Object const object = world.object();
   auto const* const attr = attribute( world, object );
   if ( !attr || world.places.size() == mostPlaces ) {
      return;
   }
   fuzz::Iterator made;
   std::string const why =
      support::refusal( [ & ] { made = object->attributeIterator( attr->id() ); } );
   bool const isCollection = support::useOf( *attr ) == support::Use::collection;
   require( bool( made ) == isCollection, attr->name(), " to be visited: ", why );
   if ( made ) {
      world.places.push_back( { object, attr, made, world.changes } );
   } else {
      require( why == support::notSupported( attr->name().string() ), "visit: ", why );
   }
}

void
reach( World& world, Place const& place ) {
   Object key;
   Object member;
   std::string const why = support::refusal( [ & ] {
      key = place.iterator->iterKey();
      member = place.iterator->iterObj();
   } );
   require( why.empty() == place.iterator->nonNull(), "reached: ", why );
   require( why.empty() || why == "null ValidPtr", "at the end: ", why );
   world.keep( member );
}

void
step( World const& world, Place& place ) {
   auto const& iterator = place.iterator;
   bool const stands = iterator->nonNull();
   std::string const before = stands ? iterator->iterKey()->strRep() : "";
   std::string const why = support::refusal( [ & ] { iterator->iterInc(); } );
   require( why == ( stands ? "" : "null ValidPtr" ), "stepped: ", why );
   require(
      !iterator->nonNull() || iterator->iterKey()->strRep() != before,
      "still at ",
      before );
   if ( why.empty() ) {
      place.since = world.changes;
   }
}

// What the collection has under that key.
std::string
content( Place const& place, Object const& key ) {
   Object const value =
      place.object->attributeOp( { place.collection->id(), If::get }, key, nullptr );
   return value ? value->strRep() : "";
}

// A member that has been replaced under its key is removed already, and the other one stays.
void
remove( World const& world, Place const& place ) {
   Object const& object = place.object;
   fuzz::Iterator const& iterator = place.iterator;
   Object const key = iterator->nonNull() ? iterator->iterKey() : nullptr;
   bool const was = key && has( object, *place.collection, key );
   std::string const before = was ? content( place, key ) : "";
   std::string const why = support::refusal( [ & ] { iterator->iterDel(); } );
   if ( object->isConst() ) {
      require( why == support::constInstance, "removed from a const instance: ", why );
      require( !was || has( object, *place.collection, key ), "removed, though refused" );
   } else {
      require( why == ( key ? "" : "null ValidPtr" ), "removed: ", why );
      bool const stays = key && has( object, *place.collection, key );
      bool const replaced = was && place.since != world.changes;
      require( !stays || replaced, "still there" );
      require( !stays || content( place, key ) == before, "another one was changed" );
   }
}

void
walk( World& world ) {
   if ( world.places.empty() ) {
      return;
   }
   auto const at = world.bytes().below( world.places.size() );
   Place& place = world.places[ at ];
   switch ( world.bytes().below( 5 ) ) {
   case 0:
      reach( world, place );
      break;
   case 1:
      step( world, place );
      break;
   case 2:
      remove( world, place );
      break;
   case 3:
      place.iterator = place.iterator->iterClone();
      break;
   default:
      world.places.erase( world.places.begin() + at );
   }
}

} // namespace

extern "C" int
LLVMFuzzerTestOneInput( std::uint8_t const* data, std::size_t size ) {
   Silence const silence;
   SimulatedTime time;
   fuzz::Bytes bytes( data, size );
   World world( bytes );
   while ( !bytes.empty() ) {
      switch ( bytes.below( 16 ) ) {
      case 0:
         world.construct();
         break;
      case 1:
         visit( world );
         break;
      case 2:
      case 3:
         walk( world );
         break;
      case 4:
         time.value += bytes.byte();
         Ryx::activityManager()->clock()->handleTime();
         ++world.changes;
         break;
      default:
         operate( world );
         ++world.changes;
      }
   }
   return 0;
}
