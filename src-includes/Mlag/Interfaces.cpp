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

namespace {

// Prints as the entity's name, which nobody asks for while there is nothing to print.
struct NameOf {
   Ryx::Entity const& entity;
};

std::ostream&
operator<<( std::ostream& out, NameOf const& of ) {
   return out << of.entity.name();
}

// The steps of handleIntfStatus are functions of their own; their traces are its traces.
Ryx::TraceSite
intfStatusSite( int level, int line = __builtin_LINE() ) noexcept {
   return { level, line, "handleIntfStatus" };
}

} // namespace

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
   auto const* const directory = ethPhyIntfConfig_.borrowed();
   auto const* const config = directory ? directory->borrowedIntfConfig( intfId ) : nullptr;
   return config && !adminDisabled( *config );
}

bool
MlagErrdisableSm::isPresent( Kovel::IntfId intfId ) const {
   auto const* const directory = ethPhyIntfStatus_.borrowed();
   return directory && directory->intfStatusHas( intfId );
}

Membership
MlagErrdisableSm::membershipOf( Kovel::IntfId intfId ) const {
   auto const* const config = lagInputConfig_.borrowed();
   auto const* const member = config ? config->borrowedPhyIntf( intfId ) : nullptr;
   Membership membership;
   if ( member ) {
      membership.mode = member->mode();
      if ( auto const* const lag = member->lag().ptr() ) {
         membership.portChannel = lag->intfId();
      }
   }
   return membership;
}

bool
MlagErrdisableSm::mlagLink( Kovel::IntfId intfId ) const {
   return mlagLink( intfId, membershipOf( intfId ) );
}

bool
MlagErrdisableSm::mlagLink( Kovel::IntfId intfId, Membership const& membership ) const {
   Kovel::IntfId const link = membership.portChannel.value_or( intfId );
   trace( 8, "MlagErrdisableSm::", "mlagLink", " ", intfId );
   if ( membership.portChannel ) {
      trace( 8, "New intfId: ", link );
   }
   if ( isMlagInterface( link ) ) {
      return true;
   }
   trace( 8, " Non MLAG interface ", link );
   return false;
}

bool
MlagErrdisableSm::isMlagInterface( Kovel::IntfId intfId ) const {
   // The id is all that a configuration has, and the default one has none.
   static_assert( decltype( Mlag::IntfConfig::fields() )::size == 1 );
   return !inputHere< &Sm::mlagConfig_ >().intfConfig( intfId ).mlagId.empty();
}

bool
MlagErrdisableSm::inPeerLink( Kovel::IntfId intfId ) const {
   return isPeerLink( intfId, membershipOf( intfId ) );
}

bool
MlagErrdisableSm::isPeerLink( Kovel::IntfId intfId, Membership const& membership ) const {
   auto const& peerLink = inputHere< &Sm::mlagConfig_ >().peerLinkIntf();
   if ( !peerLink ) {
      return false;
   }
   Kovel::IntfId const link = peerLink->intfId();
   return intfId == link || membership.portChannel == link;
}

Kovel::IntfId
MlagErrdisableSm::mlagPortChannelByMember( Kovel::IntfId intfId ) const {
   return mlagPortChannel( membershipOf( intfId ) );
}

Kovel::IntfId
MlagErrdisableSm::mlagPortChannel( Membership const& membership ) const {
   bool const isMlag = membership.portChannel && isMlagInterface( *membership.portChannel );
   return isMlag ? *membership.portChannel : Kovel::IntfId();
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
   Membership const membership = membershipOf( intfId );
   bool const isMlag = mlagLink( intfId, membership );
   if ( periodOver( isMlag ) ) {
      trace( 8, "timer expired" );
      return;
   }
   if ( isPeerLink( intfId, membership ) ) {
      return;
   }
   // What mlagPortChannel would look up again.
   Kovel::IntfId const portChannel =
      isMlag ? membership.portChannel.value_or( Kovel::IntfId() ) : Kovel::IntfId();
   if ( isLacpStandby( intfId, membership ) && isLacpOverride( portChannel ) ) {
      setLacpStandby( portChannel );
      return;
   }
   holdPort( intfId );
   if ( portChannel ) {
      settleSnooping( intfId, portChannel );
   }
}

