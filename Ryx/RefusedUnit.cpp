// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/RefusedUnit>

#include <Ryx/Log>

#include <ios>
#include <new>

#include <dlfcn.h>

namespace Ryx {

namespace {

RefusedUnit* lastRefused = nullptr;
unsigned inquiries = 0;

// The file that an object of static storage came from.
String8
fileOf( void const* object ) {
   Dl_info info;
   return dladdr( object, &info ) ? info.dli_fname : "a library";
}

} // namespace

RefusedUnit::~RefusedUnit() {
   if ( !isRefused() ) {
      return;
   }
   RefusedUnit** link = &lastRefused;
   while ( *link != this ) {
      link = &( *link )->before_;
   }
   *link = before_;
}

RefusedUnit const*
RefusedUnit::last() noexcept {
   return lastRefused;
}

String8
RefusedUnit::reason() const {
   if ( !isRefused() ) {
      return {};
   }
   try {
      std::rethrow_exception( reason_ );
   } catch ( std::bad_alloc const& ) {
      return "out of memory";
   } catch ( std::exception const& error ) {
      return error.what();
   }
}

void
RefusedUnit::refuse( char const* name ) noexcept {
   reason_ = std::current_exception();
   before_ = lastRefused;
   lastRefused = this;
   if ( inquiries > 0 ) {
      return;
   }
   try {
      log( name );
   } catch ( ... ) {
      // The reason is kept all the same.
      return;
   }
}

void
RefusedUnit::log( char const* name ) const {
   // Units are registered before other static objects are made: streams and messages, too.
   static std::ios_base::Init const streams;
   static LogHandle handle(
      "RYX_UNIT_REFUSED",
      LogSeverity::emergency,
      "%s: the types of its unit \"%s\" are not registered: %s",
      "Two libraries of this process describe a type differently. The types of the unit "
      "that "
      "came second cannot be made or reached by name",
      "Build both libraries from the same version of the type and start the process again",
      0.0,
      1.0,
      0 );
   Ryx::log( handle, fileOf( this ), String8( name ), reason() );
}

RefusedUnit::Inquiry::Inquiry() noexcept {
   ++inquiries;
}

RefusedUnit::Inquiry::~Inquiry() {
   --inquiries;
}

} // namespace Ryx
