// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <collection/Allocated>

#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

std::size_t allocated = 0;

std::size_t
sizeOfBlock( void* memory ) {
   return memory ? malloc_usable_size( memory ) + sizeof( std::size_t ) : 0;
}

} // namespace

std::size_t
bench::allocatedBytes() noexcept {
   return allocated;
}

void*
operator new( std::size_t size ) {
   void* const memory = std::malloc( size );
   if ( !memory ) {
      throw std::bad_alloc();
   }
   allocated += sizeOfBlock( memory );
   return memory;
}

void
operator delete( void* memory ) noexcept {
   allocated -= sizeOfBlock( memory );
   std::free( memory );
}

void
operator delete( void* memory, std::size_t ) noexcept {
   operator delete( memory );
}
