// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What an interface is: management or internal, an MLAG interface, a part of the peer link,
// present, enabled.

#include <Mlag/SmQuestions>

namespace Mlag::Ostra {

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
MlagErrdisableSm::mlagLink( Kovel::IntfId intfId ) const {
   return classOf( membershipOf( intfId ) ) == PortClass::mlag;
}

bool
MlagErrdisableSm::inPeerLink( Kovel::IntfId intfId ) const {
   return isInPeerLink( membershipOf( intfId ) );
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
