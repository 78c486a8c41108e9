// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A memory of the program itself. The C library's allocator takes another number of
// instructions with each version, and with what was allocated before; this one takes the
// same number always: it hands out powers of two and keeps what comes back in a list of its
// size.

#include <instructions/Measure>

#include <array>
#include <bit>
#include <new>

namespace {

// Stands before each piece while it is in use.
union alignas( std::max_align_t ) Header {
   unsigned size;
   Header* next;
};

constexpr std::size_t arenaSize = std::size_t( 64 ) << 20;

alignas( Header ) std::byte arena[ arenaSize ];
std::size_t used = 0;
// Pieces of 2^i bytes.
std::array< Header*, std::bit_width( arenaSize ) > released{};
std::size_t allocated = 0;

Header*
newPiece( std::size_t size ) {
   if ( size > arenaSize - used ) {
      throw std::bad_alloc();
   }
   void* const piece = arena + used;
   used += size;
   return new ( piece ) Header;
}

} // namespace

std::size_t
bench::allocations() noexcept {
   return allocated;
}

void*
operator new( std::size_t size ) {
   if ( size > arenaSize / 2 ) {
      throw std::bad_alloc();
   }
   auto const width =
      static_cast< unsigned >( std::bit_width( size + sizeof( Header ) - 1 ) );
   Header* piece = released[ width ];
   if ( piece ) {
      released[ width ] = piece->next;
   } else {
      piece = newPiece( std::size_t( 1 ) << width );
   }
   piece->size = width;
   ++allocated;
   return piece + 1;
}

void
operator delete( void* memory ) noexcept {
   if ( memory ) {
      Header* const piece = static_cast< Header* >( memory ) - 1;
      unsigned const width = piece->size;
      piece->next = released[ width ];
      released[ width ] = piece;
   }
}

void
operator delete( void* memory, std::size_t ) noexcept {
   operator delete( memory );
}
