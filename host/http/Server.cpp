// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Server>

#include <host/http/Connection>

#include <event2/event.h>
#include <event2/listener.h>
#include <event2/util.h>

#include <algorithm>
#include <unordered_map>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace ostra::http {

// A socket that listens, and the connections that came from there.
class Server::Listener {
 public:
   Listener( Site& site, ListeningSocket socket )
         : site_( site ),
           socket_( std::move( socket ) ),
           events_( evconnlistener_new(
              site.base, onConnection, this, 0, 0, socket_.descriptor() ) ),
           pause_( evtimer_new( site.base, onPauseOver, this ) ) {
      evconnlistener_set_error_cb( events_, onError );
      owner_.ended = [ this ]( Connection& connection ) {
         connections_.erase( &connection );
         site_.networkConnections -= socket_.isUnix() ? 0 : 1;
      };
   }

   ~Listener() {
      site_.networkConnections -= socket_.isUnix() ? 0 : connections_.size();
      connections_.clear();
      event_free( pause_ );
      evconnlistener_free( events_ );
   }
   Listener( Listener const& ) = delete;
   Listener& operator=( Listener const& ) = delete;

   std::size_t connections() const noexcept { return connections_.size(); }

 private:
   // How many connections beyond the limit are told so. Any further one waits in the queue.
   static constexpr std::ptrdiff_t turnedAway = 64;

   static void onConnection( evconnlistener*, int descriptor, sockaddr*, int, void* self ) {
      static_cast< Listener* >( self )->take( descriptor );
   }

   // No descriptor or no memory is left: they come again when connections end.
   static void onError( evconnlistener*, void* self ) {
      static_cast< Listener* >( self )->pause();
   }
   static void onPauseOver( int, short, void* self ) {
      evconnlistener_enable( static_cast< Listener* >( self )->events_ );
   }

   void pause() {
      timeval const moment{ 0, 20000 };
      evconnlistener_disable( events_ );
      evtimer_add( pause_, &moment );
   }

   void take( int descriptor ) {
      evutil_make_socket_closeonexec( descriptor );
      if ( !socket_.isUnix() ) {
         int const on = 1;
         setsockopt( descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on );
      }
      bool const isFull = room() <= 0;
      auto const connection =
         std::make_shared< Connection >( site_, owner_, descriptor, socket_.isUnix() );
      connections_.emplace( connection.get(), connection );
      site_.networkConnections += socket_.isUnix() ? 0 : 1;
      if ( isFull ) {
         connection->turnAway( { 503, "connections", "too many", "another try later" } );
      } else {
         connection->start();
      }
      if ( room() <= -turnedAway ) {
         pause();
      }
   }

   // How many connections it may still take.
   std::ptrdiff_t room() const noexcept {
      Limits const& limits = site_.limits;
      auto const left = []( std::size_t most, std::size_t now ) {
         return static_cast< std::ptrdiff_t >( most ) -
            static_cast< std::ptrdiff_t >( now );
      };
      std::ptrdiff_t const own = left( limits.connections, connections_.size() );
      return socket_.isUnix()
         ? own
         : std::min( own, left( limits.networkConnections, site_.networkConnections ) );
   }

   Site& site_;
   ListeningSocket socket_;
   Connection::Owner owner_;
   std::unordered_map< Connection*, std::shared_ptr< Connection > > connections_;
   evconnlistener* events_;
   event* pause_;
};

Server::Server( event_base* base, Limits const& limits ) : site_{ base, limits, {}, {} } {}

Server::~Server() = default;

void
Server::listen( ListeningSocket socket ) {
   listeners_.push_back( std::make_unique< Listener >( site_, std::move( socket ) ) );
}

std::size_t
Server::connections() const noexcept {
   std::size_t sum = 0;
   for ( auto const& listener : listeners_ ) {
      sum += listener->connections();
   }
   return sum;
}

} // namespace ostra::http
