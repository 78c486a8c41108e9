// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/PtrInterface>

namespace Ryx {

PtrInterface::~PtrInterface() = default;

void
PtrInterface::hasNotificationActiveIs( bool active ) {
   flagIs( activeBit, active );
}

unsigned
PtrInterface::ryxAuditErrors( unsigned limit ) const {
   return auditErrors( limit );
}

unsigned
PtrInterface::auditErrors( unsigned ) const {
   return 0;
}

void
PtrInterface::isNondestructingIs( bool nondestructing ) {
   if ( nondestructing == isNondestructing() ) {
      return;
   }
   std::uint32_t before = word();
   std::uint32_t after = 0;
   do {
      std::uint32_t const count = before & 0x00ffffff;
      after = nondestructing ? pinnedByte << 24 | count : count;
   } while ( !word_.compare_exchange_weak( before, after, std::memory_order_relaxed ) );
}

void
PtrInterface::zeroReferencesIs( bool ) {}

RyxType*
PtrInterface::fwkType() const {
   return nullptr;
}

void
PtrInterface::ryxHeldIs( bool held ) noexcept {
   flagIs( heldBit, held );
   if ( !held && references() == 0 ) {
      handleZeroRef();
   }
}

void
PtrInterface::flagIs( std::uint32_t bit, bool on ) const noexcept {
   if ( isNondestructing() ) {
      return;
   }
   if ( on ) {
      word_.fetch_or( bit, std::memory_order_relaxed );
   } else {
      word_.fetch_and( ~bit, std::memory_order_relaxed );
   }
}

void
PtrInterface::handleZeroRef() const noexcept {
   auto* self = const_cast< PtrInterface* >( this );
   // Referenced while the last words are said, and held while it is destroyed: references
   // that come and go meanwhile must not release the object a second time.
   word_.fetch_add( 1, std::memory_order_relaxed );
   self->zeroReferencesIs( true );
   std::uint32_t const before = word_.fetch_sub( 1, std::memory_order_acq_rel );
   if ( !pinned( before ) && ( before & ( countMask | heldBit ) ) == 1 ) {
      flagIs( heldBit, true );
      delete self;
   }
}

} // namespace Ryx
