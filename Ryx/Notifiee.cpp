// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Notifiee>

#include <Ryx/Activity>

#include <utility>

namespace Ryx {

PtrInterface::NotifieeConst::NotifieeConst() : PtrInterface( activeBit ) {}

PtrInterface::NotifieeConst::~NotifieeConst() {
   if ( Notifier const* const old = notifier_ ) {
      leave();
      notifier_ = nullptr;
      if ( !weak_ ) {
         old->deleteReference();
      }
   }
   if ( waiting_ ) [[unlikely]] {
      delete waiting_;
   }
}

// Takes it out of the notifier's list, or of those that are in none.
inline void
PtrInterface::NotifieeConst::leave() const noexcept {
   auto* self = const_cast< NotifieeConst* >( this );
   if ( registered_ ) {
      notifier_->unlink( self );
   } else if ( weak_ ) {
      Notifier::unpark( self );
   }
}

void
PtrInterface::NotifieeConst::hasNotificationActiveIs( bool active ) {
   if ( active == hasNotificationActive() ) {
      return;
   }
   flagIs( activeBit, active );
   if ( !active ) {
      registeredWhenActive_ = registered_;
      isRegisteredNotifieeIs( false );
   } else if ( registeredWhenActive_ ) {
      try {
         isRegisteredNotifieeIs( true );
      } catch ( ... ) {
         flagIs( activeBit, false );
         throw;
      }
   }
}

void
PtrInterface::NotifieeConst::isRegisteredNotifieeIs( bool registered ) const {
   if ( registered == registered_ ) {
      return;
   }
   auto* self = const_cast< NotifieeConst* >( this );
   if ( registered ) {
      bool const deferred = notifier_ && isToBeDeferred();
      if ( registered_ ) {
         // It has registered itself when it was asked.
         return;
      }
      registered_ = true;
      if ( notifier_ ) {
         if ( weak_ ) {
            Notifier::unpark( self );
         }
         joinAs( deferred );
      }
      return;
   }
   registered_ = false;
   if ( notifier_ ) {
      notifier_->unlink( self );
      if ( weak_ ) {
         notifier_->park( self );
      }
   }
}

void
PtrInterface::NotifieeConst::notifierIs( Ptr< PtrInterface const > const& notifier ) {
   bind( dynamic_cast< Notifier const* >( notifier.ptr() ) );
}

void
PtrInterface::NotifieeConst::bind( Notifier const* notifier ) const {
   if ( !registered_ || !notifier ) [[likely]] {
      bindAs( false, notifier );
      return;
   }
   // It may be let go of when the notifiee is asked.
   Ptr< Notifier const > const alive( notifier );
   bindAs( isToBeDeferred(), notifier );
}

void
PtrInterface::NotifieeConst::bindAs(
   bool deferred, Notifier const* notifier ) const noexcept {
   auto* self = const_cast< NotifieeConst* >( this );
   Notifier const* const old = notifier_;
   if ( notifier && !weak_ ) {
      notifier->newReference();
   }
   if ( old ) {
      leave();
      if ( notifier != old ) {
         notifierLost();
      }
   }
   notifier_ = notifier;
   if ( notifier && registered_ ) {
      joinAs( deferred );
   } else if ( notifier && weak_ ) {
      notifier->park( self );
   }
   if ( old && !weak_ ) {
      old->deleteReference();
   }
}

void
PtrInterface::NotifieeConst::joinAs( bool deferred ) const noexcept {
   deferredIs( deferred );
   notifier_->link( const_cast< NotifieeConst* >( this ) );
}

// What is pending was a change of a notifier that it no longer watches.
void
PtrInterface::NotifieeConst::notifierLost() const noexcept {
   notifier_ = nullptr;
   if ( waiting_ ) [[unlikely]] {
      waiting_->drop();
   }
}

PtrInterface::NotifieeConst::Waiting&
PtrInterface::NotifieeConst::waiting() const {
   if ( !waiting_ ) {
      waiting_ = new Waiting( const_cast< NotifieeConst& >( *this ) );
   }
   return *waiting_;
}

AttributeId
PtrInterface::NotifieeConst::pendingAttributeId() const noexcept {
   return waiting_ ? waiting_->pending : 0;
}

void
PtrInterface::NotifieeConst::waitsNoMore() const noexcept {
   if ( waiting_->pending == 0 ) {
      waiting_->drop();
   }
}

void
PtrInterface::NotifieeConst::isWeakReferenceIs( bool weak ) {
   if ( notifier_ && weak != weak_ ) {
      assertFailed( "notifier_ == 0", "Ryx/Notifiee", __LINE__, __func__ );
   }
   weak_ = weak;
}

void
PtrInterface::NotifieeConst::handleNotification( ActivityConfig* activity ) {
   AttributeId const id = waiting_ ? std::exchange( waiting_->pending, 0 ) : 0;
   handleDefault( activity, id, id == allAttributesId );
}

void
PtrInterface::NotifieeConst::handleDefault( ActivityConfig*, AttributeId id, bool ) {
   // That several attributes have changed does not mean that the notifier goes.
   if ( id == zeroReferencesAttributeId ) {
      onZeroReferences();
   }
}

PtrInterface*
PtrInterface::NotifieeConst::ryxReactor() const {
   return nullptr;
}

void*
PtrInterface::NotifieeConst::ryxRawReactor() const {
   return nullptr;
}

bool
PtrInterface::NotifieeConst::isStreamAdapter() const {
   return false;
}

Name
PtrInterface::NotifieeConst::name() const {
   return Name();
}

Ptr< ActivityConfig >
PtrInterface::NotifieeConst::activityPtr() const {
   return Ptr< ActivityConfig >( const_cast< NotifieeConst* >( this )->ryxFwkActivity() );
}

ActivityConfig*
PtrInterface::NotifieeConst::ryxFwkActivity() {
   return nullptr;
}

ActivityConfig const*
PtrInterface::NotifieeConst::ryxFwkActivity() const {
   return const_cast< NotifieeConst* >( this )->ryxFwkActivity();
}

PtrInterface*
PtrInterface::NotifieeConst::actsm() {
   return nullptr;
}

void
PtrInterface::NotifieeConst::ryx_bitSetIs( Ryx_BitSet ) {}

void
PtrInterface::NotifieeConst::onAttribute( AttributeId ) {}

void
PtrInterface::NotifieeConst::onNotification() {}

void
PtrInterface::NotifieeConst::onCollectionNotification( String8 ) {}

void
PtrInterface::NotifieeConst::onNotificationException() {}

void
PtrInterface::NotifieeConst::onNotificationException( AttributeId ) {}

void
PtrInterface::NotifieeConst::handleNotificationException( AttributeId ) {}

void
PtrInterface::NotifieeConst::handleNotificationException() {}

void
PtrInterface::NotifieeConst::onZeroReferences() {}

} // namespace Ryx
