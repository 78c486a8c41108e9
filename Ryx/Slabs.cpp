// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Slabs>

#include <Ryx/Exception>

#include <algorithm>
#include <bit>
#include <new>

#include <sys/mman.h>
#include <sys/resource.h>

namespace Ryx {

namespace {

// Of an arena; a bit for each.
constexpr std::uint32_t allSlabs = ~std::uint32_t( 0 );
static_assert( Slabs::arenaSize == 32 * Slabs::slabSize );

bool
isLimited() noexcept {
   rlimit limit{};
   return getrlimit( RLIMIT_AS, &limit ) != 0 || limit.rlim_cur != RLIM_INFINITY;
}

// Address space without memory, in place of what is at `where`; null when it is refused.
void*
mapped( void* where, std::size_t size ) noexcept {
   int const fixed = where ? MAP_FIXED : 0;
   void* const range = mmap(
      where, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | fixed, -1, 0 );
   return range == MAP_FAILED ? nullptr : range;
}

void*
at( std::uintptr_t address ) noexcept {
   return reinterpret_cast< void* >( address );
}

} // namespace

void
Slabs::refuseArenas() noexcept {
   assertFailed( "arenas <= mostArenas", "Ryx/Slabs", __LINE__, "Slabs" );
}

// Objects that are made in a row lie in a row again.
void
Slabs::clear( Slab& slab ) noexcept {
   slab.free = nullptr;
   slab.fresh = reinterpret_cast< char* >( &slab + 1 );
}

void
Slabs::join( Slab*& list, Slab* slab ) noexcept {
   slab->next = list;
   slab->link = &list;
   if ( list ) {
      list->link = &slab->next;
   }
   list = slab;
}

void
Slabs::leave( Slab& slab ) noexcept {
   *slab.link = slab.next;
   if ( slab.next ) {
      slab.next->link = slab.link;
   }
}

void*
Slabs::take( std::size_t size ) noexcept {
   if ( void* const piece = takeReady( size ) ) {
      return piece;
   }
   bool const isToBeHad =
      size - 1 < largest && ( isOwner() || becomeOwner() ) && fill( classOf( size ) );
   return isToBeHad ? takeReady( size ) : nullptr;
}

bool
Slabs::becomeOwner() noexcept {
   void const* nobody = nullptr;
   return owner_.load( std::memory_order_relaxed ) == nobody && !isClosed_ &&
      owner_.compare_exchange_strong( nobody, __builtin_thread_pointer() );
}

// Puts a slab that has got a piece back where it belongs now.
[[gnu::cold, gnu::noinline]] void
Slabs::settle( Slab* slab, bool wasFull ) noexcept {
   bool const isCurrent = slab == classes_[ classOf( slab->bytes ) ].current;
   if ( wasFull && !isCurrent ) {
      join( classes_[ classOf( slab->bytes ) ].others, slab );
   }
   if ( slab->live != 0 ) {
      return;
   }
   std::size_t const arena = arenaOf( slab );
   if ( isCurrent ) {
      clear( *slab );
   } else {
      leave( *slab );
      unuse( slab );
   }
   vacate( arena );
}

// The slab of an arena that the lowest bit stands for.
Slabs::Slab*
Slabs::slabAt( std::size_t arena, std::uint32_t bits ) const noexcept {
   auto const index = static_cast< std::size_t >( std::countr_zero( bits ) );
   return static_cast< Slab* >( at( base_ + arena * arenaSize + index * slabSize ) );
}

std::size_t
Slabs::arenaOf( Slab* slab ) const noexcept {
   return ( reinterpret_cast< std::uintptr_t >( slab ) - base_ ) / arenaSize;
}

// A size keeps its current slab when that is empty. Where an arena beyond the first has no
// other slabs than such, they leave it.
void
Slabs::vacate( std::size_t arena ) noexcept {
   if ( arena == 0 || !arenas_[ arena ].hasMemory ) {
      return;
   }
   std::uint32_t const used = ~arenas_[ arena ].unused;
   for ( std::uint32_t left = used; left != 0; left &= left - 1 ) {
      if ( slabAt( arena, left )->live != 0 ) {
         return;
      }
   }
   for ( std::uint32_t left = used; left != 0; left &= left - 1 ) {
      Slab* const slab = slabAt( arena, left );
      classes_[ classOf( slab->bytes ) ].current = nullptr;
      unuse( slab );
   }
}

// Makes sure that the current slab of a size is not full.
bool
Slabs::fill( std::size_t index ) noexcept {
   takeReturned();
   Class& its = classes_[ index ];
   if ( its.current && !its.current->isFull() ) {
      return true;
   }
   Slab* slab = its.others;
   if ( slab ) {
      leave( *slab );
   } else {
      slab = newSlab();
      if ( !slab ) {
         return false;
      }
      std::size_t const bytes = index * grain;
      slab->bytes = static_cast< std::uint32_t >( bytes );
      slab->last = reinterpret_cast< char* >( slab ) + slabSize - bytes;
      slab->live = 0;
      clear( *slab );
   }
   its.current = slab;
   return true;
}

// Of a thread that is not the owner.
[[gnu::cold, gnu::noinline]] void
Slabs::putElsewhere( Free* piece ) noexcept {
   piece->next = returned_.load( std::memory_order_relaxed );
   while ( !returned_.compare_exchange_weak(
      piece->next, piece, std::memory_order_release, std::memory_order_relaxed ) ) {}
}

void
Slabs::takeReturned() noexcept {
   Free* piece = returned_.exchange( nullptr, std::memory_order_acquire );
   while ( piece ) {
      Free* const next = piece->next;
      put( slabOf( piece ), piece );
      piece = next;
   }
}

// One that serves no size, from the lowest arena that has one.
Slabs::Slab*
Slabs::newSlab() noexcept {
   std::size_t found = arenaCount_;
   std::size_t bare = end_;
   for ( std::size_t i = end_; i-- != 0; ) {
      if ( arenas_[ i ].unused != 0 ) {
         found = i;
      } else if ( !arenas_[ i ].hasMemory ) {
         bare = i;
      }
   }
   if ( found == arenaCount_ ) {
      if ( bare == arenaCount_ || !commit( bare ) ) {
         return nullptr;
      }
      found = bare;
   }
   std::uint32_t& unused = arenas_[ found ].unused;
   if ( unused == allSlabs ) {
      --empty_;
   }
   Slab* const slab = ::new ( slabAt( found, unused ) ) Slab;
   unused &= unused - 1;
   return slab;
}

void
Slabs::unuse( Slab* slab ) noexcept {
   std::size_t const offset = reinterpret_cast< std::uintptr_t >( slab ) % arenaSize;
   std::size_t const arena = arenaOf( slab );
   std::uint32_t& unused = arenas_[ arena ].unused;
   unused |= std::uint32_t( 1 ) << offset / slabSize;
   if ( unused == allSlabs && ++empty_ > spare_ ) {
      giveBack( arena );
   }
}

std::size_t
Slabs::bytes() const noexcept {
   std::size_t sum = 0;
   for ( std::size_t i = 0; i != end_; ++i ) {
      std::uint32_t const used = arenas_[ i ].hasMemory ? ~arenas_[ i ].unused : 0;
      for ( std::uint32_t left = used; left != 0; left &= left - 1 ) {
         Slab const* const slab = slabAt( i, left );
         sum += std::size_t( slab->live ) * slab->bytes;
      }
   }
   return sum;
}

bool
Slabs::reserve() noexcept {
   // One more, so that the first can begin where a large page does.
   std::size_t const size = room_ + arenaSize;
   void* const range = mapped( nullptr, size );
   if ( !range ) {
      return false;
   }
   auto const start = reinterpret_cast< std::uintptr_t >( range );
   std::uintptr_t const base = ( start + arenaSize - 1 ) & ~( arenaSize - 1 );
   munmap( range, base - start );
   munmap( at( base + room_ ), arenaSize - ( base - start ) );
   base_ = base;
   return true;
}

// Puts memory behind an arena. If it is refused, nobody asks again before another arena has been
// given back.
bool
Slabs::commit( std::size_t arena ) noexcept {
   if ( isRefused_ ) {
      return false;
   }
   isRefused_ = isLimited() || ( base_ == nowhere && !reserve() ) ||
      mprotect( at( base_ + arena * arenaSize ), arenaSize, PROT_READ | PROT_WRITE ) != 0;
   if ( isRefused_ ) {
      return false;
   }
   // A small process touches a few pages of the first arena, a large one all of the others.
   madvise(
      at( base_ + arena * arenaSize ),
      arenaSize,
      arena == 0 ? MADV_NOHUGEPAGE : MADV_HUGEPAGE );
   arenas_[ arena ] = { allSlabs, true };
   end_ = std::max( end_, arena + 1 );
   ++committed_;
   ++empty_;
   return true;
}

// It stays as it is where that is refused.
void
Slabs::giveBack( std::size_t arena ) noexcept {
   if ( mapped( at( base_ + arena * arenaSize ), arenaSize ) ) {
      arenas_[ arena ] = {};
      --committed_;
      --empty_;
      isRefused_ = false;
   }
}

void
Slabs::forked() noexcept {
   if ( owner_.load() && !isOwner() ) {
      isClosed_ = true;
      owner_ = nullptr;
   }
}

void
Slabs::unmap() noexcept {
   if ( base_ != nowhere ) {
      munmap( at( base_ ), room_ );
      base_ = nowhere;
   }
}

} // namespace Ryx
