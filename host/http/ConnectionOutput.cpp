// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a client is sent: answers, whole or piece by piece, as long as there is room for them.

#include <host/http/Connection>

#include <fmt/format.h>

#include <algorithm>

#include <event2/buffer.h>
#include <event2/bufferevent.h>
#include <event2/event.h>

namespace ostra::http {

namespace {

// In octets. Up to there an answer is bounded by the number of connections, and is what tells
// a client that its change has been made.
constexpr std::size_t smallAnswer = 4096;

// Of a body in a buffer, for as long as it is there.
struct Reference {
   Body body;
   std::shared_ptr< SentBodies > sent;
   // Of all bodies in that buffer.
   std::shared_ptr< std::size_t > size;
};

void
releaseReference( void const*, std::size_t, void* self ) {
   auto const* const reference = static_cast< Reference* >( self );
   reference->sent->remove( reference->body );
   *reference->size -= reference->body->size();
   delete reference;
}

void
addReference( evbuffer* output, std::unique_ptr< Reference > reference ) {
   Body const& body = reference->body;
   reference->sent->add( body );
   *reference->size += body->size();
   bool const isAdded =
      evbuffer_add_reference(
         output, body->data(), body->size(), releaseReference, reference.get() ) == 0;
   if ( isAdded ) {
      static_cast< void >( reference.release() );
   } else {
      releaseReference( nullptr, 0, reference.release() );
   }
}

} // namespace

bool
Connection::hasRoom() const {
   std::size_t const most = site_.limits.allOutput;
   return site_.output <= ( isUnix_ ? most : most / 2 );
}

bool
Connection::hasRoomFor( Body const& body ) const {
   std::size_t const most = site_.limits.allSent;
   return body->size() <= smallAnswer || site_.sent->contains( body ) ||
      site_.sent->size() + body->size() <= ( isUnix_ ? most : most / 2 );
}

// The first body in the buffer may be there in part.
void
Connection::countOutput() {
   std::size_t const all = waiting();
   std::size_t const own = all - std::min( all, *referenced_ );
   site_.output += own - countedOutput_;
   countedOutput_ = own;
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
   if ( response.body && !isHead_ && !hasRoomFor( response.body ) ) {
      isPersistent_ = false;
      response = problemResponse(
         { 503, "answers", "too many that nobody has taken", "another try later" } );
   }
   gone_ = nullptr;
   send( response, response.body ? response.body->size() : 0 );
   if ( response.body && !response.body->empty() && !isHead_ ) {
      addReference(
         bufferevent_get_output( events_ ),
         std::make_unique< Reference >(
            Reference{ response.body, site_.sent, referenced_ } ) );
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
           ( waiting() == 0 || hasRoom() ) ) {
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
