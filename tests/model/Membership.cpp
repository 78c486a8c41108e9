// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Which held member belongs to which port-channel.

#include <model/Machine>

#include <algorithm>

namespace model {

void
Machine::recordMembers() {
   for ( auto const& [ port, membership ] : env_.mounts.phyIntf ) {
      if ( membership.lag ) {
         portChannelToMember_[ membership.lag ].insert( port );
      }
   }
}

void
Machine::recordMember( Id const& port, Id const& portChannel ) {
   portChannelTracker_.insert( portChannel );
   memberToPortChannel_[ port ] = portChannel;
}

void
Machine::forgetMember( Id const& port ) {
   auto const removed = memberToPortChannel_.extract( port );
   if ( removed.empty() ) {
      return;
   }
   Id const& portChannel = removed.mapped();
   bool const isShared = std::any_of(
      memberToPortChannel_.begin(), memberToPortChannel_.end(), [ & ]( auto const& other ) {
         return other.second == portChannel;
      } );
   if ( !isShared ) {
      portChannelTracker_.erase( portChannel );
      lagIntfStatus_.erase( portChannel );
      env_.forceEnabledPortsDel( portChannel );
   }
}

} // namespace model
