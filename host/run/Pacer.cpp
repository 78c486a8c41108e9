// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/Pacer>

#include <host/base/EndSignals>

#include <algorithm>

#include <poll.h>
#include <time.h>
#include <unistd.h>

namespace ostra {

using std::chrono::floor;
using std::chrono::nanoseconds;

MachineTime::MachineTime( int output )
      : output_( output ), signals_( endSignals() ), signalsToRead_( toRead( signals_ ) ) {
   isEndWantedIs( false );
   sigprocmask( SIG_BLOCK, &signals_, &before_ );
}

MachineTime::~MachineTime() {
   sigprocmask( SIG_SETMASK, &before_, nullptr );
   close( signalsToRead_ );
}

nanoseconds
MachineTime::now() {
   return std::chrono::steady_clock::now().time_since_epoch();
}

bool
MachineTime::isInterrupted( nanoseconds wait ) {
   auto const seconds = floor< std::chrono::seconds >( wait );
   timespec const timeout{ .tv_sec = seconds.count(),
                           .tv_nsec = ( wait - seconds ).count() };
   // Of the output, only that nobody reads it any more (POLLERR).
   pollfd ready[] = { { output_, 0, 0 }, { signalsToRead_, POLLIN, 0 } };
   if ( ppoll( ready, std::size( ready ), &timeout, nullptr ) <= 0 ) {
      return false;
   }
   // The signal, if it is one, has done what it was sent for.
   timespec const now{};
   isEndWantedIs( sigtimedwait( &signals_, nullptr, &now ) > 0 );
   return true;
}

Milliseconds
RealPacer::waitUntil( Milliseconds instant ) {
   // A longer wait is made of several, so that nanoseconds can hold each.
   constexpr std::chrono::hours longest( 24 );
   for ( ;; ) {
      nanoseconds const now = elapsed();
      bool const isLast = instant - floor< Milliseconds >( now ) <= longest;
      nanoseconds const wait = isLast ? instant - now : nanoseconds( longest );
      if ( time_.isInterrupted( std::max( wait, nanoseconds( 0 ) ) ) ) {
         return std::min( instant, floor< Milliseconds >( elapsed() ) );
      }
      if ( isLast && elapsed() >= instant ) {
         return instant;
      }
   }
}

} // namespace ostra
