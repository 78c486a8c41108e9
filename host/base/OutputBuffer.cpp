// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/OutputBuffer>

#include <host/base/EndSignals>

#include <algorithm>
#include <cerrno>
#include <climits>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace ostra {

namespace {

// For a reader that takes nothing after a signal has ended the run, in milliseconds.
constexpr int patience = 3000;

} // namespace

OutputBuffer::OutputBuffer( int descriptor ) noexcept
      : descriptor_( descriptor ), signals_( toRead( endSignals() ) ) {
   setp( buffer_.data(), buffer_.data() + buffer_.size() );
}

OutputBuffer::~OutputBuffer() {
   close( signals_ );
}

OutputBuffer::int_type
OutputBuffer::overflow( int_type c ) {
   if ( sync() != 0 ) {
      return traits_type::eof();
   }
   return traits_type::eq_int_type( c, traits_type::eof() )
      ? traits_type::not_eof( c )
      : sputc( traits_type::to_char_type( c ) );
}

bool
OutputBuffer::isTaken() noexcept {
   pollfd ready[] = { { descriptor_, POLLOUT, 0 }, { signals_, POLLIN, 0 } };
   int count = 0;
   do {
      count = poll( ready, std::size( ready ), isEndWanted() ? patience : -1 );
   } while ( count < 0 && errno == EINTR );
   if ( count == 0 ) {
      return false;
   }
   if ( ready[ 0 ].revents != 0 || ready[ 1 ].revents == 0 ) {
      return true;
   }
   // The signal has done what it was sent for.
   signalfd_siginfo signal;
   return ::read( signals_, &signal, sizeof signal ) < 0;
}

int
OutputBuffer::sync() {
   char const* next = pbase();
   while ( next != pptr() && error_ == 0 ) {
      if ( !isTaken() ) {
         error_ = EINTR;
         break;
      }
      // A pipe that takes anything takes that much at once.
      auto const size = std::min< std::ptrdiff_t >( pptr() - next, PIPE_BUF );
      ssize_t const octets =
         ::write( descriptor_, next, static_cast< std::size_t >( size ) );
      if ( octets >= 0 ) {
         next += octets;
      } else if ( errno != EINTR ) {
         error_ = errno;
      }
   }
   setp( buffer_.data(), buffer_.data() + buffer_.size() );
   return error_ == 0 ? 0 : -1;
}

} // namespace ostra
