// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The factories of collections refuse what would break them.

#include <Bridging/IgmpSnooping/Config>
#include <Errdisable/CauseStatus>
#include <Interface/AllEthPhyIntfConfigDir>
#include <Interface/AllEthPhyIntfStatusDir>
#include <Interface/AllIntfStatusDir>
#include <Interface/EthIntfStatusDir>
#include <Interface/EthLagIntfStatusDir>
#include <Interface/PeerIntfStatusDir>
#include <Lacp/Config>
#include <Lag/Input/Config>
#include <Lag/Input/LacpOverrideDir>
#include <Mlag/Config>

#include <gtest/gtest.h>
#include <support/Refusal>

namespace {

using Kovel::IntfId;
using Ryx::make;
using Ryx::Ptr;
using support::refusal;

// `create` makes a member Ethernet1 of the attribute.
template< class Create >
void
refusesAPresentKey( std::string const& attribute, Create create ) {
   create();
   EXPECT_EQ( refusal( create ), "key Ethernet1 is present in " + attribute );
}

// The same, of an attribute whose members are objects with a key of their own.
template< class Element, class Create >
void
refusesAPresentKeyAndNull(
   std::string const& type, std::string const& name, Create create ) {
   EXPECT_EQ(
      refusal( [ & ] { create( nullptr ); } ),
      "null _" + name + " parameter to mutator for " + type + "::" + name +
         " not allowed\"" );
   refusesAPresentKey(
      type + "::" + name, [ & ] { create( make< Element >( IntfId( "Ethernet1" ) ) ); } );
}

template< class Dir, class Element >
void
directoryOfStatuses( std::string const& type ) {
   auto const dir = make< Dir >( "dir" );
   refusesAPresentKeyAndNull< Element >(
      type, "intfStatus", [ & ]( Ptr< Element > const& v ) { dir->newIntfStatus( v ); } );
}

TEST( Factories, OfDirectoriesRefuseAPresentKeyAndNull ) {
   using namespace Interface;
   directoryOfStatuses< AllEthPhyIntfStatusDir, EthPhyIntfStatus >(
      "Interface::AllEthPhyIntfStatusDir" );
   directoryOfStatuses< AllIntfStatusDir, PeerIntfStatus >( "Interface::AllIntfStatusDir" );
   directoryOfStatuses< EthIntfStatusDir, PeerIntfStatus >( "Interface::EthIntfStatusDir" );
   directoryOfStatuses< EthLagIntfStatusDir, EthLagIntfStatus >(
      "Interface::EthLagIntfStatusDir" );
   directoryOfStatuses< PeerIntfStatusDir, PeerIntfStatus >(
      "Interface::PeerIntfStatusDir" );
   auto const configs = make< AllEthPhyIntfConfigDir >( "dir" );
   refusesAPresentKeyAndNull< Interface::IntfConfig >(
      "Interface::AllEthPhyIntfConfigDir",
      "intfConfig",
      [ & ]( Ptr< Interface::IntfConfig > const& v ) { configs->newIntfConfig( v ); } );
}

TEST( Factories, OfLagTypesRefuseAPresentKeyAndNull ) {
   auto const lag = make< Lag::Input::Config >( "lag" );
   refusesAPresentKeyAndNull< Lag::EthPhyIntfLagConfig >(
      "Lag::Input::Config", "phyIntf", [ & ]( Ptr< Lag::EthPhyIntfLagConfig > const& v ) {
         lag->newPhyIntf( v );
      } );
   auto const lacp = make< Lacp::Config >( "lacp" );
   refusesAPresentKeyAndNull< Lacp::LacpPCConfig >(
      "Lacp::Config", "portChannel", [ & ]( Ptr< Lacp::LacpPCConfig > const& v ) {
         lacp->newPortChannel( v );
      } );
}

TEST( Factories, OfValuesRefuseAPresentKey ) {
   IntfId const key( "Ethernet1" );
   auto const mlag = make< Mlag::Config >( "mlag" );
   refusesAPresentKey(
      "Mlag::Config::intfConfig", [ & ] { mlag->newIntfConfig( key, { "1" } ); } );
   auto const cause = make< Errdisable::CauseStatus >( "cause" );
   refusesAPresentKey( "Errdisable::CauseStatus::intfStatus", [ & ] {
      cause->newIntfStatus( key, { 5.0 } );
   } );
   auto const snooping = make< Bridging::IgmpSnooping::Config >( "snooping" );
   refusesAPresentKey( "Bridging::IgmpSnooping::Config::forceEnabledPorts", [ & ] {
      snooping->newForceEnabledPorts( key, true );
   } );
   auto const overrides = make< Lag::Input::LacpOverrideDir >( "overrides" );
   refusesAPresentKey( "Lag::Input::LacpOverrideDir::lagIdConfig", [ & ] {
      overrides->newLagIdConfig( key, Kovel::EthAddr() );
   } );
}

} // namespace
