// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a delivery does once it cannot go along the list any more.

#include <Ryx/Delivery>

#include <Ryx/Activity>

#include <algorithm>
#include <mutex>
#include <new>

namespace Ryx {

std::atomic< Delivery* > Delivery::innermost_ = nullptr;

namespace {

// A thread that was started within a delivery may find it under way: the chain of deliveries
// is walked and shortened by one thread at a time. That thread may come back to it: a snapshot
// allocates, and a new-handler may let go of notifiees.
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
   static std::recursive_mutex underWay;

   bool const isLocked_;
};

std::recursive_mutex OneAtATime::underWay;

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

// Whether the object is a notifiee that is still to be called from the list, or may be one: the
// list is searched no farther than inlineSize, so that letting go of an object stays cheap. A
// snapshot that was not needed only costs time. If there is a second thread, all of the list is
// searched: a thread that is not the delivery's own takes a snapshot only if it must.
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

// With a second thread nobody else can see the delivery, because it holds all that it needs from
// the beginning. Those that began while there was one thread hold what they need from now on.
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
   if ( !isSeen() || !singleThreaded() ) {
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

// The first notifiee in it is the one that is being called. The first piece is taken before
// memory for more is looked for: a new-handler may then change the list, and end any notifiee
// that is not in that piece. The others are found by their registration numbers.
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
   taken_ = at_->registration_ - 1;
   lastRegistration_ = last_->registration_;
   std::uint32_t const rest = takeFrom( at_, inlineSize );
   if ( rest == 0 ) {
      return;
   }
   if ( auto** const room = new ( std::nothrow ) NotifieeConst*[ inlineSize + rest ] ) {
      std::copy_n( inline_, inlineSize, room );
      snapshot_ = room;
      state_ |= hasRoom;
      takeFrom( notifier_->head_, inlineSize + rest );
   } else {
      isInPieces_ = true;
   }
}

// Takes notifiees from `first` on along the list, of those that were registered when the
// delivery began and have not been taken, until the snapshot has `size`. Returns how many
// there are beyond that. Registration numbers are compared by their distance from the last one
// taken, because they wrap around.
std::uint32_t
Delivery::takeFrom( NotifieeConst* first, std::uint32_t size ) noexcept {
   bool const alone = singleThreaded();
   std::uint32_t const from = taken_;
   std::uint32_t left = 0;
   bool isAmongThem = false;
   for ( auto* notifiee = first; notifiee; notifiee = notifiee->next_ ) {
      if ( notifiee->registration_ - from - 1 >= lastRegistration_ - from ) {
         if ( isAmongThem ) {
            // The list ascends: the others registered later.
            break;
         }
         continue;
      }
      isAmongThem = true;
      if ( size_ == size ) {
         ++left;
         continue;
      }
      hold( notifiee, alone );
      snapshot_[ size_++ ] = notifiee;
      taken_ = notifiee->registration_;
   }
   return left;
}

bool
Delivery::takePiece() noexcept {
   size_ = 0;
   takeFrom( notifier_->head_, inlineSize );
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

ActivityConfig*
Delivery::activityOf( NotifieeConst& notifiee ) const {
   Expect::Pause const pause( scope_ );
   return notifiee.ryxFwkActivity();
}

bool
Delivery::isForAdapter( NotifieeConst& notifiee, AttributeId id ) const {
   if ( !notifiee.deferred_ ) {
      return notifiee.isStreamAdapter();
   }
   defer( notifiee, id );
   return false;
}

void
Delivery::defer( NotifieeConst& notifiee, AttributeId id ) const {
   NotifieeConst::Waiting& waiting = *notifiee.waiting_;
   if ( waiting.isOver ) {
      std::uint32_t const registration = notifiee.registration_;
      ActivityConfig* const activity = activityOf( notifiee );
      if (
         !notifiee.registered_ || notifiee.notifier_ != notifier_ ||
         notifiee.registration_ != registration ) {
         // It left when it was asked.
         return;
      }
      if ( !activity ) {
         // It has lost its activity since it registered.
         notifiee.handleDefault( nullptr, id, false );
         return;
      }
      activity->notifieeIs( Ptr< NotifieeConst >( &notifiee ) );
   }
   waiting.pending = waiting.pending == 0 || waiting.pending == id ? id : allAttributesId;
}

void
Delivery::tellAdapter( NotifieeConst& notifiee, AttributeId id, String8 const& member ) {
   if ( member.empty() ) {
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
      // It has been told of its own exception; the setter is to see neither.
      return;
   }
}

} // namespace Ryx
