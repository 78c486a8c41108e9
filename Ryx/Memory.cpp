// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Memory>

#include <new>

namespace Ryx {

void*
VFPtrInterface::operator new( std::size_t size ) {
   return ::operator new( size );
}

void
VFPtrInterface::operator delete( void* memory, std::size_t size ) noexcept {
   ::operator delete( memory, size );
}

void*
RyxMemPool::operator new( std::size_t size ) {
   return ::operator new( size );
}

void
RyxMemPool::operator delete( void* memory, std::size_t size ) noexcept {
   ::operator delete( memory, size );
}

void*
memNew( unsigned size ) {
   return ::operator new( size );
}

void
memDel( void* memory, unsigned size ) noexcept {
   ::operator delete( memory, static_cast< std::size_t >( size ) );
}

} // namespace Ryx
