// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A process to be looked at in a debugger: values, collections, a switch whose ports are held,
// observers of it, and objects that are null, ending, freed or were never constructed.

#include <Mlag/MlagErrdisableSm>
#include <Ryx/Activity>
#include <Ryx/Clock>
#include <Ryx/Log>
#include <Ryx/Time>
#include <support/MachineInputs>

#include <cstdio>
#include <cstring>

using Kovel::IntfId;

// A debugger stops here.
extern "C" [[gnu::noinline]] void
lookAtIt() {
   asm volatile( "" );
}

namespace {

class Time : public Ryx::TimeSource {
 public:
   Ryx::Seconds now() const override { return seconds; }
   Ryx::Seconds seconds = 1000;
};

class Messages : public Ryx::LogSink {
   void log( Ryx::LogRecord const& ) override {}
};

class Watch : public Mlag::Config::NotifieeConst {
 public:
   Watch( Ryx::Ptr< Mlag::Config const > const& config, bool weak, bool registered ) {
      isWeakReferenceIs( weak );
      notifierIs( config );
      isRegisteredNotifieeIs( registered );
   }
};

class Patient final : public Mlag::Config::NotifieeConst {
 public:
   explicit Patient( Ryx::Ptr< Mlag::Config const > const& config ) {
      notifierIs( config );
      isRegisteredNotifieeIs( true );
   }
   Ryx::ActivityConfig* ryxFwkActivity() override { return activity_.ptr(); }

 private:
   Ryx::Ptr< Ryx::ActivityConfig > activity_ = Ryx::make< Ryx::ActivityConfig >();
};

class Alarm final : public Ryx::Clock::NotifieeConst {
 public:
   Alarm( Ryx::Ptr< Ryx::Clock const > const& clock, Ryx::Seconds at ) {
      timeMinIs( at );
      notifierIs( clock );
      isRegisteredNotifieeIs( true );
   }
};

// Its members are known to a debugger if the program knows them.
static_assert( sizeof( Mlag::Ostra::MlagErrdisableSm::RyxPortChannelTracker ) != 0 );

struct Values {
   IntfId port{ "Ethernet10/1" };
   IntfId lag{ "PeerPort-Channel268435454/0/3/4" };
   IntfId none;
   Kovel::EthAddr mac{ "02:00:00:00:10:01" };
   Kovel::EthAddr noMac;
   Kovel::IpAddr v4{ "192.0.2.1" };
   Kovel::IpAddr v6{ "2001:db8::1:0:0:1" };
   Kovel::IpAddr mapped{ "::ffff:192.0.2.1" };
   Kovel::IpAddr unset{ "::" };
   Ryx::Name name{ "leaf1a" };
   Ryx::Name noName;
   Ryx::String8 text = "two\nlines \"quoted\" \\";
   Ryx::Ptr< Mlag::Config > null;
};

struct Things {
   IntfId id;
   Kovel::EthAddr mac;
   Kovel::IpAddr ip;
   Ryx::Name name;
   Ryx::String8 text;
   Ryx::Ptr< Mlag::Config > pointer;
   Mlag::Config::IntfConfigStorage map;
   Bridging::IgmpSnooping::Config::ForceEnabledPortsStorage set;
   Ryx::ReactorSlot< Watch, Mlag::Config > slot;
   Mlag::Config config;
   Mlag::Ostra::MlagErrdisableSm machine;
   Ryx::Clock clock;
};

// Memory in which nothing was constructed.
union Unconstructed {
   explicit Unconstructed( int byte ) { std::memset( bytes, byte, sizeof bytes ); }
   ~Unconstructed() {}
   Things things;
   unsigned char bytes[ sizeof( Things ) ];
};

template< class T >
Ryx::Ptr< T >
intf( char const* name ) {
   return Ryx::make< T >( IntfId( name ) );
}

// Puts a port into an MLAG port-channel.
void
join( support::MachineInputs const& inputs, char const* port, char const* portChannel ) {
   auto const lag = intf< Interface::EthLagIntfConfig >( portChannel );
   inputs.mlagConfig->intfConfigIs( lag->intfId(), { "pair" } );
   auto const member = intf< Lag::EthPhyIntfLagConfig >( port );
   member->lagIs( lag );
   member->modeIs( Lag::LacpMode::lacpActive );
   inputs.lagInputConfig->phyIntfIs( member );
   inputs.lagInputIntfStatus->intfStatusIs(
      intf< Interface::EthLagIntfStatus >( portChannel ) );
}

// Three front-panel ports: two are in MLAG port-channels, of which one can be put into LACP
// standby.
void
configure( support::MachineInputs const& inputs ) {
   auto& config = *inputs.mlagConfig;
   config.enabledIs( true );
   config.domainIdIs( "rack1" );
   config.localInterfaceIs( intf< Interface::VlanIntfConfig >( "Vlan4094" ) );
   config.peerAddressIs( Kovel::IpAddr( "10.255.255.2" ) );
   config.peerLinkIntfIs( intf< Interface::EthLagIntfConfig >( "Port-Channel1000" ) );
   config.reloadDelayIs( 300 );
   config.reloadDelayNonMlagConfiguredIs( true );
   config.reloadDelayNonMlagIs( 330 );
   config.lacpStandbyIs( true );
   inputs.mlagProtoStatus->holdInSecondaryIs( true );
   inputs.mlagStatus->mlagStateIs( Mlag::MlagState::mlagSecondary );
   inputs.mlagStatus->systemIdIs( Kovel::EthAddr( "02:00:00:00:10:01" ) );
   for ( char const* port : { "Ethernet1", "Ethernet2", "Ethernet3" } ) {
      inputs.ethPhyIntfStatus->intfStatusIs( intf< Interface::EthPhyIntfStatus >( port ) );
      auto const local = intf< Interface::IntfConfig >( port );
      local->adminEnabledStateLocalIs( Interface::IntfEnabledState::enabled );
      inputs.ethPhyIntfConfig->intfConfigIs( local );
   }
   join( inputs, "Ethernet1", "Port-Channel10" );
   join( inputs, "Ethernet2", "Port-Channel11" );
   inputs.lacpOverride->lagIdConfigIs(
      IntfId( "Port-Channel11" ), inputs.mlagStatus->systemId() );
   inputs.lacpConfig->portChannelIs( intf< Lacp::LacpPCConfig >( "Port-Channel11" ) );
}

// An object that is gone, and the memory of it.
void*
freed() {
   return Ryx::make< Mlag::Config >( "gone" ).ptr();
}

} // namespace

