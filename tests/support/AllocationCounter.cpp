// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <support/AllocationCounter>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

// Every form is replaced: a sanitizer brings its own of those that are left out, which are
// not counted. The memory is the C library's, so that the sanitizer still watches it.

namespace {

constexpr std::size_t noAllocation = std::numeric_limits< std::size_t >::max();

std::atomic< std::size_t > totalAllocations = 0;
std::atomic< std::size_t > live = 0;
std::atomic< std::size_t > refusals = 0;
// The allocations that are refused.
std::atomic< std::size_t > firstRefused = noAllocation;
std::atomic< std::size_t > lastRefused = noAllocation;

// Counts an allocation and says whether there is memory for it.
bool
granted() noexcept {
   std::size_t const count = totalAllocations.fetch_add( 1, std::memory_order_relaxed ) + 1;
   if (
      count < firstRefused.load( std::memory_order_relaxed ) ||
      count > lastRefused.load( std::memory_order_relaxed ) ) {
      live.fetch_add( 1, std::memory_order_relaxed );
      return true;
   }
   refusals.fetch_add( 1, std::memory_order_relaxed );
   return false;
}

// The same once the program's new-handler has given up what it can spare.
bool
grantedAtLast() noexcept {
   while ( !granted() ) {
      auto const handler = std::get_new_handler();
      if ( !handler ) {
         return false;
      }
      handler();
   }
   return true;
}

void
release( void* memory ) noexcept {
   live.fetch_sub( memory ? 1 : 0, std::memory_order_relaxed );
   std::free( memory );
}

void*
allocated( std::size_t size ) noexcept {
   return grantedAtLast() ? std::malloc( std::max< std::size_t >( size, 1 ) ) : nullptr;
}

void*
allocated( std::size_t size, std::align_val_t alignment ) noexcept {
   auto const unit = static_cast< std::size_t >( alignment );
   std::size_t const units = std::max< std::size_t >( ( size + unit - 1 ) / unit, 1 );
   return grantedAtLast() ? std::aligned_alloc( unit, units * unit ) : nullptr;
}

void*
orThrow( void* memory ) {
   if ( memory == nullptr ) {
      throw std::bad_alloc();
   }
   return memory;
}

} // namespace

std::size_t
support::AllocationCounter::total() noexcept {
   return totalAllocations.load( std::memory_order_relaxed );
}

support::AllocationFailure::AllocationFailure( std::size_t nth, Of of ) noexcept {
   std::size_t const first = totalAllocations.load( std::memory_order_relaxed ) + nth;
   refusals.store( 0 );
   lastRefused.store( of == Of::one ? first : noAllocation );
   firstRefused.store( first );
}

support::AllocationFailure::~AllocationFailure() {
   firstRefused.store( noAllocation );
}

bool
support::AllocationFailure::refused() const noexcept {
   return refusals.load( std::memory_order_relaxed ) != 0;
}

std::size_t
support::liveAllocations() noexcept {
   return live.load( std::memory_order_relaxed );
}

void*
operator new( std::size_t size ) {
   return orThrow( allocated( size ) );
}

void*
operator new[]( std::size_t size ) {
   return orThrow( allocated( size ) );
}

void*
operator new( std::size_t size, std::nothrow_t const& ) noexcept {
   return allocated( size );
}

void*
operator new[]( std::size_t size, std::nothrow_t const& ) noexcept {
   return allocated( size );
}

void*
operator new( std::size_t size, std::align_val_t alignment ) {
   return orThrow( allocated( size, alignment ) );
}

void*
operator new[]( std::size_t size, std::align_val_t alignment ) {
   return orThrow( allocated( size, alignment ) );
}

void*
operator new(
   std::size_t size, std::align_val_t alignment, std::nothrow_t const& ) noexcept {
   return allocated( size, alignment );
}

void*
operator new[](
   std::size_t size, std::align_val_t alignment, std::nothrow_t const& ) noexcept {
   return allocated( size, alignment );
}

void
operator delete( void* memory ) noexcept {
   release( memory );
}

void
operator delete[]( void* memory ) noexcept {
   release( memory );
}

void
operator delete( void* memory, std::size_t ) noexcept {
   release( memory );
}

void
operator delete[]( void* memory, std::size_t ) noexcept {
   release( memory );
}

void
operator delete( void* memory, std::nothrow_t const& ) noexcept {
   release( memory );
}

void
operator delete[]( void* memory, std::nothrow_t const& ) noexcept {
   release( memory );
}

void
operator delete( void* memory, std::align_val_t ) noexcept {
   release( memory );
}

void
operator delete[]( void* memory, std::align_val_t ) noexcept {
   release( memory );
}

void
operator delete( void* memory, std::size_t, std::align_val_t ) noexcept {
   release( memory );
}

void
operator delete[]( void* memory, std::size_t, std::align_val_t ) noexcept {
   release( memory );
}

void
operator delete( void* memory, std::align_val_t, std::nothrow_t const& ) noexcept {
   release( memory );
}

void
operator delete[]( void* memory, std::align_val_t, std::nothrow_t const& ) noexcept {
   release( memory );
}
