// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is done for one port when it comes, goes or is released.

#include <model/Machine>

namespace model {

void
Machine::onIntfStatus( Id const& port ) {
   handleIntfStatus( port );
}

void
Machine::handleIntfStatus( Id const& port ) {
   if ( isManagementOrInternal( port ) ) {
      return;
   }
   if ( !env_.mounts.ethPhyIntfStatus.contains( port ) ) {
      handleDeleted( port );
      return;
   }
   if ( periodOver( mlagLink( port ) ) || inPeerLink( port ) ) {
      return;
   }
   Id const portChannel = mlagPortChannelByMember( port );
   if ( isLacpStandby( port ) && isLacpOverride( portChannel ) ) {
      setLacpStandby( portChannel );
      return;
   }
   if ( !env_.mounts.mlagissuCause.contains( port ) ) {
      env_.causeIs( port, env_.now() );
   }
   if ( !portChannel ) {
      return;
   }
   auto const config = env_.mounts.ethPhyIntfConfig.find( port );
   if ( config != env_.mounts.ethPhyIntfConfig.end() && !isShutDown( config->second ) ) {
      env_.forceEnabledPortsIs( portChannel );
      recordMember( port, portChannel );
   } else {
      env_.forceEnabledPortsDel( portChannel );
   }
}

void
Machine::handleDeleted( Id const& port ) {
   env_.causeDel( port );
   forgetMember( port );
}

void
Machine::maybeTrackIntfStatus( Id const& port ) {
   auto const config = env_.mounts.ethPhyIntfConfig.find( port );
   if ( config == env_.mounts.ethPhyIntfConfig.end() || isShutDown( config->second ) ) {
      return;
   }
   Id const portChannel = mlagPortChannelByMember( port );
   if ( !portChannel ) {
      return;
   }
   auto const status = env_.mounts.lagInputIntfStatus.find( portChannel );
   if ( status != env_.mounts.lagInputIntfStatus.end() ) {
      track( portChannel, status->second );
   } else {
      env_.forceEnabledPortsDel( portChannel );
   }
}

// A watch that has another status in view is turned to this one, which it takes for a
// change: that ends it.
void
Machine::track( Id const& portChannel, StatusRef const& status ) {
   auto const [ it, added ] = lagIntfStatus_.try_emplace( portChannel, status );
   if ( !added && it->second.object != status.object ) {
      it->second = status;
      handleLinkStatus( portChannel );
   }
}

void
Machine::onLinkStatus( Status const& status, Id const& portChannel ) {
   auto const it = lagIntfStatus_.find( portChannel );
   if ( it != lagIntfStatus_.end() && it->second.object.get() == &status ) {
      handleLinkStatus( portChannel );
   }
}

void
Machine::handleLinkStatus( Id const& portChannel ) {
   if ( lagIntfStatus_.at( portChannel ).object->linkStatus == 2 ) {
      env_.forceEnabledPortsDel( portChannel );
   }
   lagIntfStatus_.erase( portChannel );
}

void
Machine::onMlagIntfConfig( Id const& portChannel ) {
   if ( mlagIdOf( portChannel ).empty() ) {
      env_.forceEnabledPortsDel( portChannel );
      lagIntfStatus_.erase( portChannel );
   }
}

void
Machine::onIntfConfig( Id const& port ) {
   if ( env_.mounts.ethPhyIntfConfig.contains( port ) ) {
      intfConfig_.insert( port );
   } else {
      intfConfig_.erase( port );
   }
}

void
Machine::onAdminEnabledStateLocal( Id const& port ) {
   if (
      isManagementOrInternal( port ) ||
      !isShutDown( env_.mounts.ethPhyIntfConfig.at( port ) ) ) {
      return;
   }
   Id const portChannel = mlagPortChannelByMember( port );
   if ( portChannel ) {
      env_.forceEnabledPortsDel( portChannel );
   }
}

} // namespace model
