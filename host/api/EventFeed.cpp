// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/api/EventFeed>

#include <host/api/Requests>
#include <host/base/Failure>

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include <event2/event.h>

namespace ostra {

namespace {

constexpr std::size_t recentRecords = 4096;
// Of one piece of a stream.
constexpr std::size_t recordsAtOnce = 256;

} // namespace

EventFeed::EventFeed( event_base* base, Records& records, History history )
      : records_( records ),
        history_( std::move( history ) ),
        subscription_(
           records.subscribe( [ this ]( LiveRecord const& record ) { heard( record ); } ) ),
        wakeUp_( event_new(
           base,
           -1,
           0,
           []( int, short, void* self ) { static_cast< EventFeed* >( self )->wake(); },
           this ) ) {}

EventFeed::~EventFeed() {
   records_.unsubscribe( subscription_ );
   event_free( wakeUp_ );
}

void
EventFeed::heard( LiveRecord const& record ) {
   recent_.push_back( record );
   if ( recent_.size() > recentRecords ) {
      recent_.pop_front();
   }
   if ( !streams_.empty() ) {
      event_active( wakeUp_, 0, 0 );
   }
}

std::int64_t
EventFeed::last() const noexcept {
   auto const& pending = records_.pending();
   return ( pending.empty() ? records_.nextId() : pending.front().id ) - 1;
}

void
EventFeed::wake() {
   std::erase_if( streams_, []( http::Reply const& reply ) { return !reply.isOpen(); } );
   // One that is woken may end others.
   auto const streams = streams_;
   for ( http::Reply const& reply : streams ) {
      reply.wake();
   }
}

template< class Visit >
void
EventFeed::forEachBehind( std::int64_t since, std::size_t limit, Visit visit ) const {
   bool const isRecent = !recent_.empty() && recent_.front().id - 1 <= since;
   if ( !isRecent && since < last() ) {
      auto const older = history_( since, limit );
      if ( !older.empty() ) {
         std::for_each( older.begin(), older.end(), visit );
         return;
      }
   }
   auto const first = std::upper_bound(
      recent_.begin(),
      recent_.end(),
      since,
      []( std::int64_t id, LiveRecord const& record ) { return id < record.id; } );
   auto const count =
      std::min( limit, static_cast< std::size_t >( recent_.end() - first ) );
   std::for_each_n( first, count, visit );
}

void
EventFeed::stream( http::Request const& request, http::Reply const& reply ) {
   std::int64_t since = last();
   std::string const* const seen = request.header( "last-event-id" );
   std::string const* const asked = seen ? seen : request.parameter( "since" );
   if ( asked && !asked->empty() ) {
      // Whoever waited behind the newest one would hear nothing for a long time.
      auto const id = wholeNumberOf( *asked );
      if ( !id || *id > last() ) {
         reply.send( http::Problem{ 400,
                                    seen ? "Last-Event-ID" : "since",
                                    inQuotes( *asked ),
                                    id ? fmt::format( "at most {}, the newest", last() )
                                       : wholeNumber } );
         return;
      }
      since = *id;
   }
   // Streams are woken by records only. Those that have ended are removed here, too.
   std::erase_if( streams_, []( http::Reply const& open ) { return !open.isOpen(); } );
   if ( request.method != "HEAD" ) {
      streams_.push_back( reply );
   }
   bool isFirst = true;
   http::Stream answer{ {}, [ this, since, isFirst ]() mutable {
                          std::string piece = isFirst ? "retry: 1000\n\n" : "";
                          isFirst = false;
                          auto const tell = [ & ]( LiveRecord const& record ) {
                             http::appendEvent( piece, record.id, record.line );
                             since = record.id;
                          };
                          forEachBehind( since, recordsAtOnce, tell );
                          return std::optional( std::move( piece ) );
                       } };
   answer.head.contentType = http::eventStreamType;
   answer.heartbeat = ":\n\n";
   reply.send( std::move( answer ) );
}

void
EventFeed::history( http::Request const& request, http::Reply const& reply ) {
   std::int64_t numbers[] = { 0, std::numeric_limits< std::int64_t >::max() };
   char const* const names[] = { "since", "limit" };
   for ( std::size_t i = 0; i < std::size( names ); ++i ) {
      if ( std::string const* const text = request.parameter( names[ i ] ) ) {
         // A value that is no number has been refused before.
         numbers[ i ] = wholeNumberOf( *text ).value_or( numbers[ i ] );
      }
   }
   // Records that come after the request are not history.
   auto const next = [ this,
                       since = numbers[ 0 ],
                       left = numbers[ 1 ],
                       last = last() ]() mutable -> std::optional< std::string > {
      auto const limit = static_cast< std::size_t >(
         std::min( left, static_cast< std::int64_t >( recordsAtOnce ) ) );
      std::string lines;
      forEachBehind( since, limit, [ & ]( LiveRecord const& record ) {
         if ( record.id <= last ) {
            lines.append( record.line ).append( 1, '\n' );
            since = record.id;
            --left;
         }
      } );
      return lines.empty() ? std::nullopt : std::optional( std::move( lines ) );
   };
   http::Stream answer{ {}, next };
   answer.head.contentType = "application/x-ndjson";
   reply.send( std::move( answer ) );
}

} // namespace ostra
