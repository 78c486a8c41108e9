// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Delivery>

#include <mutex>
#include <utility>

namespace Ryx {

namespace {

// Weak notifiees that have a notifier but are not registered with it, chained through
// their list link: the only ones that a notifier going away could not find in its list.
PtrInterface::NotifieeConst* parked = nullptr;

// There is one chain for all notifiers, and its members may end on any thread: one thread at a
// time walks or changes it.
std::recursive_mutex chain;

std::unique_lock< std::recursive_mutex >
oneAtATime() noexcept {
   return singleThreaded() ? std::unique_lock< std::recursive_mutex >()
                           : std::unique_lock( chain );
}

} // namespace

Notifier::~Notifier() {
   while ( NotifieeConst* notifiee = head_ ) {
      head_ = std::exchange( notifiee->next_, nullptr );
      notifiee->notifierLost();
   }
   if ( hasParked_ ) {
      abandonParked();
   }
}

void
Notifier::zeroReferencesIs( bool ) {
   deliver(
      zeroReferencesAttributeId,
      notifieeLevel,
      []( NotifieeConst& notifiee ) { notifiee.onZeroReferences(); },
      [] { return String8(); } );
}

void
Notifier::link( NotifieeConst* notifiee ) const noexcept {
   ( tail_ ? tail_->next_ : head_ ) = notifiee;
   notifiee->before_ = std::exchange( tail_, notifiee );
   ++count_;
   notifiee->registration_ = ++modifications_;
}

void
Notifier::unlink( NotifieeConst* notifiee ) const noexcept {
   Delivery::listChanges( *this );
   NotifieeConst* const before = notifiee->before_;
   NotifieeConst* const next = std::exchange( notifiee->next_, nullptr );
   ( before ? before->next_ : head_ ) = next;
   ( next ? next->before_ : tail_ ) = before;
   --count_;
   ++modifications_;
}

void
Notifier::park( NotifieeConst* notifiee ) const noexcept {
   auto const lock = oneAtATime();
   if ( parked ) {
      parked->before_ = notifiee;
   }
   notifiee->next_ = std::exchange( parked, notifiee );
   notifiee->before_ = nullptr;
   hasParked_ = 1;
}

void
Notifier::unpark( NotifieeConst* notifiee ) noexcept {
   auto const lock = oneAtATime();
   NotifieeConst* const before = notifiee->before_;
   NotifieeConst* const next = std::exchange( notifiee->next_, nullptr );
   ( before ? before->next_ : parked ) = next;
   if ( next ) {
      next->before_ = before;
   }
}

void
Notifier::abandonParked() const noexcept {
   auto const lock = oneAtATime();
   NotifieeConst* next = nullptr;
   for ( NotifieeConst* notifiee = parked; notifiee; notifiee = next ) {
      next = notifiee->next_;
      if ( notifiee->notifier_ == this ) {
         unpark( notifiee );
         notifiee->notifierLost();
      }
   }
}

} // namespace Ryx
