// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <support/Samples>

#include <Ryx/Entity>

#include <map>
#include <set>
#include <stdexcept>

namespace support {

namespace {

using Samples = std::map< std::string, std::array< std::string, 2 > >;

Samples const samples{
   { "Ryx::Builtin<bool>", { "true", "false" } },
   { "Ryx::Builtin<double>", { "1.5", "inf" } },
   { "Ryx::Builtin<unsigned char>", { "7", "255" } },
   { "Ryx::Builtin<unsigned int>", { "1", "4294967295" } },
   { "Ryx::Builtin<int>", { "-3", "4" } },
   { "Ryx::String8", { "a text, with words", "another" } },
   { "Ryx::Name", { "first", "second" } },
   { "Kovel::IntfId", { "Ethernet1", "Port-Channel2" } },
   { "Kovel::EthAddr", { "00:1c:73:00:00:01", "02:00:00:00:00:02" } },
   { "Kovel::IpAddr", { "10.0.0.2", "2001:db8::1" } },
   { "Mlag::IntfConfig", { "10", "twenty" } },
   { "Errdisable::CauseIntfStatus", { "1.5", "300" } },
};

// Filled while the program is initialised, in no order that could be relied on.
std::map< std::string, SampleMaker >&
sampleMakers() {
   static std::map< std::string, SampleMaker > makers;
   return makers;
}

std::map< std::string, ObserverMaker >&
observerMakers() {
   static std::map< std::string, ObserverMaker > makers;
   return makers;
}

std::set< std::string >&
oneShots() {
   static std::set< std::string > attributes;
   return attributes;
}

class Adapter final : public Ryx::Entity::NotifieeConst {
 public:
   explicit Adapter( Calls& calls ) : calls_( calls ) {}

   bool isStreamAdapter() const override { return true; }
   void onIsNondestructing() override { calls_.push_back( "adapter isNondestructing" ); }
   void onAttribute( Ryx::AttributeId id ) override {
      calls_.push_back( "adapter " + notifier()->attributeString( id ) );
   }
   void onCollectionNotification( Ryx::String8 member ) override {
      calls_.push_back( "adapter " + member );
   }

 private:
   Calls& calls_;
};

// The sample for a constructor's argument: an interface's id is the key.
Object
argumentSample( Ryx::RyxType const& type, std::string const& key ) {
   return type.name().string() == "Kovel::IntfId" ? type.code().parse( key )
                                                  : sample( type, 0, key );
}

} // namespace

std::array< std::string, 2 >
sampleTexts( Ryx::RyxType const& type ) {
   if ( !type.enumerators().empty() ) {
      return { type.enumerators().front().string(), type.enumerators().back().string() };
   }
   auto const found = samples.find( type.name().string() );
   if ( found == samples.end() ) {
      throw std::runtime_error( "no samples of " + type.name().string() );
   }
   return found->second;
}

std::string const&
sampleKey( unsigned which ) {
   return samples.at( "Kovel::IntfId" )[ which ];
}

Object
sample( Ryx::RyxType const& type, std::string const& key ) {
   auto const maker = sampleMakers().find( type.name().string() );
   if ( maker != sampleMakers().end() ) {
      return maker->second( key );
   }
   if ( !type.code().construct ) {
      throw std::runtime_error( "no sample of " + type.name().string() );
   }
   Ryx::GenericIfList arguments;
   for ( auto const& argument : type.constructorArguments() ) {
      arguments.argumentIs( argument.name.string(), argumentSample( *argument.type, key ) );
   }
   return type.code().construct( arguments );
}

Object
sample( Ryx::RyxType const& type, unsigned which, std::string const& key ) {
   return type.kind() == Ryx::ValueKind::object
      ? sample( type, key )
      : type.code().parse( sampleTexts( type )[ which ] );
}

Object
sampleArguments( std::vector< Ryx::RyxArgument > const& arguments ) {
   auto const list = Ryx::make< Ryx::GenericIfList >();
   for ( auto const& argument : arguments ) {
      list->argumentIs(
         argument.name.string(), sample( *argument.type, 0, sampleKey( 0 ) ) );
   }
   return list;
}

bool
sampleMakerIs( std::string const& typeName, SampleMaker maker ) {
   return sampleMakers().emplace( typeName, std::move( maker ) ).second;
}

bool
observerMakerIs( std::string const& typeName, ObserverMaker maker ) {
   return observerMakers().emplace( typeName, std::move( maker ) ).second;
}

bool
oneShotIs( std::string const& attribute ) {
   return oneShots().insert( attribute ).second;
}

bool
hasObserver( Ryx::RyxType const& type ) {
   return observerMakers().count( type.name().string() ) != 0;
}

bool
isOneShot( std::string const& attribute ) {
   return oneShots().count( attribute ) != 0;
}

Watch::Watch( Object const& object ) {
   if ( !as< Ryx::Notifier >( object ) ) {
      return;
   }
   typed_ = hasObserver( *object->type() );
   if ( typed_ ) {
      registerTo(
         object, observerMakers().at( object->type()->name().string() )( calls_ ) );
   }
   registerTo( object, Ryx::make< Adapter >( calls_ ) );
}

void
Watch::registerTo( Object const& object, Observer observer ) {
   observer->notifierIs( Ryx::Ptr< Ryx::PtrInterface const >( object->object() ) );
   observer->isRegisteredNotifieeIs( true );
   observers_.push_back( std::move( observer ) );
}

Calls
Watch::change( std::string const& attribute, std::string const& key ) const {
   if ( observers_.empty() ) {
      return {};
   }
   std::string const what = attribute + ( key.empty() ? "" : "/" + key );
   return typed_ ? Calls{ "typed " + what, "adapter " + what } : Calls{ "adapter " + what };
}

} // namespace support
