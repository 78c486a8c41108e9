// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Notify>

#include <host/base/Environment>

#include <fmt/format.h>

#include <charconv>
#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

namespace ostra {

namespace {

// Connected to the socket of that name, a file's or an abstract one; -1 for none.
int
connected( std::string const& name ) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if ( name.empty() || name.size() >= sizeof address.sun_path ) {
      return -1;
   }
   std::memcpy( address.sun_path, name.data(), name.size() );
   if ( name.front() == '@' ) {
      address.sun_path[ 0 ] = '\0';
   }
   int const socket = ::socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0 );
   auto const length =
      static_cast< socklen_t >( offsetof( sockaddr_un, sun_path ) + name.size() );
   if (
      socket >= 0 &&
      connect( socket, reinterpret_cast< sockaddr const* >( &address ), length ) != 0 ) {
      close( socket );
      return -1;
   }
   return socket;
}

long long
microseconds() {
   timespec now{};
   clock_gettime( CLOCK_MONOTONIC, &now );
   return now.tv_sec * 1'000'000LL + now.tv_nsec / 1000;
}

} // namespace

Notify::Surroundings
Notify::Surroundings::current() {
   std::string_view const process = environment( "WATCHDOG_PID" );
   bool const isOurs = process.empty() || process == std::to_string( getpid() );
   return { std::string( environment( "NOTIFY_SOCKET" ) ),
            std::string( isOurs ? environment( "WATCHDOG_USEC" ) : "" ) };
}

Notify::Notify( Surroundings const& surroundings )
      : socket_( connected( surroundings.socket ) ) {
   std::string const& text = surroundings.watchdog;
   long long length = 0;
   std::from_chars( text.data(), text.data() + text.size(), length );
   if ( socket_ >= 0 && length > 0 ) {
      // Twice as often as it has to be.
      interval_ = static_cast< double >( length ) / 2e6;
   }
}

Notify::~Notify() {
   if ( socket_ >= 0 ) {
      close( socket_ );
   }
}

void
Notify::send( std::string const& message ) const {
   if ( socket_ >= 0 ) {
      // If nobody listens, there is nobody to tell.
      static_cast< void >(
         ::send( socket_, message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL ) );
   }
}

void
Notify::ready( std::string_view status ) {
   send( fmt::format( "READY=1\nSTATUS={}", status ) );
   endTurn();
}

void
Notify::reloading() {
   send( fmt::format( "RELOADING=1\nMONOTONIC_USEC={}", microseconds() ) );
}

void
Notify::stopping() {
   send( "STOPPING=1" );
}

void
Notify::endTurn() {
   if ( interval_ && Ryx::now() >= next_ ) {
      send( "WATCHDOG=1" );
      next_ = Ryx::now() + *interval_;
      wakeUp_.timeIs( next_ );
   }
}

} // namespace ostra
