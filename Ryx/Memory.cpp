// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/Memory>

#include <Ryx/Slabs>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string_view>

#include <dlfcn.h>
#include <pthread.h>

namespace Ryx {

namespace {

constinit Slabs slabs;

// The library that has a function; null where that is not known.
template< class Function >
void*
libraryOf( Function* function ) noexcept {
   Dl_info info{};
   return dladdr( reinterpret_cast< void* >( function ), &info ) ? info.dli_fbase : nullptr;
}

// Whether nobody has replaced operator new: it is where another function of the standard
// library is.
bool
isStandardNew() noexcept {
   void* const library =
      libraryOf( static_cast< void* (*)( std::size_t ) >( &::operator new ) );
   return library && library == libraryOf( &std::get_new_handler );
}

bool
areSlabsWanted() noexcept {
   char const* const setting = std::getenv( "RYX_SLABS" );
   std::string_view const text = setting ? setting : "";
   return text == "1" || ( text != "0" && isStandardNew() );
}

enum class Use : unsigned char { undecided, off, on };

constinit std::atomic< Use > slabsUse = Use::undecided;

// Two threads that decide at a time decide the same.
[[gnu::cold, gnu::noinline]] Use
decidedUse() noexcept {
   static Use const decided = [] {
      bool const isOn = areSlabsWanted() &&
         pthread_atfork( nullptr, nullptr, [] { slabs.forked(); } ) == 0;
      return isOn ? Use::on : Use::off;
   }();
   slabsUse.store( decided, std::memory_order_relaxed );
   return decided;
}

inline bool
areSlabsUsed() noexcept {
   Use use = slabsUse.load( std::memory_order_relaxed );
   if ( use == Use::undecided ) [[unlikely]] {
      use = decidedUse();
   }
   return use == Use::on;
}

[[gnu::noinline]] void*
newObjectFromAnywhere( std::size_t size ) {
   void* const piece = areSlabsUsed() ? slabs.take( size ) : nullptr;
   return piece ? piece : ::operator new( size );
}

// Where slabs are not used nothing is ever ready.
inline void*
newObject( std::size_t size ) {
   void* const piece = slabs.takeReady( size );
   return piece ? piece : newObjectFromAnywhere( size );
}

inline void
deleteObject( void* memory, std::size_t size ) noexcept {
   if ( !slabs.give( memory ) ) {
      ::operator delete( memory, size );
   }
}

} // namespace

Slabs*
objectSlabs() noexcept {
   return areSlabsUsed() ? &slabs : nullptr;
}

void*
VFPtrInterface::operator new( std::size_t size ) {
   return newObject( size );
}

void
VFPtrInterface::operator delete( void* memory, std::size_t size ) noexcept {
   deleteObject( memory, size );
}

void*
RyxMemPool::operator new( std::size_t size ) {
   return newObject( size );
}

void
RyxMemPool::operator delete( void* memory, std::size_t size ) noexcept {
   deleteObject( memory, size );
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
