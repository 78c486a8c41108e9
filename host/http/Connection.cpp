// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Connection>

#include <fmt/format.h>

#include <event2/buffer.h>
#include <event2/bufferevent.h>
#include <event2/event.h>

#include <sys/socket.h>

namespace ostra::http {

namespace {

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

} // namespace

Connection::Connection( Site& site, Owner& owner, int descriptor, bool isUnix )
      : site_( site ),
        owner_( owner ),
        events_( bufferevent_socket_new( site.base, descriptor, BEV_OPT_CLOSE_ON_FREE ) ),
        deadline_( evtimer_new( site.base, onDeadline, this ) ),
        parser_( std::make_unique< RequestParser >( site.limits ) ),
        isUnix_( isUnix ) {
   bufferevent_setcb( events_, onRead, onWritten, onEvent, this );
   // What is not looked at yet stays with the client.
   bufferevent_setwatermark( events_, EV_READ, 0, site.limits.queue );
   bufferevent_setwatermark( events_, EV_WRITE, site.limits.queue / 2, 0 );
   timeval const sendTime = timevalOf( site.limits.sendTime );
   bufferevent_set_timeouts( events_, nullptr, &sendTime );
}

Connection::~Connection() {
   releaseBody();
   owner_.streams -= next_ ? 1 : 0;
   event_free( deadline_ );
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
      connection->proceed();
      break;
   }
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
Connection::proceed() {
   if ( isProceeding_ ) {
      return;
   }
   isProceeding_ = true;
   while ( state_ == State::reading && hasInput() && waiting() < site_.limits.queue ) {
      readRequest();
   }
   isProceeding_ = false;
   evbuffer* const input = bufferevent_get_input( events_ );
   if ( state_ == State::ending || state_ == State::lingering ) {
      evbuffer_drain( input, evbuffer_get_length( input ) );
   } else if ( state_ == State::reading && isInputOver_ && !hasInput() ) {
      endInput();
   }
}

void
Connection::endInput() {
   if ( parser_->hasBegun() ) {
      refuse( { 400, "request", "a part", "all of it" } );
   } else {
      endWhenSent();
   }
}

void
Connection::readRequest() {
   bool const hadBegun = parser_->hasBegun();
   evbuffer* const input = bufferevent_get_input( events_ );
   std::size_t const size = evbuffer_get_contiguous_space( input );
   auto const* const octets = reinterpret_cast< char const* >(
      evbuffer_pullup( input, static_cast< ev_ssize_t >( size ) ) );
   std::string_view text( octets, size );
   auto const progress = parser_->take( text );
   evbuffer_drain( input, size - text.size() );
   countBody();
   if ( state_ != State::reading ) {
      return;
   }
   if ( !hadBegun && parser_->hasBegun() ) {
      deadlineIs( site_.limits.headTime );
   }
   switch ( progress ) {
   case RequestParser::Progress::more:
      break;
   case RequestParser::Progress::head:
      acceptHead();
      break;
   case RequestParser::Progress::complete:
      handleRequest();
      break;
   case RequestParser::Progress::refused:
      isHead_ = false;
      refuse( parser_->problem() );
      break;
   }
}

void
Connection::countBody() {
   std::size_t const size = parser_->request().body.size();
   site_.bodies += size - countedBody_;
   countedBody_ = size;
   if ( site_.bodies > site_.limits.allBodies && state_ == State::reading ) {
      refuse( { 503, "body", "too many at a time", "another try later" } );
   }
}

void
Connection::releaseBody() {
   site_.bodies -= countedBody_;
   countedBody_ = 0;
}

void
Connection::acceptHead() {
   Request& request = parser_->request();
   request.isFromSocket = isUnix_;
   isHead_ = request.method == "HEAD";
   hasChunks_ = request.hasChunks;
   if ( auto const problem = site_.router.find( request, true, site_.guard, route_ ) ) {
      refuse( *problem );
      return;
   }
   deadlineIs( site_.limits.bodyTime );
   if ( parser_->waitsToContinue() ) {
      write( "HTTP/1.1 100 Continue\r\n\r\n" );
   }
}

void
Connection::handleRequest() {
   // The parser goes when it is answered.
   Request request = std::move( parser_->request() );
   evtimer_del( deadline_ );
   request.isFromSocket = isUnix_;
   isHead_ = request.method == "HEAD";
   hasChunks_ = request.hasChunks;
   isPersistent_ = request.isPersistent;
   if ( !route_ ) {
      if ( auto const problem = site_.router.find( request, false, site_.guard, route_ ) ) {
         state_ = State::handling;
         answer( problemResponse( *problem ) );
         return;
      }
   }
   state_ = State::handling;
   Reply const reply( weak_from_this() );
   try {
      route_->handler( request, reply );
   } catch ( std::exception const& error ) {
      if ( site_.complain ) {
         site_.complain(
            fmt::format( "{} {}: {}", request.method, request.target, error.what() ) );
      }
      reply.send( Problem{ 500, "server", error.what(), "no failure" } );
   }
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
      // The time that it takes is that of each write.
      evtimer_del( deadline_ );
      endWhenSent();
      return;
   }
   state_ = State::reading;
   parser_ = std::make_unique< RequestParser >( site_.limits );
   route_ = nullptr;
   deadlineIs( site_.limits.idleTime );
   proceed();
}

void
Connection::answer( Stream stream ) {
   if ( state_ != State::handling ) {
      return;
   }
   auto const self = shared_from_this();
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
   if ( isInputOver_ ) {
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
Connection::pump() {
   auto const self = shared_from_this();
   while ( state_ == State::streaming && waiting() < site_.limits.queue ) {
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
   // To close it while something unread waits would take the answer from the client.
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
      owner_.ended( *this );
   }
}

} // namespace ostra::http
