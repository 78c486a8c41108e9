// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/PortCensus>

#include <Kovel/InternalIntfId>
#include <Kovel/MgmtIntfId>

namespace ostra {

using Kovel::IntfId;

PortCensus::PortCensus( SwitchFacts const& facts ) : peerLink( facts.peerLink() ) {
   for ( IntfId const port : facts.ports() ) {
      IntfId const portChannel = facts.portChannelOf( port );
      if ( portChannel ) {
         ++memberCounts[ portChannel ];
      }
      if ( Kovel::InternalIntfId::isInternalIntfId( port ) ) {
         internal.push_back( port );
      } else if ( Kovel::MgmtIntfId::isMgmtIntfId( port ) ) {
         management.push_back( port );
      } else if ( peerLink && ( port == peerLink || portChannel == peerLink ) ) {
         peerLinkPorts.push_back( port );
      }
   }
}

std::size_t
PortCensus::memberCount( std::vector< IntfId > const& portChannels ) const {
   std::size_t count = 0;
   for ( IntfId const portChannel : portChannels ) {
      auto const found = memberCounts.find( portChannel );
      count += found == memberCounts.end() ? 0 : found->second;
   }
   return count;
}

} // namespace ostra
