// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// LACP standby: an MLAG port-channel whose LACP override carries the MLAG system id is held
// in standby instead of having its members errdisabled.

#include <Mlag/SmQuestions>

namespace Mlag::Ostra {

bool
MlagErrdisableSm::isLacpStandby( Kovel::IntfId intfId ) const {
   Membership const membership = membershipOf( intfId );
   Kovel::IntfId const portChannel = mlagPortChannel( membership );
   return qualifiesForStandby( membership, portChannel );
}

bool
MlagErrdisableSm::qualifiesForStandby(
   Membership const& membership, Kovel::IntfId portChannel ) const {
   // A step of isLacpStandby, whose trace it writes.
   constexpr char signature[] =
      "bool Mlag::Ostra::MlagErrdisableSm::isLacpStandby(Kovel::IntfId) const";
   trace(
      Ryx::TraceSite( 8, __builtin_LINE(), "isLacpStandby" ),
      signature,
      " ",
      membership.intfId );
   return inputHere< &Sm::mlagConfig_ >().lacpStandby() && !isInPeerLink( membership ) &&
      inputHere< &Sm::mlagStatus_ >().mlagState() == MlagState::mlagSecondary &&
      mlagProtoStatus_->holdInSecondary() && portChannel &&
      membership.mode == Lag::LacpMode::lacpActive;
}

bool
MlagErrdisableSm::isLacpOverride( Kovel::IntfId portChannel ) const {
   if ( !portChannel ) {
      return false;
   }
   auto const* const directory = lacpOverride_.borrowed();
   Kovel::EthAddr const override_ =
      directory ? directory->lagIdConfig( portChannel ) : Kovel::EthAddr();
   Kovel::EthAddr const mlagSystemId = inputHere< &Sm::mlagStatus_ >().systemId();
   trace(
      8,
      __PRETTY_FUNCTION__,
      " for ",
      portChannel,
      " ",
      override_,
      " mlag sysId ",
      mlagSystemId );
   return override_ == mlagSystemId && mlagSystemId != Kovel::EthAddr();
}

void
MlagErrdisableSm::setLacpStandby( Kovel::IntfId portChannel ) {
   trace( 8, __PRETTY_FUNCTION__, " ", portChannel );
   writes_.prepareStandby( portChannel );
   writes_.endForcing( portChannel );
   if ( !lagsInStandby( portChannel ) ) {
      writes_.beginStandby( portChannel );
   }
}

void
MlagErrdisableSm::handleLacpStandby( Kovel::IntfId intfId ) {
   trace( 8, __PRETTY_FUNCTION__, " ", intfId );
   if (
      isManagementOrInternalInterface( intfId ) || !isPresent( intfId ) ||
      !isLacpStandby( intfId ) ) {
      return;
   }
   if ( periodOver( PortClass::mlag ) ) {
      trace( 8, "Mlag timer expired" );
      return;
   }
   Kovel::IntfId const portChannel = mlagPortChannelByMember( intfId );
   if ( !isLacpOverride( portChannel ) ) {
      return;
   }
   writes_.prepareStandby( portChannel );
   mlagissuCause_->intfStatusDel( intfId );
   maybeTrackIntfStatus( intfId );
   setLacpStandby( portChannel );
}

void
MlagErrdisableSm::handleLagIdConfig( Kovel::IntfId portChannel ) {
   trace( 8, __PRETTY_FUNCTION__, " for ", portChannel );
   if ( !isLacpOverride( portChannel ) ) {
      return;
   }
   auto const lag = portChannelToMember( portChannel );
   if ( !lag ) {
      trace( 8, __PRETTY_FUNCTION__, portChannel, " lag doesn't exist" );
      return;
   }
   for ( auto it = lag->memberIteratorConst(); it; ++it ) {
      handleLacpStandby( it.key() );
   }
}

} // namespace Mlag::Ostra
