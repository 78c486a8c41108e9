// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Delivery>

#include <mutex>
#include <unordered_map>

namespace Ryx {

namespace {

// The state of each pinned object, in the form of its word. Pinning and unpinning take the
// lock, and so does all that reads or changes the state of a pinned object.
struct PinnedStates {
   std::mutex mutex;
   std::unordered_map< PtrInterface const*, std::uint32_t > states;

   // Null for an object whose count has grown into the pinned byte.
   std::uint32_t* find( PtrInterface const* object ) noexcept {
      auto const found = states.find( object );
      return found == states.end() ? nullptr : &found->second;
   }
};

// Never destroyed: objects end until the process does.
PinnedStates&
pinnedStates() noexcept {
   alignas( PinnedStates ) static std::byte place[ sizeof( PinnedStates ) ];
   static auto* const only = ::new ( place ) PinnedStates;
   return *only;
}

[[gnu::cold, gnu::noinline]] void
forgetPinned( PtrInterface const* object ) noexcept {
   auto& table = pinnedStates();
   std::lock_guard const lock( table.mutex );
   table.states.erase( object );
}

// Sets or clears a flag of an object whose word was found pinned.
[[gnu::cold, gnu::noinline]] void
pinnedFlagIs( PtrInterface const* object, std::uint32_t bit, bool on ) noexcept {
   auto& table = pinnedStates();
   std::lock_guard const lock( table.mutex );
   if ( std::uint32_t* const state = table.find( object ) ) {
      *state = on ? *state | bit : *state & ~bit;
   }
}

} // namespace

PtrInterface::~PtrInterface() {
   if ( isNondestructing() ) [[unlikely]] {
      forgetPinned( this );
   }
}

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
   if ( nondestructing ) {
      pin();
   } else {
      unpin();
   }
}

void
PtrInterface::pin() {
   auto& table = pinnedStates();
   std::lock_guard const lock( table.mutex );
   std::uint32_t& kept = table.states[ this ];
   kept = word();
   constexpr std::uint32_t lowBits = 0x00ffffff;
   while ( !word_.compare_exchange_weak(
      kept, pinnedByte << 24 | ( kept & lowBits ), std::memory_order_acq_rel ) ) {}
}

void
PtrInterface::unpin() {
   auto& table = pinnedStates();
   std::uint32_t state = 0;
   {
      std::lock_guard const lock( table.mutex );
      auto const kept = table.states.extract( this );
      if ( !kept ) {
         return;
      }
      state = kept.mapped();
      word_.store( state, std::memory_order_release );
   }
   if ( released( state ) ) {
      handleZeroRef();
   }
}

[[gnu::noinline]] void
PtrInterface::newSharedReference() const noexcept {
   std::uint32_t w = word();
   do {
      if ( pinned( w ) ) [[unlikely]] {
         newPinnedReference();
         return;
      }
   } while ( !word_.compare_exchange_weak( w, w + 1, std::memory_order_relaxed ) );
}

[[gnu::noinline]] bool
PtrInterface::lastSharedReferenceDeleted() const noexcept {
   std::uint32_t w = word();
   do {
      if ( pinned( w ) ) [[unlikely]] {
         return lastPinnedReferenceDeleted();
      }
   } while ( !word_.compare_exchange_weak(
      w, w - 1, std::memory_order_acq_rel, std::memory_order_relaxed ) );
   return released( w - 1 );
}

[[gnu::cold, gnu::noinline]] std::uint32_t
PtrInterface::pinnedState() const noexcept {
   auto& table = pinnedStates();
   std::lock_guard const lock( table.mutex );
   std::uint32_t const* const state = table.find( this );
   return state ? *state : word();
}

[[gnu::cold, gnu::noinline]] void
PtrInterface::newPinnedReference() const noexcept {
   auto& table = pinnedStates();
   {
      std::lock_guard const lock( table.mutex );
      if ( isNondestructing() ) {
         if ( std::uint32_t* const state = table.find( this ) ) {
            ++*state;
         }
         return;
      }
   }
   // Unpinned meanwhile.
   newReference();
}

[[gnu::cold, gnu::noinline]] bool
PtrInterface::lastPinnedReferenceDeleted() const noexcept {
   auto& table = pinnedStates();
   {
      std::lock_guard const lock( table.mutex );
      if ( isNondestructing() ) {
         if ( std::uint32_t* const state = table.find( this ) ) {
            --*state;
         }
         return false;
      }
   }
   return lastReferenceDeleted();
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
   if ( !held && !isNondestructing() && references() == 0 ) {
      handleZeroRef();
   }
}

void
PtrInterface::flagIs( std::uint32_t bit, bool on ) const noexcept {
   std::uint32_t const w = word();
   if ( pinned( w ) ) [[unlikely]] {
      pinnedFlagIs( this, bit, on );
   } else if ( singleThreaded() ) {
      word_.store( on ? w | bit : w & ~bit, std::memory_order_relaxed );
   } else if ( on ) {
      word_.fetch_or( bit, std::memory_order_relaxed );
   } else {
      word_.fetch_and( ~bit, std::memory_order_relaxed );
   }
}

void
PtrInterface::handleZeroRef() const noexcept {
   if ( Delivery::isAny() && Delivery::keeps( *this ) ) {
      return;
   }
   auto* self = const_cast< PtrInterface* >( this );
   // It is referenced while zeroReferencesIs runs, and held while it is destroyed: references
   // that come and go meanwhile must not release it a second time. Nobody else can change the
   // word of an object without references.
   std::uint32_t const w = word();
   bool const isFree = released( w );
   if ( isFree ) [[likely]] {
      word_.store( w + 1, std::memory_order_relaxed );
   } else {
      newReference();
   }
   self->zeroReferencesIs( true );
   bool const isUntouched = isFree && word_.load( std::memory_order_acquire ) == w + 1;
   if ( !isUntouched && !lastReferenceDeleted() ) [[unlikely]] {
      return;
   }
   word_.store( ( word() & ~countMask ) | heldBit, std::memory_order_relaxed );
   delete self;
}

} // namespace Ryx
