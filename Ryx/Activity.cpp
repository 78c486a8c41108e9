// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Activity>

#include <Ryx/Clock>

namespace Ryx {

ActivityConfig::ActivityConfig() = default;

// A notifiee that waits in the queue keeps what is pending: the activity that tells it of its
// next change tells it of that, too. A timer that waits goes back to its clock: it may never be
// queued again.
ActivityConfig::~ActivityConfig() {
   while ( !queue_.isAlone() ) {
      Waiting& waiting = takeFirst( queue_ );
      auto const notifiee = Ptr< PtrInterface::NotifieeConst >::adopt( &waiting.notifiee );
      if ( waiting.isOver ) {
         continue;
      }
      waiting.isOver = true;
      if (
         auto const* timer =
            dynamic_cast< Clock::NotifieeConst const* >( notifiee.ptr() ) ) {
         timer->activityLost();
      }
   }
}

ActivityConfig::Waiting&
ActivityConfig::takeFirst( QueueLink& queue ) noexcept {
   auto& first = static_cast< Waiting& >( *queue.next() );
   first.leave();
   return first;
}

// Whether a notifiee would still exist without the queue's reference, which the caller
// holds.
bool
ActivityConfig::isWanted( PtrInterface::NotifieeConst const& notifiee ) noexcept {
   return notifiee.isHeldByMoreThan( 1 ) ||
      notifiee.flag( PtrInterface::NotifieeConst::heldBit );
}

void
ActivityConfig::notifieeIs( Ptr< PtrInterface::NotifieeConst > const& notifiee ) {
   Waiting& waiting = notifiee->waiting();
   if ( !waiting.isOver ) {
      return;
   }
   waiting.isOver = false;
   if ( waiting.isAlone() ) {
      notifiee->newReference();
   } else {
      // A place that it had before, with its reference.
      waiting.leave();
   }
   waiting.joinEnd( queue_ );
}

std::size_t
ActivityConfig::pending() const noexcept {
   std::size_t length = 0;
   for ( auto const* link = queue_.next(); link != &queue_; link = link->next() ) {
      ++length;
   }
   return length;
}

unsigned
ActivityConfig::handleActivity() {
   Ptr< ActivityConfig const > const alive( this );
   unsigned calls = 0;
   QueueLink now;
   now.takeAll( queue_ );
   while ( !now.isAlone() ) {
      Waiting& waiting = takeFirst( now );
      auto notifiee = Ptr< PtrInterface::NotifieeConst >::adopt( &waiting.notifiee );
      if ( waiting.isOver || !isWanted( *notifiee ) ) {
         continue;
      }
      if ( !notifiee->isRegisteredNotifiee() ) {
         notifiee.release();
         waiting.joinEnd( queue_ );
         continue;
      }
      waiting.isOver = true;
      // A nested call asks who wants the notifiee: this pointer does not count.
      ++notifiee->snapshots_;
      callExpecting(
         *notifiee, waiting.pending, [ & ] { notifiee->handleNotification( this ); } );
      --notifiee->snapshots_;
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
