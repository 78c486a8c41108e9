// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which port-channel an interface is in: as it is configured, as it was at start-up, and as
// it was recorded when the interface was held.

#include <Mlag/MlagErrdisableSm>

namespace Mlag::Ostra {

void
MlagErrdisableSm::recordMembers() {
   auto const config = lagInputConfig();
   if ( !config ) {
      return;
   }
   for ( auto it = config->phyIntfIteratorConst(); it; ++it ) {
      if ( auto const* const lag = it->value()->lag().ptr() ) {
         portChannelToMemberIs( lag->intfId() )->memberIs( it.key(), true );
      }
   }
}

// Whether a member is recorded under the tracker, or under the one that has its place now.
bool
MlagErrdisableSm::hasRecordedMembers( PortChannelTracker const& tracker ) const {
   auto const* const current = portChannelTracker_.borrowed( tracker.intfId() );
   return tracker.members() != 0 || ( current && current->members() != 0 );
}

} // namespace Mlag::Ostra
