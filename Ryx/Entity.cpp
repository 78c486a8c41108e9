// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Entity>

#include <Ryx/RyxType>

#include <vector>

namespace Ryx {

Entity::Entity( Name name ) : name_( std::move( name ) ) {}

// Ancestors that end with this one end one after the other: a line of them may be longer
// than the stack is deep.
Entity::~Entity() {
   auto above = std::move( parent_ );
   if ( above ) {
      --above->children_;
   }
   while ( above && above->references() == 1 ) {
      auto next = above->parent_;
      above = std::move( next );
   }
}

void
Entity::isNondestructingIs( bool nondestructing ) {
   if ( nondestructing == isNondestructing() ) {
      return;
   }
   Ptr< Entity const > const alive( this );
   Notifier::isNondestructingIs( nondestructing );
   if ( nondestructing != isNondestructing() ) {
      return;
   }
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
   if ( parent && isAncestorOf( *parent ) ) {
      throwRangeException(
         uriPath() + " cannot have " + parent->uriPath() +
         " for its parent: it would be its own ancestor" );
   }
   Ptr< Entity const > const alive( this );
   if ( parent ) {
      ++parent->children_;
   }
   if ( parent_ ) {
      --parent_->children_;
   }
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

// Whether this is the entity or above it. One without children, as most are that are given
// a parent, is above none.
bool
Entity::isAncestorOf( Entity const& entity ) const noexcept {
   if ( children_ == 0 ) {
      return &entity == this;
   }
   Entity const* at = &entity;
   while ( at && at != this ) {
      at = at->parent_.ptr();
   }
   return at;
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
   std::vector< Entity const* > line;
   for ( Entity const* at = this; at; at = at->parent_.ptr() ) {
      line.push_back( at );
   }
   String8 path;
   for ( auto at = line.rbegin(); at != line.rend(); ++at ) {
      path += "/" + ( *at )->name().string();
   }
   return path;
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
