// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Connection>

#include <event2/buffer.h>
#include <event2/bufferevent.h>
#include <event2/event.h>

#include <netdb.h>
#include <sys/socket.h>

namespace ostra::http {

namespace {

// As much as the system takes at once: an answer that goes in parts takes a turn for each.
constexpr std::size_t longestWrite = 1U << 20;

timeval
timevalOf( std::chrono::milliseconds time ) {
   auto const count = time.count();
   return { static_cast< time_t >( count / 1000 ),
            static_cast< suseconds_t >( count % 1000 * 1000 ) };
}

// The address that the client has connected to; empty when there is none.
std::string
localAddressOf( int descriptor ) {
   sockaddr_storage storage{};
   socklen_t length = sizeof storage;
   auto* const address = reinterpret_cast< sockaddr* >( &storage );
   char text[ NI_MAXHOST ] = "";
   if (
      getsockname( descriptor, address, &length ) != 0 ||
      getnameinfo( address, length, text, sizeof text, nullptr, 0, NI_NUMERICHOST ) != 0 ) {
      return {};
   }
   std::string_view local = text;
   // One of version 4 at a socket of version 6.
   constexpr std::string_view mapped = "::ffff:";
   if ( local.starts_with( mapped ) && local.find( '.' ) != local.npos ) {
      local.remove_prefix( mapped.size() );
   }
   // Without the interface of a link-local one.
   return std::string( local.substr( 0, local.find( '%' ) ) );
}

} // namespace

Connection::Connection( Site& site, Owner& owner, int descriptor, bool isUnix )
      : site_( site ),
        owner_( owner ),
        events_( bufferevent_socket_new( site.base, descriptor, BEV_OPT_CLOSE_ON_FREE ) ),
        deadline_( evtimer_new( site.base, onDeadline, this ) ),
        again_( evtimer_new( site.base, onAgain, this ) ),
        parser_( std::make_unique< RequestParser >( site.limits ) ),
        localAddress_( isUnix ? std::string() : localAddressOf( descriptor ) ),
        isUnix_( isUnix ) {
   bufferevent_set_max_single_write( events_, longestWrite );
   evbuffer_add_cb( bufferevent_get_output( events_ ), onOutput, this );
   bufferevent_setcb( events_, onRead, onWritten, onEvent, this );
   // What the server has no room to read yet stays with the client.
   bufferevent_setwatermark( events_, EV_READ, 0, site.limits.queue );
   bufferevent_setwatermark( events_, EV_WRITE, site.limits.queue / 2, 0 );
   timeval const sendTime = timevalOf( site.limits.sendTime );
   bufferevent_set_timeouts( events_, nullptr, &sendTime );
}

Connection::~Connection() {
   releaseBody();
   owner_.streams -= next_ ? 1 : 0;
   event_free( deadline_ );
   event_free( again_ );
   evbuffer_remove_cb( bufferevent_get_output( events_ ), onOutput, this );
   site_.output -= countedOutput_;
   bufferevent_free( events_ );
}

void
Connection::start() {
   deadlineIs( site_.limits.headTime );
   bufferevent_enable( events_, EV_READ | EV_WRITE );
}

void
Connection::turnAway( Problem const& problem ) {
   bufferevent_enable( events_, EV_READ | EV_WRITE );
   refuse( problem );
}

void
Connection::onRead( bufferevent*, void* self ) {
   auto const connection = static_cast< Connection* >( self )->shared_from_this();
   connection->proceed();
}

void
Connection::onWritten( bufferevent*, void* self ) {
   auto const connection = static_cast< Connection* >( self )->shared_from_this();
   if ( connection->state_ == State::streaming ) {
      connection->pump();
   } else if ( connection->state_ == State::ending ) {
      connection->endWhenSent();
   } else {
      connection->proceed();
   }
}

void
Connection::onEvent( bufferevent*, short what, void* self ) {
   auto const connection = static_cast< Connection* >( self )->shared_from_this();
   if ( ( what & BEV_EVENT_EOF ) == 0 ) {
      connection->end();
      return;
   }
   connection->isInputOver_ = true;
   switch ( connection->state_ ) {
   case State::streaming:
   case State::lingering:
      connection->end();
      break;
   default:
      if ( connection->gone_ ) {
         connection->abandon();
      } else {
         connection->proceed();
      }
      break;
   }
}

void
Connection::onOutput( evbuffer*, evbuffer_cb_info const*, void* self ) {
   static_cast< Connection* >( self )->countOutput();
}

void
Connection::onDeadline( int, short, void* self ) {
   auto const connection = static_cast< Connection* >( self )->shared_from_this();
   connection->passDeadline();
}

void
Connection::passDeadline() {
   switch ( state_ ) {
   case State::reading:
      if ( parser_->hasBegun() ) {
         refuse( { 408, "request", "a part", "all of it in time" } );
      } else {
         end();
      }
      break;
   case State::streaming:
      sendPiece( heartbeat_ );
      deadlineIs( site_.limits.heartbeat );
      break;
   default:
      end();
      break;
   }
}

bool
Connection::hasInput() const {
   return evbuffer_get_length( bufferevent_get_input( events_ ) ) != 0;
}

void
Connection::deadlineIs( std::chrono::milliseconds time ) {
   timeval const after = timevalOf( time );
   evtimer_add( deadline_, &after );
}

void
Connection::refuse( Problem const& problem ) {
   isPersistent_ = false;
   state_ = State::handling;
   answer( problemResponse( problem ) );
}

void
Connection::goneIs( std::function< void() > gone ) {
   if ( state_ == State::handling ) {
      gone_ = std::move( gone );
      if ( isInputOver_ ) {
         abandon();
      }
   }
}

void
Connection::abandon() {
   if ( auto const gone = std::exchange( gone_, nullptr ) ) {
      gone();
   }
   endWhenSent();
}

void
Connection::endWhenSent() {
   state_ = State::ending;
   bufferevent_setwatermark( events_, EV_WRITE, 0, 0 );
   if ( waiting() == 0 ) {
      linger();
   }
}

void
Connection::linger() {
   if ( isInputOver_ ) {
      end();
      return;
   }
   // Closing the socket while input is unread would make the client lose the answer.
   state_ = State::lingering;
   shutdown( bufferevent_getfd( events_ ), SHUT_WR );
   deadlineIs( site_.limits.lingerTime );
}

void
Connection::end() {
   if ( state_ != State::over ) {
      state_ = State::over;
      bufferevent_disable( events_, EV_READ | EV_WRITE );
      bufferevent_setcb( events_, nullptr, nullptr, nullptr, nullptr );
      evtimer_del( deadline_ );
      evtimer_del( again_ );
      if ( auto const gone = std::exchange( gone_, nullptr ) ) {
         gone();
      }
      owner_.ended( *this );
   }
}

} // namespace ostra::http
