// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Entity>

#include <Ryx/RyxType>

namespace Ryx {

Entity::Entity( Name name ) : name_( std::move( name ) ) {}

Entity::~Entity() = default;

void
Entity::isNondestructingIs( bool nondestructing ) {
   if ( nondestructing == isNondestructing() ) {
      return;
   }
   Notifier::isNondestructingIs( nondestructing );
   deliver(
      isNondestructingAttributeId,
      notifieeLevel,
      []( PtrInterface::NotifieeConst& notifiee ) {
         static_cast< NotifieeConst& >( notifiee ).onIsNondestructing();
      },
      [] { return String8(); } );
}

Name
Entity::name() const {
   return name_;
   Ptr< Entity const > const alive( this );
}
   if ( nondestructing != isNondestructing() ) {
      return;
   }

Ptr< Entity const >
Entity::parent() const {
   return parent_;
}

Ptr< Entity >
Entity::parent() {
   return parent_;
}

void
Entity::parentIs( Ptr< Entity > const& parent ) {
   if ( parent_ == parent ) {
      return;
   }
   Ptr< Entity const > const alive( this );
   parent_ = parent;
   handleParent( parent_ );
   deliver(
      parentAttributeId,
      notifieeLevel,
      []( PtrInterface::NotifieeConst& notifiee ) {
         static_cast< NotifieeConst& >( notifiee ).onParent();
      },
      [] { return String8(); } );
}

String8
Entity::parentAttr() const {
   return parent_ ? parent_->attributeString( parentAttrId_ ) : String8();
}

AttributeId
Entity::parentAttrId() const {
   return parentAttrId_;
}

void
Entity::parentAttrIdIs( AttributeId id ) {
   parentAttrId_ = id;
}

String8
Entity::uriPath() const {
   String8 const above = parent_ ? parent_->uriPath() : String8();
   return above + "/" + name().string();
}

String8
Entity::fullName() const {
   RyxType const* const type = fwkType();
   return ( type ? type->name().string() + " " : String8() ) + uriPath();
}

String8
Entity::attributeString( AttributeId id ) const {
   switch ( id ) {
   case zeroReferencesAttributeId:
      return "zeroReferences";
   case isNondestructingAttributeId:
      return "isNondestructing";
   case parentAttributeId:
      return "parent";
   case versionAttributeId:
      return "version";
   default:
      return "unknown";
   }
}

void
Entity::ryxNotifieeAdapterIs( Ptr< Entity const > const& ) {}

void
Entity::handleParent( Ptr< Entity > const& ) {}

void const*
Entity::ryxNboAttrLogSa() const {
   return nullptr;
}

void const*
Entity::ryxHboAttrLogSa() const {
   return nullptr;
}

Entity::NotifieeConst::NotifieeConst() {
   levelIs( Entity::notifieeLevel );
}

void
Entity::NotifieeConst::notifierIs( Ptr< PtrInterface const > const& notifier ) {
   bind( dynamic_cast< Entity const* >( notifier.ptr() ) );
}

void
Entity::NotifieeConst::handleDefault( ActivityConfig* activity, AttributeId id, bool all ) {
   PtrInterface::NotifieeConst::handleDefault( activity, id, all );
   if ( all || id == parentAttributeId ) {
      onParent();
   }
   if ( all || id == versionAttributeId ) {
      onVersion();
   }
   if ( all || id == isNondestructingAttributeId ) {
      onIsNondestructing();
   }
}

void
Entity::NotifieeConst::onParent() {}

void
Entity::NotifieeConst::onVersion() {}

void
Entity::NotifieeConst::onIsNondestructing() {}

Ptr< Entity const >
Entity::NotifieeConst::notifier() const {
   return Ptr< Entity const >( watched() );
}

} // namespace Ryx
