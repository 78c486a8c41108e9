// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Construction, start-up and destruction of the errdisable state machine.

#include <Mlag/MlagErrdisableSm>
#include <Mlag/ReloadPeriod>
#include <Mlag/SmDiagnostics>
#include <Ryx/Activity>

namespace Mlag::Ostra {

MlagErrdisableSm::MlagErrdisableSm( SmInputs const& inputs, NotStarted )
      : SmState( inputs ) {
   // The inputs that are required for life, before anything is written.
   Ryx::forcePointerAccess( inputs.mlagConfig.ptr() );
   Ryx::forcePointerAccess( inputs.mlagStatus.ptr() );
   Ryx::forcePointerAccess( inputs.mlagProtoStatus.ptr() );
}

// The machine is whole when its reactors are made: a start that fails ends in the
// destructor.
MlagErrdisableSm::MlagErrdisableSm( SmInputs const& inputs )
      : MlagErrdisableSm( inputs, NotStarted() ) {
   watch( inputs );
   if ( auto const reactor = ethPhyIntfConfig_.reactor ) {
      reactor->handleNotifier();
   }
   handleInitialized();
}

MlagErrdisableSm::~MlagErrdisableSm() {
   orphanReactors();
   releaseState();
}

Ryx::Ptr< MlagErrdisableSm >
mlagErrdisableSmFactory(
   Ryx::Ptr< Mlag::Config const > const& mlagConfig,
   Ryx::Ptr< Mlag::Status const > const& mlagStatus,
   Ryx::Ptr< Interface::AllEthPhyIntfStatusDir const > const& ethPhyIntfStatus,
   Ryx::Ptr< Interface::AllEthPhyIntfConfigDir const > const& ethPhyIntfConfig,
   Ryx::Ptr< Interface::EthLagIntfStatusDir const > const& lagInputIntfStatus,
   Ryx::Ptr< Lag::Input::LacpOverrideDir const > const& lacpOverride,
   Ryx::Ptr< Errdisable::CauseStatus > const& mlagissuCause,
   Ryx::Ptr< Bridging::IgmpSnooping::Config > const& igmpsnoopingConfig,
   Ryx::Ptr< Mlag::ProtoStatus > const& mlagProtoStatus,
   Ryx::Ptr< Lag::Input::Config const > const& lagInputConfig,
   Ryx::Ptr< Lacp::Config > const& lacpConfig ) {
   return Ryx::validPtr( Ryx::make< MlagErrdisableSm >(
      mlagConfig,
      mlagStatus,
      ethPhyIntfStatus,
      ethPhyIntfConfig,
      lagInputIntfStatus,
      lacpOverride,
      mlagissuCause,
      igmpsnoopingConfig,
      mlagProtoStatus,
      lagInputConfig,
      lacpConfig ) );
}

void
MlagErrdisableSm::handleInitialized() {
   if ( initialized_ ) {
      return;
   }
   trace( 8, __PRETTY_FUNCTION__ );
   writes_.start( &MlagErrdisableSm::start );
   initializedIs( true );
}

void
MlagErrdisableSm::start() {
   auto const clock = Ryx::activityManager()->clock();
   clockMlagIs( clock );
   clockNonMlagIs( clock );
   mlagProtoStatus_->portsErrdisabledIs( true );
   mlagPortsErrdisabledIs( true );
   nonMlagPortsErrdisabledIs( true );
   Ryx::Seconds const start = mlagProtoStatus_->portsErrdisabledWhen();
   if ( Ryx::isInfinite( start ) ) {
      startPeriod();
   } else {
      resumePeriod( start );
   }
   handleMlagConfig();
   handleMlagState();
   handleReloadDelayMlag();
   handleReloadDelayNonMlag();
   if ( mlagProtoStatus_->portsErrdisabled() ) {
      handleIntfStatus();
      recordMembers();
   }
}

void
MlagErrdisableSm::startPeriod() {
   mlagProtoStatus_->portsErrdisabledWhenIs( Ryx::now() );
   timerCountIs( 0 );
   timerCountNonMlagIs( 0 );
}

void
MlagErrdisableSm::resumePeriod( Ryx::Seconds start ) {
   Ryx::Seconds const now = Ryx::now();
   // A start that lies more than a whole period ahead is not believed.
   if ( start > now + mlagConfig()->reloadDelay() || start > now + reloadDelayNonMlag() ) {
      start = now;
   }
   mlagProtoStatus_->portsErrdisabledWhenIs( start );
   Ryx::Seconds const elapsed = now - start;
   timerCountIs( firstPointAfter( elapsed, mlagConfig()->reloadDelay() ) );
   timerCountNonMlagIs( firstPointAfter( elapsed, reloadDelayNonMlag() ) );
}

} // namespace Mlag::Ostra
