// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Calls all that the installed headers of the plug-in show.

#include <Mlag/MlagErrdisableSm>
#include <OstraMlag/OstraMlag>
#include <Ryx/GenericValue>

#include <iostream>

namespace {

template< class T >
Ryx::Ptr< T >
made() {
   return Ryx::make< T >( Ryx::Name( T::fwkTypeName ) );
}

Ryx::Ptr< Mlag::Ostra::MlagErrdisableSm >
makeMachine() {
   return Mlag::Ostra::mlagErrdisableSmFactory(
      made< Mlag::Config >(),
      made< Mlag::Status >(),
      made< Interface::AllEthPhyIntfStatusDir >(),
      made< Interface::AllEthPhyIntfConfigDir >(),
      made< Interface::EthLagIntfStatusDir >(),
      made< Lag::Input::LacpOverrideDir >(),
      made< Errdisable::CauseStatus >(),
      made< Bridging::IgmpSnooping::Config >(),
      made< Mlag::ProtoStatus >(),
      made< Lag::Input::Config >(),
      made< Lacp::Config >() );
}

// An attribute in text.
std::string
read( Ryx::Ptr< Ryx::PtrInterface const > const& object, char const* attribute ) {
   auto const adapter = Ryx::wrapObject( object, true );
   auto const value = adapter->attributeOp(
      { adapter->attributeId( attribute ), Ryx::GenericIf::get }, nullptr, nullptr );
   return value ? value->strRep() : "none";
}

} // namespace

int
main() {
   auto const agent = OstraMlag::agentFactory( "consumer" );
   auto const machine = makeMachine();
   machine->hasNotificationActiveIs( false );
   std::cout << agent->name() << ' ' << read( agent, "mlagErrdisableSm" ) << ' '
             << read( machine, "initialized" ) << '\n';
   return 0;
}
