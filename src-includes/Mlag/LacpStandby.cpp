// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// LACP standby: an MLAG port-channel whose LACP override carries the MLAG system id is held
// in standby instead of having its members errdisabled.

#include <Mlag/MlagErrdisableSm>
#include <Mlag/SmDiagnostics>

namespace Mlag::Ostra {

bool
MlagErrdisableSm::isLacpStandby( Kovel::IntfId intfId ) const {
   return isLacpStandby( intfId, membershipOf( intfId ) );
}

bool
MlagErrdisableSm::isLacpStandby(
   Kovel::IntfId intfId, Membership const& membership ) const {
   // The operation traces the same whoever has read the membership.
   constexpr char signature[] =
      "bool Mlag::Ostra::MlagErrdisableSm::isLacpStandby(Kovel::IntfId) const";
   trace( 8, signature, " ", intfId );
   return inputHere< &Sm::mlagConfig_ >().lacpStandby() &&
      !isPeerLink( intfId, membership ) &&
      inputHere< &Sm::mlagStatus_ >().mlagState() == MlagState::mlagSecondary &&
      mlagProtoStatus_->holdInSecondary() && mlagPortChannel( membership ) &&
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
MlagErrdisableSm::stayInStandbyIs( Kovel::IntfId portChannel, bool stay ) {
   auto const lacp = lacpConfig_ ? lacpConfig_->portChannel( portChannel ) : nullptr;
   if ( !lacp ) {
      return;
   }
   if ( startChanges_ && stay && !lacp->stayInStandby() ) {
      startChanges_->standby.push_back( portChannel );
   }
   lacp->stayInStandbyIs( stay );
}

// Makes the port-channel's record before anything is written, so that what follows cannot
// fail half-way: one in standby that is not recorded would stay there for ever.
void
MlagErrdisableSm::prepareStandby( Kovel::IntfId portChannel ) {
   bool const prepared = standbyRecord_ && standbyRecord_->key() == portChannel;
   if ( !prepared && !lagsInStandby( portChannel ) ) {
      standbyRecord_ = Ryx::make< RyxLagsInStandby >( portChannel, true );
   }
}

void
MlagErrdisableSm::recordStandby( Kovel::IntfId portChannel ) {
   bool const prepared = standbyRecord_ && standbyRecord_->key() == portChannel;
   if ( prepared && !lagsInStandby_.map.contains( portChannel ) ) {
      lagsInStandby_.map.insert( std::move( standbyRecord_ ) );
   } else {
      lagsInStandbyIs( portChannel, true );
   }
}

void
MlagErrdisableSm::setLacpStandby( Kovel::IntfId portChannel ) {
   trace( 8, __PRETTY_FUNCTION__, " ", portChannel );
   prepareStandby( portChannel );
   endForcing( portChannel );
   if ( lagsInStandby( portChannel ) ) {
      return;
   }
   stayInStandbyIs( portChannel, true );
   recordStandby( portChannel );
}

void
MlagErrdisableSm::handleLacpStandby( Kovel::IntfId intfId ) {
   trace( 8, __PRETTY_FUNCTION__, " ", intfId );
   if (
      isManagementOrInternalInterface( intfId ) || !isPresent( intfId ) ||
      !isLacpStandby( intfId ) ) {
      return;
   }
   if ( periodOver( true ) ) {
      trace( 8, "Mlag timer expired" );
      return;
   }
   Kovel::IntfId const portChannel = mlagPortChannelByMember( intfId );
   if ( !isLacpOverride( portChannel ) ) {
      return;
   }
   prepareStandby( portChannel );
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
