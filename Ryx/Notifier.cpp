// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Notifiee>

#include <new>
#include <utility>

namespace Ryx {

namespace {

// Weak notifiees that have a notifier but are not registered with it, chained through
// their list link: the only ones that a notifier going away could not find in its list.
PtrInterface::NotifieeConst* parked = nullptr;

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
   tail_ = notifiee;
   ++count_;
   notifiee->registration_ = ++modifications_;
}

void
Notifier::unlink( NotifieeConst* notifiee ) const noexcept {
   NotifieeConst* before = nullptr;
   NotifieeConst** link = &head_;
   while ( *link != notifiee ) {
      before = *link;
      link = &before->next_;
   }
   *link = notifiee->next_;
   notifiee->next_ = nullptr;
   if ( tail_ == notifiee ) {
      tail_ = before;
   }
   --count_;
   ++modifications_;
}

void
Notifier::park( NotifieeConst* notifiee ) const noexcept {
   notifiee->next_ = parked;
   parked = notifiee;
   hasParked_ = 1;
}

void
Notifier::unpark( NotifieeConst* notifiee ) noexcept {
   NotifieeConst** link = &parked;
   while ( *link != notifiee ) {
      link = &( *link )->next_;
   }
   *link = notifiee->next_;
   notifiee->next_ = nullptr;
}

void
Notifier::abandonParked() const noexcept {
   NotifieeConst** link = &parked;
   while ( NotifieeConst* notifiee = *link ) {
      if ( notifiee->notifier_ == this ) {
         *link = std::exchange( notifiee->next_, nullptr );
         notifiee->notifierLost();
      } else {
         link = &notifiee->next_;
      }
   }
}

bool
Delivery::hasRoom() noexcept {
   auto** const room = new ( std::nothrow ) NotifieeConst*[ size_ ];
   if ( room ) {
      snapshot_ = room;
   }
   return room;
}

// Takes as many as fit of those that were registered when the delivery began; false when
// none is left. How far it is along the list is reckoned from the last one taken, so that
// registrations may wrap around.
bool
Delivery::takePiece() noexcept {
   size_ = 0;
   for ( auto* notifiee = notifier_->head_; notifiee && size_ < inlineSize;
         notifiee = notifiee->next_ ) {
      if ( notifiee->registration_ - taken_ - 1 < modifications_ - taken_ ) {
         hold( notifiee, singleThreaded() );
         snapshot_[ size_++ ] = notifiee;
         taken_ = notifiee->registration_;
      }
   }
   return size_ > 0;
}

void
Delivery::release( NotifieeConst const& notifiee ) const noexcept {
   Expect::Pause const pause( scope_ );
   notifiee.handleZeroRef();
}

void
Delivery::handleException( NotifieeConst& notifiee, AttributeId id ) const noexcept {
   Expect::Pause const pause( scope_ );
   handleCallbackException( notifiee, id );
}

bool
Delivery::wantsMember( NotifieeConst const& notifiee ) {
   return !notifiee.deferred_ && notifiee.isStreamAdapter();
}

void
Delivery::notifyOtherwise(
   NotifieeConst& notifiee, AttributeId id, String8 const& member ) {
   if ( notifiee.deferred_ ) {
      notifiee.defer( id );
   } else if ( !notifiee.isStreamAdapter() ) {
      return;
   } else if ( member.empty() ) {
      notifiee.onAttribute( id );
   } else {
      notifiee.onCollectionNotification( member );
   }
}

void
handleCallbackException( PtrInterface::NotifieeConst& notifiee, AttributeId id ) noexcept {
   try {
      notifiee.onNotificationException( id );
   } catch ( ... ) {
      // It had its say about its own exception; the setter must not see either.
      return;
   }
}

} // namespace Ryx
