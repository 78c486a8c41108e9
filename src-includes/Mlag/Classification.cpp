// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What an interface is: management or internal, an MLAG interface, a part of the peer link,
// present, enabled.

#include <Kovel/InternalIntfId>
#include <Kovel/MgmtIntfId>
#include <Mlag/MlagErrdisableSm>
#include <Mlag/SmDiagnostics>

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
   auto const* const directory = ethPhyIntfConfig_.borrowed();
   auto const* const config = directory ? directory->borrowedIntfConfig( intfId ) : nullptr;
   return config && !adminDisabled( *config );
}

bool
MlagErrdisableSm::isPresent( Kovel::IntfId intfId ) const {
   auto const* const directory = ethPhyIntfStatus_.borrowed();
   return directory && directory->intfStatusHas( intfId );
}

bool
MlagErrdisableSm::isMlagInterface( Kovel::IntfId intfId ) const {
   // The id is all that a configuration has, and the default one has none.
   static_assert( decltype( Mlag::IntfConfig::fields() )::size == 1 );
   return !inputHere< &Sm::mlagConfig_ >().intfConfig( intfId ).mlagId.empty();
}

bool
MlagErrdisableSm::mlagLink( Kovel::IntfId intfId ) const {
   return classOf( membershipOf( intfId ) ) == PortClass::mlag;
}

namespace {

// A trace site that is named mlagLink, whichever function writes it: readers of traces look
// for that name.
Ryx::TraceSite
mlagLinkSite( int line = __builtin_LINE() ) noexcept {
   return { 8, line, "mlagLink" };
}

} // namespace

PortClass
MlagErrdisableSm::classOf( Membership const& membership ) const {
   Kovel::IntfId const link = membership.portChannel.value_or( membership.intfId );
   trace( mlagLinkSite(), "MlagErrdisableSm::", "mlagLink", " ", membership.intfId );
   if ( membership.portChannel ) {
      trace( mlagLinkSite(), "New intfId: ", link );
   }
   if ( isMlagInterface( link ) ) {
      return PortClass::mlag;
   }
   trace( mlagLinkSite(), " Non MLAG interface ", link );
   return PortClass::nonMlag;
}

bool
MlagErrdisableSm::inPeerLink( Kovel::IntfId intfId ) const {
   return isInPeerLink( membershipOf( intfId ) );
}

bool
MlagErrdisableSm::isInPeerLink( Membership const& membership ) const {
   auto const& peerLink = inputHere< &Sm::mlagConfig_ >().peerLinkIntf();
   if ( !peerLink ) {
      return false;
   }
   Kovel::IntfId const link = peerLink->intfId();
   return membership.intfId == link || membership.portChannel == link;
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

} // namespace Mlag::Ostra
