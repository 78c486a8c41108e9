// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The smallest host: loads the plug-in, mounts the state of a switch with two ports, plays
// a reload delay of 20 seconds and prints what the plug-in does. docs/host.md walks through
// it. Usage: example-host PLUGIN [trace]

#include <Ryx/Activity>
#include <Ryx/Clock>
#include <Ryx/GenericIf>
#include <Ryx/Log>
#include <Ryx/PluginLibrary>
#include <Ryx/Trace>

#include <Interface/AllEthPhyIntfStatusDir>
#include <Interface/EthLagIntfConfig>
#include <Mlag/Config>
#include <Mlag/ProtoStatus>
#include <Mlag/Status>

#include <cstdio>

namespace {

using Object = Ryx::Ptr< Ryx::GenericIf >;

// Time and messages are the host's.
class Time : public Ryx::TimeSource {
 public:
   Ryx::Seconds now() const override { return seconds; }
   Ryx::Seconds seconds = 0;
};

class Messages : public Ryx::LogSink {
   void log( Ryx::LogRecord const& record ) override {
      std::printf( "%6g  %s\n", Ryx::now(), record.text.c_str() );
   }
};

class Traces : public Ryx::TraceSink {
   void trace( Ryx::TraceRecord const& record ) override {
      std::printf( "%6g  trace %d %s\n", Ryx::now(), record.level, record.text.c_str() );
   }
};

// Hears of every change of one object, whatever its type.
class Watch : public Ryx::Entity::NotifieeConst {
 public:
   explicit Watch( Ryx::Ptr< Ryx::Entity const > const& entity ) {
      notifierIs( entity );
      isRegisteredNotifieeIs( true );
   }
   bool isStreamAdapter() const override { return true; }
   void onAttribute( Ryx::AttributeId id ) override {
      print( notifier()->attributeString( id ) );
   }
   void onCollectionNotification( Ryx::String8 member ) override { print( member ); }

 private:
   void print( Ryx::String8 const& what ) const {
      std::printf( "%6g  %s changes\n", Ryx::now(), what.c_str() );
   }
};

// An object of a registered type.
Object
make( Ryx::RyxType const* type, Ryx::String8 const& name ) {
   Ryx::GenericIfList arguments;
   for ( auto const& argument : type->constructorArguments() ) {
      arguments.argumentIs( argument.name.string(), argument.type->code().parse( name ) );
   }
   return type->code().construct( arguments );
}

// One object for every argument that a child of the agent is made from.
Ryx::Ptr< Ryx::GenericIfList >
mountsFor( Ryx::RyxAttr const& child ) {
   auto const mounts = Ryx::make< Ryx::GenericIfList >();
   for ( auto const& argument : child.arguments() ) {
      mounts->argumentIs(
         argument.name.string(), make( argument.type, argument.name.string() ) );
   }
   return mounts;
}

void
configure( Mlag::Config& config ) {
   config.enabledIs( true );
   config.domainIdIs( "pod1" );
   config.localInterfaceIs(
      Ryx::make< Interface::VlanIntfConfig >( Kovel::IntfId( "Vlan4094" ) ) );
   config.peerAddressIs( Kovel::IpAddr( "10.255.255.2" ) );
   config.peerLinkIntfIs(
      Ryx::make< Interface::EthLagIntfConfig >( Kovel::IntfId( "Port-Channel1000" ) ) );
   config.reloadDelayIs( 20 );
}

// A typed host that knows the types may reach into an adapted object.
template< class T >
T&
as( Object const& object ) {
   return const_cast< T& >( dynamic_cast< T const& >( *object->object() ) );
}

// Plays the delay; returns whether the ports were released at its end.
bool
run( Time& time ) {
   Ryx::RyxType const* const agentType = Ryx::RyxType::type( "OstraMlag::Agent" );
   Object const agent = make( agentType, "example" );

   // The peer reactor first. A host whose peer has interfaces puts them into its notifier.
   Ryx::RyxAttr const* const peer =
      agentType->attr( Ryx::Name( "ethPeerIntfStatusReactor" ) );
   agent->attributeOp( { peer->id(), Ryx::GenericIf::set }, nullptr, mountsFor( *peer ) );

   Ryx::RyxAttr const* const machine = agentType->attr( Ryx::Name( "mlagErrdisableSm" ) );
   auto const mounts = mountsFor( *machine );
   configure( as< Mlag::Config >( mounts->argument( "mlagConfig" ) ) );
   as< Mlag::Status >( mounts->argument( "mlagStatus" ) )
      .mlagStateIs( Mlag::MlagState::mlagSecondary );
   auto& proto = as< Mlag::ProtoStatus >( mounts->argument( "mlagProtoStatus" ) );
   proto.holdInSecondaryIs( true );
   auto& ports =
      as< Interface::AllEthPhyIntfStatusDir >( mounts->argument( "ethPhyIntfStatus" ) );
   for ( char const* port : { "Ethernet1", "Ethernet2" } ) {
      ports.intfStatusIs(
         Ryx::make< Interface::EthPhyIntfStatus >( Kovel::IntfId( port ) ) );
   }

   auto const cause = Ryx::make< Watch >( Ryx::Ptr< Ryx::Entity const >(
      &as< Ryx::Entity >( mounts->argument( "mlagissuCause" ) ) ) );
   agent->attributeOp( { machine->id(), Ryx::GenericIf::set }, nullptr, mounts );

   // The event loop: sleep until the next wake-up, deliver what is due.
   auto const clock = Ryx::activityManager()->clock();
   while ( !Ryx::isInfinite( clock->nextTimeMin() ) ) {
      time.seconds = clock->nextTimeMin();
      clock->handleTime();
   }
   std::printf(
      "%6g  ports held: %s\n", Ryx::now(), proto.portsErrdisabled() ? "yes" : "no" );
   for ( auto const* child : { peer, machine } ) {
      agent->attributeOp( { child->id(), Ryx::GenericIf::del }, nullptr, nullptr );
   }
   return Ryx::now() == 20 && !proto.portsErrdisabled();
}

int
play( bool traced ) {
   Time time;
   Messages messages;
   Traces traces;
   Ryx::timeSourceIs( &time );
   Ryx::logSinkIs( &messages );
   Ryx::traceSinkIs( &traces );
   Ryx::traceEnabledIs( "*", traced );
   bool const released = run( time );
   Ryx::traceSinkIs( nullptr );
   Ryx::logSinkIs( nullptr );
   Ryx::timeSourceIs( nullptr );
   return released ? 0 : 1;
}

} // namespace

int
main( int argc, char** argv ) {
   try {
      // Nothing of the plug-in may be left when it goes.
      Ryx::PluginLibrary const plugin( argc > 1 ? argv[ 1 ] : "libMlagOstra.so" );
      return play( argc > 2 );
   } catch ( Ryx::RangeException const& refusal ) {
      std::fprintf( stderr, "%s\n", refusal.what() );
      return 3;
   }
}
