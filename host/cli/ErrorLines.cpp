// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/ErrorLines>

#include <host/base/Failure>

#include <fmt/format.h>

#include <climits>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace ostra {

bool
ErrorLines::isTaken() const noexcept {
   pollfd ready{ descriptor_, POLLOUT, 0 };
   return poll( &ready, 1, 0 ) > 0;
}

void
ErrorLines::put( std::string const& line ) const {
   // A pipe that takes anything takes that much at once.
   std::string text = oneLine( "ostra: " + line ).substr( 0, PIPE_BUF - 1 );
   text += '\n';
   // There is nobody to tell that it failed.
   static_cast< void >( !::write( descriptor_, text.data(), text.size() ) );
}

void
ErrorLines::say( std::string const& line ) {
   if ( leftOut_ != 0 && isTaken() ) {
      put( fmt::format(
         "{} lines were left out, because nobody took them",
         std::exchange( leftOut_, 0 ) ) );
   }
   if ( isTaken() ) {
      put( line );
   } else {
      ++leftOut_;
   }
}

} // namespace ostra
