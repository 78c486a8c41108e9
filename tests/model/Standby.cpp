// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Port-channels that are held in LACP standby instead of by their members.

#include <model/Machine>

namespace model {

bool
Machine::isLacpStandby( Id const& port ) const {
   auto const& mounts = env_.mounts;
   if (
      !mounts.mlagConfig.lacpStandby || inPeerLink( port ) || mounts.mlagState != 4 ||
      !mounts.holdInSecondary || !mlagPortChannelByMember( port ) ) {
      return false;
   }
   auto const member = mounts.phyIntf.find( port );
   return member != mounts.phyIntf.end() && member->second.mode == 2;
}

bool
Machine::isLacpOverride( Id const& portChannel ) const {
   if ( !portChannel ) {
      return false;
   }
   auto const& mounts = env_.mounts;
   auto const it = mounts.lagIdConfig.find( portChannel );
   std::string const address = it == mounts.lagIdConfig.end() ? noAddress : it->second;
   return address == mounts.systemId && mounts.systemId != noAddress;
}

void
Machine::setLacpStandby( Id const& portChannel ) {
   env_.forceEnabledPortsDel( portChannel );
   if ( lagsInStandby_.contains( portChannel ) ) {
      return;
   }
   if ( env_.mounts.lacpConfig.contains( portChannel ) ) {
      env_.stayInStandbyIs( portChannel, true );
   }
   lagsInStandby_[ portChannel ] = true;
}

void
Machine::handleLacpStandby( Id const& port ) {
   if (
      isManagementOrInternal( port ) || !env_.mounts.ethPhyIntfStatus.contains( port ) ||
      !isLacpStandby( port ) || periodOver( true ) ) {
      return;
   }
   Id const portChannel = mlagPortChannelByMember( port );
   if ( !isLacpOverride( portChannel ) ) {
      return;
   }
   env_.causeDel( port );
   maybeTrackIntfStatus( port );
   setLacpStandby( portChannel );
}

void
Machine::onLagIdConfig( Id const& portChannel ) {
   auto const members = portChannelToMember_.find( portChannel );
   if ( !isLacpOverride( portChannel ) || members == portChannelToMember_.end() ) {
      return;
   }
   for ( Id const& member : members->second ) {
      handleLacpStandby( member );
   }
}

} // namespace model
