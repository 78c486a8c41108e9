// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Pacer>

#include <algorithm>

#include <time.h>

namespace ostra {

RealPacer::RealPacer() {
   sigemptyset( &signals_ );
   sigaddset( &signals_, SIGINT );
   sigaddset( &signals_, SIGTERM );
   sigprocmask( SIG_BLOCK, &signals_, &before_ );
}

RealPacer::~RealPacer() {
   sigprocmask( SIG_SETMASK, &before_, nullptr );
}

Milliseconds
RealPacer::waitUntil( Milliseconds moment ) {
   using std::chrono::milliseconds;
   using std::chrono::nanoseconds;
   // A longer wait is made of several, so that nanoseconds can hold each.
   constexpr Milliseconds longest = 24LL * 3600 * 1000;
   for ( ;; ) {
      nanoseconds const now = Clock::now() - begin_;
      Milliseconds const elapsed = std::chrono::floor< milliseconds >( now ).count();
      bool const isLast = moment - elapsed <= longest;
      nanoseconds const wait =
         isLast ? milliseconds( moment ) - now : nanoseconds( milliseconds( longest ) );
      if ( isInterrupted( std::max( wait, nanoseconds( 0 ) ) ) ) {
         nanoseconds const then = Clock::now() - begin_;
         return std::min< Milliseconds >(
            moment, std::chrono::floor< milliseconds >( then ).count() );
      }
      if ( isLast && Clock::now() - begin_ >= milliseconds( moment ) ) {
         return moment;
      }
   }
}

bool
RealPacer::isInterrupted( std::chrono::nanoseconds wait ) const {
   auto const seconds = std::chrono::floor< std::chrono::seconds >( wait );
   timespec const timeout{ .tv_sec = seconds.count(),
                           .tv_nsec = ( wait - seconds ).count() };
   return sigtimedwait( &signals_, nullptr, &timeout ) > 0;
}

} // namespace ostra
