// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a client sends: requests, which are checked and handled.

#include <host/http/Connection>

#include <fmt/format.h>

#include <event2/buffer.h>
#include <event2/bufferevent.h>
#include <event2/event.h>

namespace ostra::http {

namespace {

// Of one connection, before others get their turn.
constexpr unsigned requestsAtOnce = 4;

} // namespace

void
Connection::proceed() {
   if ( isProceeding_ ) {
      return;
   }
   isProceeding_ = true;
   handled_ = 0;
   auto const isToDo = [ this ] {
      return state_ == State::reading && hasInput() && waiting() < site_.limits.queue;
   };
   while ( isToDo() && handled_ < requestsAtOnce ) {
      readRequest();
   }
   isProceeding_ = false;
   if ( isToDo() ) {
      proceedLater();
   }
   evbuffer* const input = bufferevent_get_input( events_ );
   if ( state_ == State::ending || state_ == State::lingering ) {
      evbuffer_drain( input, evbuffer_get_length( input ) );
   } else if ( state_ == State::reading && isInputOver_ && !hasInput() ) {
      endInput();
   }
}

// In another turn of the loop: not before the others have had theirs.
void
Connection::proceedLater() {
   timeval const atOnce{ 0, 0 };
   evtimer_add( again_, &atOnce );
}

void
Connection::onAgain( int, short, void* self ) {
   auto const connection = static_cast< Connection* >( self )->shared_from_this();
   connection->proceed();
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
Connection::noteHead( Request& request ) {
   request.isFromSocket = isUnix_;
   request.localAddress = localAddress_;
   isHead_ = request.method == "HEAD";
   hasChunks_ = request.hasChunks;
}

void
Connection::acceptHead() {
   Request& request = parser_->request();
   noteHead( request );
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
   ++handled_;
   // The parser goes when it is answered.
   Request request = std::move( parser_->request() );
   evtimer_del( deadline_ );
   noteHead( request );
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

} // namespace ostra::http
