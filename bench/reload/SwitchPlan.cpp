// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <reload/SwitchPlan>

namespace bench {

namespace {

constexpr std::size_t portsOfCard = 48;

Kovel::IntfId
cardPort( std::size_t i ) {
   return Kovel::IntfId(
      "Ethernet" + std::to_string( i / portsOfCard + 1 ) + "/" +
      std::to_string( i % portsOfCard + 1 ) );
}

} // namespace

SwitchPlan::SwitchPlan( std::size_t size ) {
   ports.reserve( size + 3 );
   for ( std::size_t i = 0; i < size; ++i ) {
      if ( i % 16 == 0 ) {
         portChannels.emplace_back( "Port-Channel" + std::to_string( i / 16 + 1 ) );
      }
      if ( i % 128 == 0 ) {
         overridden.push_back( portChannels.back() );
      }
      ports.push_back(
         { cardPort( i ), i % 16 < 4 ? portChannels.back() : Kovel::IntfId() } );
   }
   ports.push_back( { Kovel::IntfId( "Ethernet1000001" ), peerLink } );
   ports.push_back( { Kovel::IntfId( "Ethernet1000002" ), peerLink } );
   ports.push_back( { Kovel::IntfId( "Management1" ), Kovel::IntfId() } );
}

} // namespace bench
