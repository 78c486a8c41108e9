// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Notifiee>

#include <new>

namespace Ryx {

namespace {

// Weak notifiees that have a notifier but are not registered with it, chained through
// their list link: the only ones that a notifier going away could not find in its list.
PtrInterface::NotifieeConst* parked = nullptr;

} // namespace

Notifier::~Notifier() {
   while ( NotifieeConst* notifiee = head_ ) {
      head_ = notifiee->next_;
      notifiee->next_ = nullptr;
      notifiee->notifier_ = nullptr;
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
         *link = notifiee->next_;
         notifiee->next_ = nullptr;
         notifiee->notifier_ = nullptr;
      } else {
         link = &notifiee->next_;
      }
   }
}

Delivery::Delivery( Notifier const& notifier ) noexcept
      : notifier_( &notifier ),
        snapshot_( inline_ ),
        taken_( notifier.head_->registration_ - 1 ),
        last_( notifier.notifieeModifications() ) {
   std::uint32_t const count = notifier.notifieeCount();
   if ( count > inlineSize ) {
      if ( auto** table = new ( std::nothrow ) PtrInterface::NotifieeConst*[ count ] ) {
         snapshot_ = table;
         room_ = count;
      }
   }
   take( notifier.head_ );
}

Delivery::~Delivery() {
   if ( snapshot_ != inline_ ) {
      delete[] snapshot_;
   }
}

void
Delivery::take( PtrInterface::NotifieeConst* first ) noexcept {
   auto* notifiee = first;
   position_ = 0;
   for ( size_ = 0; isAhead( notifiee ) && size_ < room_; notifiee = notifiee->next_ ) {
      notifiee->newReference();
      ++notifiee->snapshots_;
      snapshot_[ size_++ ] = notifiee;
      taken_ = notifiee->registration_;
   }
   isWhole_ = !isAhead( notifiee );
}

bool
Delivery::takeMore() noexcept {
   if ( isWhole_ ) {
      return false;
   }
   auto* notifiee = notifier_->head_;
   while ( notifiee && !isAhead( notifiee ) ) {
      notifiee = notifiee->next_;
   }
   take( notifiee );
   return size_ > 0;
}

PtrInterface::NotifieeConst*
Delivery::next() noexcept {
   if ( current_ ) {
      letGo( current_ );
   }
   while ( position_ < size_ || takeMore() ) {
      current_ = snapshot_[ position_++ ];
      if ( stillDue( *current_ ) ) {
         return current_;
      }
      letGo( current_ );
   }
   return current_ = nullptr;
}

bool
Delivery::wantsMember() const {
   return !current_->deferred_ && current_->isStreamAdapter();
}

void
Delivery::notifyOtherwise( AttributeId id, String8 const& member ) {
   if ( current_->deferred_ ) {
      current_->defer( id );
   } else if ( !current_->isStreamAdapter() ) {
      return;
   } else if ( member.empty() ) {
      current_->onAttribute( id );
   } else {
      current_->onCollectionNotification( member );
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
