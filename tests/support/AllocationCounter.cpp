// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <support/AllocationCounter>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

// Every form is replaced: a sanitizer brings its own of those that are left out, which are
// not counted. The memory is the C library's, so that the sanitizer still watches it.

namespace {

std::atomic< std::size_t > totalAllocations = 0;

void*
allocated( std::size_t size ) noexcept {
   totalAllocations.fetch_add( 1, std::memory_order_relaxed );
   return std::malloc( std::max< std::size_t >( size, 1 ) );
}

void*
allocated( std::size_t size, std::align_val_t alignment ) noexcept {
   totalAllocations.fetch_add( 1, std::memory_order_relaxed );
   auto const unit = static_cast< std::size_t >( alignment );
   std::size_t const units = std::max< std::size_t >( ( size + unit - 1 ) / unit, 1 );
   return std::aligned_alloc( unit, units * unit );
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
   std::free( memory );
}

void
operator delete[]( void* memory ) noexcept {
   std::free( memory );
}

void
operator delete( void* memory, std::size_t ) noexcept {
   std::free( memory );
}

void
operator delete[]( void* memory, std::size_t ) noexcept {
   std::free( memory );
}

void
operator delete( void* memory, std::nothrow_t const& ) noexcept {
   std::free( memory );
}

void
operator delete[]( void* memory, std::nothrow_t const& ) noexcept {
   std::free( memory );
}

void
operator delete( void* memory, std::align_val_t ) noexcept {
   std::free( memory );
}

void
operator delete[]( void* memory, std::align_val_t ) noexcept {
   std::free( memory );
}

void
operator delete( void* memory, std::size_t, std::align_val_t ) noexcept {
   std::free( memory );
}

void
operator delete[]( void* memory, std::size_t, std::align_val_t ) noexcept {
   std::free( memory );
}

void
operator delete( void* memory, std::align_val_t, std::nothrow_t const& ) noexcept {
   std::free( memory );
}

void
operator delete[]( void* memory, std::align_val_t, std::nothrow_t const& ) noexcept {
   std::free( memory );
}
