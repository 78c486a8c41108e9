// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Connection>

#include <fmt/format.h>

#include <event2/buffer.h>
#include <event2/bufferevent.h>
#include <event2/event.h>

#include <netdb.h>
#include <sys/socket.h>

namespace ostra::http {

namespace {

// In octets. Up to there an answer is bounded by the number of connections, and is what tells
// a client that its change has been made.
constexpr std::size_t smallAnswer = 4096;
// As much as the system takes at once: an answer that goes in parts takes a turn for each.
constexpr std::size_t longestWrite = 1U << 20;

timeval
timevalOf( std::chrono::milliseconds time ) {
   auto const count = time.count();
   return { static_cast< time_t >( count / 1000 ),
            static_cast< suseconds_t >( count % 1000 * 1000 ) };
}

// The buffer keeps the body for as long as it needs it.
void
releaseReference( void const*, std::size_t, void* body ) {
   delete static_cast< Body* >( body );
}

void
addBody( evbuffer* output, Body const& body ) {
   auto holder = std::make_unique< Body >( body );
   if (
      evbuffer_add_reference(
         output, body->data(), body->size(), releaseReference, holder.get() ) == 0 ) {
      static_cast< void >( holder.release() );
   }
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
   site_.output -= waiting();
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
Connection::onOutput( evbuffer*, evbuffer_cb_info const* change, void* self ) {
   static_cast< Connection* >( self )->site_.output += change->n_added - change->n_deleted;
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
Connection::hasRoom( std::size_t octets ) const {
   std::size_t const most = site_.limits.allOutput;
   return site_.output + octets <= ( isUnix_ ? most : most / 2 );
}

std::size_t
Connection::waiting() const {
   return evbuffer_get_length( bufferevent_get_output( events_ ) );
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
Connection::write( std::string_view text ) {
   bufferevent_write( events_, text.data(), text.size() );
}

void
Connection::send( Response const& response, std::optional< std::size_t > length ) {
   std::string head = headText( response, length, hasChunks_ );
   if ( !isPersistent_ ) {
      head += "Connection: close\r\n";
   } else if ( !hasChunks_ ) {
      head += "Connection: keep-alive\r\n";
   }
   head += "\r\n";
   write( head );
}

void
Connection::answer( Response response ) {
   if ( state_ != State::handling ) {
      return;
   }
   auto const self = shared_from_this();
   bool const isLarge = response.body && !isHead_ && response.body->size() > smallAnswer;
   if ( isLarge && !hasRoom( response.body->size() ) ) {
      isPersistent_ = false;
      response = problemResponse(
         { 503, "answers", "too many that nobody has taken", "another try later" } );
   }
   gone_ = nullptr;
   send( response, response.body ? response.body->size() : 0 );
   if ( response.body && !response.body->empty() && !isHead_ ) {
      addBody( bufferevent_get_output( events_ ), response.body );
   }
   finishAnswer();
}

void
Connection::finishAnswer() {
   releaseBody();
   if ( !isPersistent_ ) {
      state_ = State::ending;
      // From here on the time limit is that of each write.
      evtimer_del( deadline_ );
      endWhenSent();
      return;
   }
   state_ = State::reading;
   parser_ = std::make_unique< RequestParser >( site_.limits );
   route_ = nullptr;
   deadlineIs( site_.limits.idleTime );
   if ( !isProceeding_ && ( hasInput() || isInputOver_ ) ) {
      proceedLater();
   }
}

void
Connection::answer( Stream stream ) {
   if ( state_ != State::handling ) {
      return;
   }
   auto const self = shared_from_this();
   gone_ = nullptr;
   if ( owner_.streams >= site_.limits.streams ) {
      refuse( { 503, "connections", "too many streams", "another try later" } );
      return;
   }
   isPersistent_ = isPersistent_ && hasChunks_;
   send( stream.head, std::nullopt );
   if ( isHead_ ) {
      finishAnswer();
      return;
   }
   state_ = State::streaming;
   ++owner_.streams;
   next_ = std::move( stream.next );
   heartbeat_ = std::move( stream.heartbeat );
   if ( !heartbeat_.empty() ) {
      deadlineIs( site_.limits.heartbeat );
   }
   pump();
   if ( isInputOver_ && state_ == State::streaming ) {
      end();
   }
}

void
Connection::wake() {
   if ( state_ == State::streaming ) {
      pump();
   }
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
Connection::pump() {
   auto const self = shared_from_this();
   while ( state_ == State::streaming && waiting() < site_.limits.queue &&
           ( waiting() == 0 || hasRoom( 0 ) ) ) {
      auto const piece = next_();
      if ( piece && piece->empty() ) {
         return;
      }
      if ( piece ) {
         sendPiece( *piece );
         if ( !heartbeat_.empty() ) {
            deadlineIs( site_.limits.heartbeat );
         }
         continue;
      }
      if ( hasChunks_ ) {
         write( "0\r\n\r\n" );
      }
      next_ = nullptr;
      --owner_.streams;
      evtimer_del( deadline_ );
      finishAnswer();
   }
}

void
Connection::sendPiece( std::string const& piece ) {
   if ( waiting() >= site_.limits.queue ) {
      return;
   }
   if ( hasChunks_ ) {
      write( fmt::format( "{:x}\r\n", piece.size() ) );
   }
   write( piece );
   if ( hasChunks_ ) {
      write( "\r\n" );
   }
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
