// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a delivery does once it cannot go along the list any more.

#include <Ryx/Delivery>

#include <mutex>
#include <new>

namespace Ryx {

std::atomic< Delivery* > Delivery::innermost_ = nullptr;

namespace {

// A thread that was started within a delivery may find it under way: their chain is walked
// and shortened by one thread at a time.
class OneAtATime {
 public:
   explicit OneAtATime( bool isSeen = true ) noexcept
         : isLocked_( isSeen && !singleThreaded() ) {
      if ( isLocked_ ) [[unlikely]] {
         underWay.lock();
      }
   }
   ~OneAtATime() {
      if ( isLocked_ ) [[unlikely]] {
         underWay.unlock();
      }
   }
   OneAtATime( OneAtATime const& ) = delete;
   OneAtATime& operator=( OneAtATime const& ) = delete;

 private:
   static std::mutex underWay;

   bool const isLocked_;
};

std::mutex OneAtATime::underWay;

} // namespace

bool
Delivery::keeps( PtrInterface const& object ) noexcept {
   OneAtATime const scope;
   Delivery* ofNotifier = nullptr;
   for ( Delivery* delivery = innermost_; delivery; delivery = delivery->outer_ ) {
      if ( delivery->notifier_ == &object ) {
         ofNotifier = delivery;
      } else if ( delivery->isToCome( object ) ) {
         delivery->takeSnapshot();
      }
   }
   // The outermost one ends last.
   if ( ofNotifier ) {
      ofNotifier->holdNotifier();
   }
   return object.references() != 0;
}

// Whether the list has to be left for an object that may be a notifiee. A long rest of the
// list is not searched for each, unless another thread asks, which is to change nothing.
bool
Delivery::isToCome( PtrInterface const& object ) const noexcept {
   if ( ( state_ & hasSnapshot ) != 0 || !at_ ) {
      return false;
   }
   NotifieeConst const* notifiee = at_;
   for ( std::uint32_t i = 0; i < inlineSize || !singleThreaded(); ++i ) {
      if ( notifiee == &object ) {
         return true;
      }
      if ( notifiee == last_ ) {
         return false;
      }
      notifiee = notifiee->next_;
   }
   return true;
}

void
Delivery::takeSnapshots( Notifier const& notifier ) noexcept {
   OneAtATime const scope;
   for ( Delivery* delivery = innermost_; delivery; delivery = delivery->outer_ ) {
      if ( delivery->notifier_ == &notifier ) {
         delivery->takeSnapshot();
      }
   }
}

// With a second thread it is nobody's business but its own. Those that are under way since
// there was only one become so, too.
void
Delivery::beginAside() noexcept {
   if ( isAny() ) {
      OneAtATime const scope;
      for ( Delivery* delivery = innermost_; delivery; delivery = delivery->outer_ ) {
         delivery->beSafeFromThreads();
      }
   }
   state_ = beganAside;
   holdNotifier();
}

void
Delivery::end() noexcept {
   if ( isSeen() ) {
      OneAtATime const scope;
      innermost_ = outer_;
   }
   if ( ( state_ & hasRoom ) != 0 ) {
      delete[] snapshot_;
   }
   if ( ( state_ & holdsNotifier ) != 0 ) {
      Expect::Pause const pause( scope_ );
      notifier_->deleteReference();
   }
}

void
Delivery::rangeIs( NotifieeConst* first, NotifieeConst* last ) noexcept {
   OneAtATime const scope( isSeen() );
   at_ = first;
   last_ = last;
   if ( !singleThreaded() ) {
      state_ &= ~hasSnapshot;
      beSafeFromThreads();
   }
}

void
Delivery::endTurn() noexcept {
   haveSnapshot();
   for ( std::uint32_t i = 0; i < size_; ++i ) {
      letGo( snapshot_[ i ] );
   }
   OneAtATime const scope( isSeen() );
   at_ = last_ = nullptr;
   state_ &= ~hasSnapshot;
}

void
Delivery::haveSnapshot() noexcept {
   OneAtATime const scope( isSeen() );
   takeSnapshot();
   if ( !singleThreaded() ) {
      holdNotifier();
   }
}

void
Delivery::beSafeFromThreads() noexcept {
   takeSnapshot();
   holdNotifier();
}

void
Delivery::holdNotifier() noexcept {
   if ( ( state_ & holdsNotifier ) == 0 ) {
      state_ |= holdsNotifier;
      notifier_->newReference();
   }
}

// The first of it is the one that is being called.
void
Delivery::takeSnapshot() noexcept {
   if ( ( state_ & hasSnapshot ) != 0 ) {
      return;
   }
   state_ |= hasSnapshot;
   modifications_ = notifier_->modifications_;
   isInPieces_ = false;
   snapshot_ = inline_;
   size_ = 0;
   if ( !at_ ) {
      return;
   }
   std::uint32_t rest = 1;
   for ( NotifieeConst const* notifiee = at_; notifiee != last_;
         notifiee = notifiee->next_ ) {
      ++rest;
   }
   if ( rest > inlineSize ) {
      if ( auto** const room = new ( std::nothrow ) NotifieeConst*[ rest ] ) {
         snapshot_ = room;
         state_ |= hasRoom;
      } else {
         isInPieces_ = true;
         taken_ = at_->registration_ - 1;
         lastRegistration_ = last_->registration_;
         takePiece();
         return;
      }
   }
   bool const alone = singleThreaded();
   NotifieeConst* notifiee = at_;
   for ( ; size_ < rest; notifiee = notifiee->next_ ) {
      hold( notifiee, alone );
      snapshot_[ size_++ ] = notifiee;
   }
}

// Takes as many as fit of those that were registered when the delivery began; false when
// none is left. How far it is along the list is reckoned from the last one taken, so that
// registrations may wrap around.
bool
Delivery::takePiece() noexcept {
   size_ = 0;
   for ( auto* notifiee = notifier_->head_; notifiee && size_ < inlineSize;
         notifiee = notifiee->next_ ) {
      if ( notifiee->registration_ - taken_ - 1 < lastRegistration_ - taken_ ) {
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
