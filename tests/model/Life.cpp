// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The machine's beginning and end.

#include <model/Machine>

namespace model {

Machine::Machine( Environment& environment ) : env_( environment ) {
   for ( auto const& [ port, config ] : env_.mounts.ethPhyIntfConfig ) {
      intfConfig_.insert( port );
   }
   handleInitialized();
}

void
Machine::handleInitialized() {
   env_.portsErrdisabledIs( true );
   mlag_.held = true;
   nonMlag_.held = true;
   double const start = env_.mounts.portsErrdisabledWhen;
   if ( isNever( start ) ) {
      env_.portsErrdisabledWhenIs( env_.now() );
   } else {
      resume( start );
   }
   onMlagConfig();
   onMlagState();
   arm( true );
   arm( false );
   if ( env_.mounts.portsErrdisabled ) {
      for ( Id const& port : env_.mounts.ethPhyIntfStatus ) {
         handleIntfStatus( port );
      }
      recordMembers();
   }
   initialized_ = true;
}

void
Machine::destroy() {
   for ( Id const& portChannel : portChannelTracker_ ) {
      env_.forceEnabledPortsDel( portChannel );
   }
}

MachineState
Machine::state() const {
   MachineState state;
   state.mlagPortsErrdisabled = mlag_.held;
   state.nonMlagPortsErrdisabled = nonMlag_.held;
   state.timerCount = mlag_.count;
   state.timerCountNonMlag = nonMlag_.count;
   state.initialized = initialized_;
   state.secondaryPrev = secondaryPrev_;
   state.wakeMlag = mlag_.timer.wake;
   state.wakeNonMlag = nonMlag_.timer.wake;
   state.lagsInStandby = lagsInStandby_;
   state.intfConfig = intfConfig_;
   for ( auto const& [ portChannel, status ] : lagIntfStatus_ ) {
      state.lagIntfStatus[ portChannel ] = status.object->number;
   }
   state.portChannelToMember = portChannelToMember_;
   state.memberToPortChannel = memberToPortChannel_;
   state.portChannelTracker = portChannelTracker_;
   return state;
}

} // namespace model