// Whether a member is recorded under the tracker, or under the one that has its place now.
bool
MlagErrdisableSm::hasRecordedMembers( PortChannelTracker const& tracker ) const {
   auto const* const current = portChannelTracker_.borrowed( tracker.intfId() );
   return tracker.members() != 0 || ( current && current->members() != 0 );
}

void
MlagErrdisableSm::forgetPort( Kovel::IntfId intfId ) {
   trace( intfStatusSite( 8 ), "Interface ", intfId, " deleted" );
   mlagissuCause_->intfStatusDel( intfId );
   auto const tracker = memberToPortChannelDel( intfId );
   if ( tracker && !hasRecordedMembers( *tracker ) ) {
      portChannelTrackerDel( tracker->intfId() );
      lagIntfStatusDel( tracker->intfId() );
   }
}

void
MlagErrdisableSm::holdPort( Kovel::IntfId intfId ) {
   if ( !mlagissuCause_->intfStatusHas( intfId ) ) {
      trace(
         intfStatusSite( 9 ),
         "Adding ",
         intfId,
         " to errdisable cause ",
         NameOf{ *mlagissuCause_ } );
      if ( startChanges_ ) {
         startChanges_->cause.add( intfId );
      }
      mlagissuCause_->intfStatusIs( intfId, Ryx::now() );
   }
}

void
MlagErrdisableSm::settleSnooping( Kovel::IntfId intfId, Kovel::IntfId portChannel ) {
   if ( !adminEnabled( intfId ) ) {
      trace(
         intfStatusSite( 9 ),
         "Removing ",
         portChannel,
         " from igmpsnooping forceEnabledPorts" );
      endForcing( portChannel );
      return;
   }
   trace(
      intfStatusSite( 9 ), "Adding ", portChannel, " to igmpsnooping forceEnabledPorts " );
   bool const wasForced = portChannelTracker_.borrowed( portChannel ) ||
      igmpsnoopingConfig_->forceEnabledPorts( portChannel );
   if ( startChanges_ && !wasForced ) {
      startChanges_->snooping.add( portChannel );
   }
   igmpsnoopingConfig_->forceEnabledPortsIs( portChannel, true );
   try {
      recordMember( intfId, portChannel, wasForced );
   } catch ( ... ) {
      // Without a recorded member nobody would ever end the forcing.
      if ( !wasForced && !portChannelTracker_.borrowed( portChannel ) ) {
         igmpsnoopingConfig_->forceEnabledPortsDel( portChannel );
      }
      throw;
   }
}

void
MlagErrdisableSm::recordMember(
   Kovel::IntfId intfId, Kovel::IntfId portChannel, bool wasForced ) {
   if ( auto const present = portChannelTracker( portChannel ) ) {
      memberToPortChannelIs( intfId, present );
      return;
   }
   auto const tracker =
      PortChannelTracker::PortChannelTrackerIs( portChannel, igmpsnoopingConfig_ );
   try {
      portChannelTrackerIs( tracker );
      memberToPortChannelIs( intfId, tracker );
   } catch ( ... ) {
      portChannelTrackerDel( portChannel );
      if ( wasForced ) {
         tracker->release();
      }
      throw;
   }
}

void
MlagErrdisableSm::endForcing( Kovel::IntfId portChannel ) {
   auto record = igmpsnoopingConfig_->forceEnabledPortsTake( portChannel );
   if ( startChanges_ ) {
      startChanges_->snooping.remove( std::move( record ) );
   }
}

void
MlagErrdisableSm::maybeTrackIntfStatus( Kovel::IntfId intfId ) {
   trace( 8, __PRETTY_FUNCTION__ );
   Membership const membership = membershipOf( intfId );
   // Of a port in no port-channel only the trace would tell whether it is enabled.
   if ( !tracing( 8 ) && !membership.portChannel ) {
      return;
   }
   if ( !adminEnabled( intfId ) ) {
      return;
   }
   trace( 8, "Clearing errdisable status for ", intfId );
   Kovel::IntfId const portChannel = mlagPortChannel( membership );
   if ( !portChannel ) {
      return;
   }
   auto const* const directory = lagInputIntfStatus_.borrowed();
   auto const status = directory ? directory->intfStatus( portChannel ) : nullptr;
   if ( !status || !trackLink( status ) ) {
      endForcing( portChannel );
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
