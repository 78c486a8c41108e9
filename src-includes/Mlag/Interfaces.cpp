// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What becomes of one physical interface: whether it is held, whether its port-channel is
// forced, and under which port-channel it is recorded.

#include <Mlag/SmQuestions>

namespace Mlag::Ostra {

namespace {

// Prints as the entity's name, which is read only if it is printed.
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

void
MlagErrdisableSm::handleIntfStatus() {
   trace( 8, __PRETTY_FUNCTION__ );
   auto const directory = ethPhyIntfStatus();
   if ( !directory ) {
      return;
   }
   if ( mlagissuCause_ ) {
      mlagissuCause_->intfStatusReserve( directory->intfStatusSize() );
   }
   for ( auto it = directory->intfStatusIteratorConst(); it; ++it ) {
      // The port that the walk stands on need not be looked for.
      handlePort( it.key(), [ & ] {
         return it.hasMember() && ethPhyIntfStatus_.borrowed() == directory.ptr();
      } );
   }
}

void
MlagErrdisableSm::handleIntfStatus( Kovel::IntfId intfId ) {
   handlePort( intfId, [] { return false; } );
}

// `isKnown` says that the port is present; if not, it is looked for.
template< class IsKnown >
void
MlagErrdisableSm::handlePort( Kovel::IntfId intfId, IsKnown isKnown ) {
   constexpr char signature[] =
      "void Mlag::Ostra::MlagErrdisableSm::handleIntfStatus(Kovel::IntfId)";
   trace( intfStatusSite( 8 ), signature, " ", intfId );
   if ( isManagementOrInternalInterface( intfId ) ) {
      return;
   }
   if ( isKnown() || isPresent( intfId ) ) {
      handlePresent( intfId );
   } else {
      forgetPort( intfId );
   }
}

void
MlagErrdisableSm::handlePresent( Kovel::IntfId intfId ) {
   Membership const membership = membershipOf( intfId );
   PortClass const ports = classOf( membership );
   if ( periodOver( ports ) ) {
      trace( intfStatusSite( 8 ), "timer expired" );
      return;
   }
   if ( isInPeerLink( membership ) ) {
      return;
   }
   // What mlagPortChannelByMember would look up again.
   Kovel::IntfId const portChannel = ports == PortClass::mlag
      ? membership.portChannel.value_or( Kovel::IntfId() )
      : Kovel::IntfId();
   if ( qualifiesForStandby( membership, portChannel ) && isLacpOverride( portChannel ) ) {
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
   auto const spot = mlagissuCause_->intfStatusSpot( intfId );
   if ( !spot.member() ) {
      trace(
         intfStatusSite( 9 ),
         "Adding ",
         intfId,
         " to errdisable cause ",
         NameOf{ *mlagissuCause_ } );
      writes_.hold( spot, intfId );
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
      writes_.endForcing( portChannel );
      return;
   }
   trace(
      intfStatusSite( 9 ), "Adding ", portChannel, " to igmpsnooping forceEnabledPorts " );
   writes_.force( intfId, portChannel );
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
   auto const* const directory = lagInputIntfStatus_.borrowed();
   auto const status = directory ? directory->intfStatus( portChannel ) : nullptr;
   if ( !status || !writes_.track( status ) ) {
      writes_.endForcing( portChannel );
   }
}

void
MlagErrdisableSm::handleMlagIntfConfig( Kovel::IntfId intfId ) {
   trace( 8, __PRETTY_FUNCTION__, " for ", intfId );
   if ( !isMlagInterface( intfId ) ) {
      igmpsnoopingConfig()->forceEnabledPortsDel( intfId );
      lagIntfStatusDel( intfId );
   }
}

} // namespace Mlag::Ostra
