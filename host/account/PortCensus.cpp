// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/account/PortCensus>

namespace ostra {

using Kovel::IntfId;

void
PortCensus::add( IntfId port, PortStanding const& standing ) {
   switch ( standing.kind ) {
   case PortStanding::Kind::held:
      break;
   case PortStanding::Kind::internal:
      internal.push_back( port );
      break;
   case PortStanding::Kind::management:
      management.push_back( port );
      break;
   case PortStanding::Kind::peerLink:
      peerLink.push_back( port );
      break;
   case PortStanding::Kind::standby:
      standby.push_back( port );
      ++standbyCounts_[ standing.portChannel ];
      break;
   case PortStanding::Kind::notHeld:
      auto const group =
         notHeld.try_emplace( standing.why, NotHeld{ standing.isAlarming, {} } ).first;
      group->second.ports.push_back( port );
      break;
   }
}

std::size_t
PortCensus::standbyCount( std::vector< IntfId > const& portChannels ) const {
   std::size_t count = 0;
   for ( IntfId const portChannel : portChannels ) {
      auto const found = standbyCounts_.find( portChannel );
      count += found == standbyCounts_.end() ? 0 : found->second;
   }
   return count;
}

} // namespace ostra
