// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <Ryx/RefusedUnit>

#include <new>

namespace Ryx {

namespace {

RefusedUnit* lastRefused = nullptr;

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
RefusedUnit::refuse() noexcept {
   reason_ = std::current_exception();
   before_ = lastRefused;
   lastRefused = this;
}

} // namespace Ryx
