// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/EndSignals>

#include <atomic>
#include <initializer_list>

#include <sys/signalfd.h>

namespace ostra {

namespace {

std::atomic< bool > isWanted = false;

} // namespace

sigset_t
endSignals() noexcept {
   sigset_t signals;
   sigemptyset( &signals );
   for ( int const signal : { SIGINT, SIGTERM, SIGHUP } ) {
      struct sigaction action {};
      sigaction( signal, nullptr, &action );
      if ( action.sa_handler != SIG_IGN ) {
         sigaddset( &signals, signal );
      }
   }
   return signals;
}

bool
isEndWanted() noexcept {
   return isWanted;
}

void
isEndWantedIs( bool is ) noexcept {
   isWanted = is;
}

int
toRead( sigset_t const& signals ) noexcept {
   return signalfd( -1, &signals, SFD_CLOEXEC );
}

} // namespace ostra
