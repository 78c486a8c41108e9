// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What becomes of one physical interface: its class, whether it is held, and under which
// port-channel it is recorded.

#include <Kovel/InternalIntfId>
#include <Kovel/MgmtIntfId>
#include <Mlag/MlagErrdisableSm>
#include <Mlag/SmDiagnostics>

#include <new>

namespace Mlag::Ostra {

bool
isManagementOrInternalInterface( Kovel::IntfId intfId ) {
   return Kovel::InternalIntfId::isInternalIntfId( intfId ) ||
      Kovel::MgmtIntfId::isMgmtIntfId( intfId );
}

bool
adminDisabled( Interface::IntfConfig const& config ) {
   auto state = config.adminEnabledStateLocal();
   auto const& fallback = config.defaultConfig();
   if ( state == Interface::IntfEnabledState::unknownEnabledState && fallback ) {
      state = fallback->adminEnabledStateLocal();
   }
   return state == Interface::IntfEnabledState::shutdown;
}

bool
MlagErrdisableSm::adminEnabled( Kovel::IntfId intfId ) const {
   auto const directory = ethPhyIntfConfig();
   auto const config = directory ? directory->intfConfig( intfId ) : nullptr;
   return config && !adminDisabled( *config );
}

bool
MlagErrdisableSm::isPresent( Kovel::IntfId intfId ) const {
   auto const directory = ethPhyIntfStatus();
   return directory && directory->intfStatus( intfId );
}

Ryx::Ptr< Lag::EthPhyIntfLagConfig const >
MlagErrdisableSm::memberConfig( Kovel::IntfId intfId ) const {
   return lagInputConfig_ ? lagInputConfig_->phyIntf( intfId ) : nullptr;
}

Kovel::IntfId
MlagErrdisableSm::portChannelOf( Kovel::IntfId intfId ) const {
   auto const member = memberConfig( intfId );
   auto const lag = member ? member->lag() : nullptr;
   return lag ? lag->intfId() : Kovel::IntfId();
}

bool
MlagErrdisableSm::mlagLink( Kovel::IntfId intfId ) const {
   Kovel::IntfId const portChannel = portChannelOf( intfId );
   Kovel::IntfId const link = portChannel ? portChannel : intfId;
   trace( 8, "MlagErrdisableSm::", "mlagLink", " ", intfId );
   if ( portChannel ) {
      trace( 8, "New intfId: ", portChannel );
   }
   if ( mlagConfig()->intfConfig( link ) != Mlag::IntfConfig() ) {
      return true;
   }
   trace( 8, " Non MLAG interface ", link );
   return false;
}

bool
MlagErrdisableSm::inPeerLink( Kovel::IntfId intfId ) const {
   auto const peerLink = mlagConfig()->peerLinkIntf();
   if ( !peerLink ) {
      return false;
   }
   if ( intfId == peerLink->intfId() ) {
      return true;
   }
   Kovel::IntfId const portChannel = portChannelOf( intfId );
   return portChannel && portChannel == peerLink->intfId();
}

Kovel::IntfId
MlagErrdisableSm::mlagPortChannelByMember( Kovel::IntfId intfId ) const {
   Kovel::IntfId const portChannel = portChannelOf( intfId );
   if ( !portChannel || mlagConfig()->intfConfig( portChannel ).mlagId.empty() ) {
      return Kovel::IntfId();
   }
   return portChannel;
}

bool
MlagErrdisableSm::periodOver( bool mlag ) const {
   return !Ryx::isInfinite( delayOf( mlag ) ) && Ryx::isInfinite( wakeTime( mlag ) );
}

void
MlagErrdisableSm::handleIntfStatus() {
   trace( 8, __PRETTY_FUNCTION__ );
   auto const directory = ethPhyIntfStatus();
   if ( !directory ) {
      return;
   }
   for ( auto it = directory->intfStatusIteratorConst(); it; ++it ) {
      handleIntfStatus( it.key() );
   }
}

void
MlagErrdisableSm::handleIntfStatus( Kovel::IntfId intfId ) {
   trace( 8, __PRETTY_FUNCTION__, " ", intfId );
   if ( isManagementOrInternalInterface( intfId ) ) {
      return;
   }
   if ( !isPresent( intfId ) ) {
      forgetPort( intfId );
      return;
   }
   if ( periodOver( mlagLink( intfId ) ) ) {
      trace( 8, "timer expired" );
      return;
   }
   if ( inPeerLink( intfId ) ) {
      return;
   }
   Kovel::IntfId const portChannel = mlagPortChannelByMember( intfId );
   if ( isLacpStandby( intfId ) && isLacpOverride( portChannel ) ) {
      setLacpStandby( portChannel );
      return;
   }
   holdPort( intfId );
   if ( portChannel ) {
      settleSnooping( intfId, portChannel );
   }
}

void
MlagErrdisableSm::forgetPort( Kovel::IntfId intfId ) {
   trace( 8, "Interface ", intfId, " deleted" );
   mlagissuCause()->intfStatusDel( intfId );
   auto const tracker = memberToPortChannelDel( intfId );
   // Two references are ours and the collection's: no other member is recorded under it.
   if ( tracker && tracker->references() == 2 ) {
      portChannelTrackerDel( tracker->intfId() );
      lagIntfStatusDel( tracker->intfId() );
   }
}

void
MlagErrdisableSm::holdPort( Kovel::IntfId intfId ) {
   if ( !mlagissuCause()->intfStatusHas( intfId ) ) {
      trace( 9, "Adding ", intfId, " to errdisable cause ", mlagissuCause_->name() );
      if ( startChanges_ ) {
         startChanges_->held.push_back( intfId );
      }
      mlagissuCause_->intfStatusIs( intfId, Ryx::now() );
   }
}

void
MlagErrdisableSm::settleSnooping( Kovel::IntfId intfId, Kovel::IntfId portChannel ) {
   if ( !adminEnabled( intfId ) ) {
      trace( 9, "Removing ", portChannel, " from igmpsnooping forceEnabledPorts" );
      igmpsnoopingConfig()->forceEnabledPortsDel( portChannel );
      return;
   }
   trace( 9, "Adding ", portChannel, " to igmpsnooping forceEnabledPorts " );
   igmpsnoopingConfig()->forceEnabledPortsIs( portChannel, true );
   try {
      recordMember( intfId, portChannel );
   } catch ( ... ) {
      forgetUnrecorded( portChannel );
      throw;
   }
}

void
MlagErrdisableSm::recordMember( Kovel::IntfId intfId, Kovel::IntfId portChannel ) {
   if ( !portChannelTracker( portChannel ) ) {
      portChannelTrackerIs(
         PortChannelTracker::PortChannelTrackerIs( portChannel, igmpsnoopingConfig_ ) );
   }
   memberToPortChannelIs( intfId, portChannelTracker( portChannel ) );
}

// Without a recorded member nobody would ever take the port-channel out of
// forceEnabledPorts.
void
MlagErrdisableSm::forgetUnrecorded( Kovel::IntfId portChannel ) {
   auto const tracker = portChannelTracker( portChannel );
   if ( !tracker ) {
      igmpsnoopingConfig_->forceEnabledPortsDel( portChannel );
   } else if ( tracker->references() == 2 ) {
      portChannelTrackerDel( portChannel );
   }
}

void
MlagErrdisableSm::maybeTrackIntfStatus( Kovel::IntfId intfId ) {
   trace( 8, __PRETTY_FUNCTION__ );
   if ( !adminEnabled( intfId ) ) {
      return;
   }
   trace( 8, "Clearing errdisable status for ", intfId );
   Kovel::IntfId const portChannel = mlagPortChannelByMember( intfId );
   if ( !portChannel ) {
      return;
   }
   auto const directory = lagInputIntfStatus();
   auto const status = directory ? directory->intfStatus( portChannel ) : nullptr;
   if ( !status || !trackLink( status ) ) {
      igmpsnoopingConfig()->forceEnabledPortsDel( portChannel );
   }
}

// False when there is no memory for it: a release must go on to the last port.
bool
MlagErrdisableSm::trackLink( Ryx::Ptr< Interface::EthLagIntfStatus const > const& status ) {
   try {
      lagIntfStatusIs( status );
      return true;
   } catch ( std::bad_alloc const& ) {
      return false;
   }
}

void
MlagErrdisableSm::handleMlagIntfConfig( Kovel::IntfId intfId ) {
   trace( 8, __PRETTY_FUNCTION__, " for ", intfId );
   if ( mlagConfig()->intfConfig( intfId ) == Mlag::IntfConfig() ) {
      igmpsnoopingConfig()->forceEnabledPortsDel( intfId );
      lagIntfStatusDel( intfId );
   }
}

} // namespace Mlag::Ostra
