// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What kind of interface one is.

#include <model/Machine>

namespace model {

bool
isManagementOrInternal( Id const& port ) {
   return port.name.starts_with( "Management" ) || port.name.starts_with( "Internal" ) ||
      port.name.starts_with( "Recirc" );
}

bool
isShutDown( PortConfig const& config ) {
   int const own = config.adminEnabledStateLocal;
   return ( own != 0 ? own : config.fallback.value_or( 0 ) ) == 2;
}

Id
Machine::lagOf( Id const& port ) const {
   auto const it = env_.mounts.phyIntf.find( port );
   return it == env_.mounts.phyIntf.end() ? Id() : it->second.lag;
}

std::string
Machine::mlagIdOf( Id const& intf ) const {
   auto const& ids = env_.mounts.mlagConfig.intfConfig;
   auto const it = ids.find( intf );
   return it == ids.end() ? "" : it->second;
}

bool
Machine::mlagLink( Id const& intf ) const {
   Id const lag = lagOf( intf );
   return !mlagIdOf( lag ? lag : intf ).empty();
}

bool
Machine::inPeerLink( Id const& intf ) const {
   Id const& peerLink = env_.mounts.mlagConfig.peerLinkIntf;
   return peerLink && ( intf == peerLink || lagOf( intf ) == peerLink );
}

Id
Machine::mlagPortChannelByMember( Id const& port ) const {
   Id const lag = lagOf( port );
   return lag && !mlagIdOf( lag ).empty() ? lag : Id();
}

} // namespace model
