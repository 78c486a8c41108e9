// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Notifiee>

#include <Ryx/Activity>

namespace Ryx {

PtrInterface::NotifieeConst::NotifieeConst() : PtrInterface( activeBit ) {}

PtrInterface::NotifieeConst::~NotifieeConst() {
   bind( nullptr );
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
      isRegisteredNotifieeIs( true );
   }
}

void
PtrInterface::NotifieeConst::isRegisteredNotifieeIs( bool registered ) const {
   if ( registered == registered_ ) {
      return;
   }
   auto* self = const_cast< NotifieeConst* >( this );
   registered_ = registered;
   if ( !notifier_ ) {
      return;
   }
   if ( registered ) {
      if ( weak_ ) {
         Notifier::unpark( self );
      }
      join();
   } else {
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
   auto* self = const_cast< NotifieeConst* >( this );
   Notifier const* const old = notifier_;
   if ( notifier && !weak_ ) {
      notifier->newReference();
   }
   if ( old && registered_ ) {
      old->unlink( self );
   } else if ( old && weak_ ) {
      Notifier::unpark( self );
   }
   if ( notifier != old ) {
      notifierLost();
   }
   notifier_ = notifier;
   if ( notifier && registered_ ) {
      join();
   } else if ( notifier && weak_ ) {
      notifier->park( self );
   }
   if ( old && !weak_ ) {
      old->deleteReference();
   }
}

void
PtrInterface::NotifieeConst::join() const {
   auto* self = const_cast< NotifieeConst* >( this );
   deferredIs( self->ryxFwkActivity() != nullptr );
   notifier_->link( self );
}

// What is pending is of a notifier that it watches no more.
void
PtrInterface::NotifieeConst::notifierLost() const noexcept {
   notifier_ = nullptr;
   pending_ = 0;
   ticket_ = 0;
}

void
PtrInterface::NotifieeConst::isWeakReferenceIs( bool weak ) {
   if ( notifier_ && weak != weak_ ) {
      assertFailed( "notifier_ == 0", "Ryx/Notifiee", __LINE__, __func__ );
   }
   weak_ = weak;
}

void
PtrInterface::NotifieeConst::defer( AttributeId id ) {
   if ( ticket_ == 0 ) {
      ActivityConfig* const activity = ryxFwkActivity();
      if ( !activity ) {
         // It has lost its activity since it registered.
         handleDefault( nullptr, id, false );
         return;
      }
      activity->notifieeIs( Ptr< NotifieeConst >( this ) );
   }
   pending_ = pending_ == 0 || pending_ == id ? id : allAttributesId;
}

void
PtrInterface::NotifieeConst::handleNotification( ActivityConfig* activity ) {
   AttributeId const id = pending_;
   pending_ = 0;
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
