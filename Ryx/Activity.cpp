// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Activity>

#include <Ryx/Clock>

namespace Ryx {

ActivityConfig::ActivityConfig() = default;

// What is still pending waits for the next change, and for the activity that tells of it. A
// time that has come is the clock's again: there may be no other.
ActivityConfig::~ActivityConfig() {
   for ( Waiting const& waiting : queue_ ) {
      if ( waiting.isOver() ) {
         continue;
      }
      waiting.notifiee->ticket_ = 0;
      if (
         auto const* timer =
            dynamic_cast< Clock::NotifieeConst const* >( waiting.notifiee.ptr() ) ) {
         timer->activityLost();
      }
   }
}

bool
ActivityConfig::Waiting::isOver() const noexcept {
   return notifiee->ticket_ != ticket;
}

// Of one to which the caller has the queue's reference: whether it would be there without.
bool
ActivityConfig::isWanted( PtrInterface::NotifieeConst const& notifiee ) noexcept {
   return notifiee.isHeldByMoreThan( 1 ) ||
      notifiee.flag( PtrInterface::NotifieeConst::heldBit );
}

void
ActivityConfig::notifieeIs( Ptr< PtrInterface::NotifieeConst > notifiee ) {
   static std::uint32_t tickets = 0;
   if ( notifiee->ticket_ == 0 ) {
      PtrInterface::NotifieeConst const& waiting = *notifiee;
      queue_.push_back( { std::move( notifiee ), tickets + 1 } );
      tickets += tickets + 1 == 0 ? 2 : 1;
      waiting.ticket_ = queue_.back().ticket;
   }
}

unsigned
ActivityConfig::handleActivity() {
   Ptr< ActivityConfig const > const alive( this );
   unsigned calls = 0;
   auto waitingNow = std::exchange( queue_, {} );
   for ( auto it = waitingNow.begin(); it != waitingNow.end(); ) {
      auto const waiting = it++;
      bool const isOver = waiting->isOver();
      Ptr< PtrInterface::NotifieeConst > const notifiee = std::move( waiting->notifiee );
      if ( isOver || !isWanted( *notifiee ) ) {
         continue;
      }
      if ( !notifiee->isRegisteredNotifiee() ) {
         waiting->notifiee = notifiee;
         queue_.splice( queue_.end(), waitingNow, waiting );
         continue;
      }
      notifiee->ticket_ = 0;
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
