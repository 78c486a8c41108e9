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
   std::uint32_t const count = word() & 0x00ffffff;
   word_.store(
      nondestructing ? pinnedByte << 24 | count : count, std::memory_order_relaxed );
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
   // Held while the last words are said: references that come and go in them must not
   // release the object a second time.
   flagIs( heldBit, true );
   self->zeroReferencesIs( true );
   if ( references() != 0 || isNondestructing() ) {
      flagIs( heldBit, false );
      return;
   }
   delete self;
}

} // namespace Ryx
