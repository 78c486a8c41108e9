// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Activity>

#include <Ryx/Clock>

namespace Ryx {

ActivityConfig::ActivityConfig() = default;

ActivityConfig::~ActivityConfig() = default;

void
ActivityConfig::notifieeIs( Ptr< PtrInterface::NotifieeConst > notifiee ) {
   queue_.push_back( std::move( notifiee ) );
}

unsigned
ActivityConfig::handleActivity() {
   Ptr< ActivityConfig const > const alive( this );
   unsigned calls = 0;
   auto waitingNow = std::exchange( queue_, {} );
   for ( auto it = waitingNow.begin(); it != waitingNow.end(); ) {
      auto const waiting = it++;
      Ptr< PtrInterface::NotifieeConst > const notifiee = std::move( *waiting );
      if ( notifiee->references() == 1 ) {
         continue;
      }
      if ( !notifiee->isRegisteredNotifiee() ) {
         *waiting = notifiee;
         queue_.splice( queue_.end(), waitingNow, waiting );
         continue;
      }
      callExpecting( *notifiee, notifiee->pendingAttributeId(), [ & ] {
         notifiee->handleNotification( this );
      } );
      ++calls;
   }
   return calls;
}

ActivityManagerConfig::ActivityManagerConfig() : clock_( make< Clock >( "clock" ) ) {}

ActivityManagerConfig::~ActivityManagerConfig() = default;

Ptr< Clock >
ActivityManagerConfig::clock() const {
   return clock_;
}

Ptr< ActivityManagerConfig >
activityManager() {
   // Never destroyed: what unloads at the end of the process may still ask for it.
   static ActivityManagerConfig* const manager = make< ActivityManagerConfig >().release();
   return Ptr< ActivityManagerConfig >( manager );
}

} // namespace Ryx
