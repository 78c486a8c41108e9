// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <plugin/Switch>

#include <Ryx/Activity>
#include <Ryx/Clock>

using support::del;
using support::Object;
using support::operation;
using support::set;
using support::setMember;
using support::text;
using support::valueOf;

namespace {

Object
named( std::string const& typeName, std::string const& name ) {
   return support::constructed( typeName, { { "name", valueOf( "Ryx::Name", name ) } } );
}

Object
intf( std::string const& typeName, std::string const& intfId ) {
   return support::constructed(
      typeName, { { "intfId", valueOf( "Kovel::IntfId", intfId ) } } );
}

} // namespace

Switch::Switch() {
   Ryx::timeSourceIs( this );
   Ryx::logSinkIs( this );
   mountAll();
   configure();
}

Switch::~Switch() {
   Ryx::logSinkIs( nullptr );
   Ryx::timeSourceIs( nullptr );
}

void
Switch::mountAll() {
   mounts_ = {
      { "notifier", named( "Interface::PeerIntfStatusDir", "peer" ) },
      { "ethIntfStatusDir", named( "Interface::EthIntfStatusDir", "eth" ) },
      { "allIntfStatusDir", named( "Interface::AllIntfStatusDir", "all" ) },
      { "mlagConfig", named( "Mlag::Config", "config" ) },
      { "mlagStatus", named( "Mlag::Status", "status" ) },
      { "ethPhyIntfStatus", named( "Interface::AllEthPhyIntfStatusDir", "phyStatus" ) },
      { "ethPhyIntfConfig", named( "Interface::AllEthPhyIntfConfigDir", "phyConfig" ) },
      { "lagInputIntfStatus", named( "Interface::EthLagIntfStatusDir", "lagStatus" ) },
      { "lacpOverride", named( "Lag::Input::LacpOverrideDir", "override" ) },
      { "mlagissuCause", named( "Errdisable::CauseStatus", "cause" ) },
      { "igmpsnoopingConfig", named( "Bridging::IgmpSnooping::Config", "snooping" ) },
      { "mlagProtoStatus", named( "Mlag::ProtoStatus", "proto" ) },
      { "lagInputConfig", named( "Lag::Input::Config", "lagInput" ) },
      { "lacpConfig", named( "Lacp::Config", "lacp" ) },
   };
}

// MLAG is configured; Ethernet1 is alone, Ethernet2 is a member of an MLAG port-channel.
void
Switch::configure() {
   Object const& config = mounted( "mlagConfig" );
   set( config, "enabled", valueOf( "Ryx::Builtin<bool>", "true" ) );
   set( config, "domainId", valueOf( "Ryx::String8", "pod1" ) );
   set( config, "localInterface", intf( "Interface::VlanIntfConfig", "Vlan4094" ) );
   set( config, "peerAddress", valueOf( "Kovel::IpAddr", "10.255.255.2" ) );
   set( config, "peerLinkIntf", intf( "Interface::EthLagIntfConfig", "Port-Channel1000" ) );
   set( config, "reloadDelay", valueOf( "Ryx::Builtin<double>", "20" ) );
   Object const lagId = valueOf( "Kovel::IntfId", "Port-Channel10" );
   setMember( config, "intfConfig", lagId, valueOf( "Mlag::IntfConfig", "10" ) );
   set(
      mounted( "mlagProtoStatus" ),
      "holdInSecondary",
      valueOf( "Ryx::Builtin<bool>", "true" ) );
   set(
      mounted( "mlagStatus" ), "mlagState", valueOf( "Mlag::MlagState", "mlagSecondary" ) );
   Object const member = intf( "Lag::EthPhyIntfLagConfig", "Ethernet2" );
   set( member, "lag", intf( "Interface::EthLagIntfConfig", "Port-Channel10" ) );
   set( mounted( "lagInputConfig" ), "phyIntf", member );
   for ( char const* port : { "Ethernet1", "Ethernet2" } ) {
      set(
         mounted( "ethPhyIntfStatus" ),
         "intfStatus",
         intf( "Interface::EthPhyIntfStatus", port ) );
      set(
         mounted( "ethPhyIntfConfig" ),
         "intfConfig",
         intf( "Interface::IntfConfig", port ) );
   }
}

Object
Switch::argumentsOf( std::string const& attribute ) const {
   auto const list = Ryx::make< Ryx::GenericIfList >();
   auto const* const attr =
      support::type( "OstraMlag::Agent" ).attr( Ryx::Name( attribute ) );
   for ( auto const& argument : attr->arguments() ) {
      list->argumentIs( argument.name.string(), mounted( argument.name.string() ) );
   }
   return list;
}

void
Switch::agentIs() {
   agent_ = named( "OstraMlag::Agent", "agent" );
   for ( char const* child : { "ethPeerIntfStatusReactor", "mlagErrdisableSm" } ) {
      set( agent_, child, argumentsOf( child ) );
   }
}

void
Switch::agentDel() {
   agent_ = nullptr;
}

void
Switch::peerIs( std::string const& intfId ) {
   set( mounted( "notifier" ), "intfStatus", intf( "Interface::PeerIntfStatus", intfId ) );
}

void
Switch::peerDel( std::string const& intfId ) {
   del( mounted( "notifier" ), "intfStatus", valueOf( "Kovel::IntfId", intfId ) );
}

void
Switch::timeIs( double seconds ) {
   now_ = seconds;
   Ryx::activityManager()->clock()->handleTime();
}

std::string
Switch::size( std::string const& argument, std::string const& attribute ) const {
   return text( operation( mounted( argument ), attribute, Ryx::GenericIf::size ) );
}