int
main() {
   Time time;
   Ryx::timeSourceIs( &time );
   Messages messages;
   Ryx::logSinkIs( &messages );
   {
      Values values;
      support::MachineInputs inputs;
      configure( inputs );
      auto& config = inputs.mlagConfig;

      Unconstructed zeros( 0 );
      Unconstructed garbage( 0xa5 );
      [[maybe_unused]] auto* const dangling = static_cast< Mlag::Config* >( freed() );
      auto const zombie = Ryx::make< Mlag::Status >( "zombie" );
      zombie->ryxMarkedForDeletionIs( true );
      auto const pinned = Ryx::make< Mlag::Status >( "pinned" );
      pinned->isNondestructingIs( true );

      auto const loud = Ryx::make< Watch >( config, false, true );
      auto const weak = Ryx::make< Watch >( config, true, true );
      auto const parked = Ryx::make< Watch >( config, true, false );
      auto const patient = Ryx::make< Patient >( config );
      config->domainIdIs( "rack2" );

      auto const clock = Ryx::activityManager()->clock();
      auto const alarm = Ryx::make< Alarm >( clock, 1010.5 );
      auto const idle = Ryx::make< Alarm >( clock, Ryx::never );
      auto const emptyClock = Ryx::make< Ryx::Clock >( "empty" );

      auto const machine = inputs.makeMachine();
      auto const cause = inputs.mlagissuCause;
      auto const snooping = inputs.igmpsnoopingConfig;
      lookAtIt();

      time.seconds = 1300;
      clock->handleTime();
      lookAtIt();
      pinned->isNondestructingIs( false );
   }
   Ryx::logSinkIs( nullptr );
   Ryx::timeSourceIs( nullptr );
   std::puts( "done" );
}
