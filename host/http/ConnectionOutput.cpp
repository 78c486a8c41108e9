// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a client is sent: answers, whole or piece by piece, as long as there is room for them.

#include <host/http/Connection>

#include <fmt/format.h>

#include <event2/buffer.h>
#include <event2/bufferevent.h>
#include <event2/event.h>

namespace ostra::http {

namespace {

// In octets. Up to there an answer is bounded by the number of connections, and is what tells
// a client that its change has been made.
constexpr std::size_t smallAnswer = 4096;

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

bool
Connection::hasRoom( std::size_t octets ) const {
   std::size_t const most = site_.limits.allOutput;
   return site_.output + octets <= ( isUnix_ ? most : most / 2 );
}

std::size_t
Connection::waiting() const {
   return evbuffer_get_length( bufferevent_get_output( events_ ) );
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

} // namespace ostra::http
