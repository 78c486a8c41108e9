// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/run/Run>

#include <host/state/Watcher>

#include <Ryx/Activity>
#include <Ryx/Clock>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

// A time that is the lesser of two, either of which may be none.
std::optional< Milliseconds >
earlier( std::optional< Milliseconds > a, std::optional< Milliseconds > b ) {
   return a && b ? std::min( a, b ) : ( a ? a : b );
}

} // namespace

ScenarioTime::ScenarioTime( Milliseconds startTime ) : startTime_( startTime ) {
   Ryx::timeSourceIs( this );
}

ScenarioTime::~ScenarioTime() {
   Ryx::timeSourceIs( nullptr );
}

std::optional< Milliseconds >
ScenarioTime::instantOf( Ryx::Seconds wakeUp ) const noexcept {
   auto const absolute = firstInstantAt( wakeUp );
   return absolute ? std::optional( std::max( *absolute - startTime_, instant_ ) )
                   : std::nullopt;
}

void
Run::play() {
   std::string failure;
   {
      MountsWatch const watch( parts_.mounts, [ this ]( WriteRecord const& record ) {
         parts_.sink.write( now(), record );
      } );
      failure = passInstants( true );
   }
   end( failure );
}

void
Run::playOn() {
   end( passInstants( false ) );
}

void
Run::end( std::string const& failure ) {
   parts_.sink.end( now(), { wakeUp().has_value(), failure } );
   if ( !failure.empty() ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format(
            "ostra: the run failed at {} s: {}",
            toJson( secondsOf( now() ) ).dump(),
            failure ) );
   }
}

std::string
Run::passInstants( bool isFromStart ) {
   // What goes on by itself counts from the present.
   Milliseconds const startTime =
      isFromStart ? parts_.scenario.startTime : Milliseconds( 0 );
   parts_.sink.start( { parts_.scenario.name, startTime }, state_ );
   try {
      if ( isFromStart ) {
         parts_.agent.setAll();
      }
      do {
         passInstant();
      } while ( parts_.settle() && advance() );
   } catch ( std::exception const& error ) {
      return error.what();
   }
   return {};
}

void
Run::passInstant() {
   auto const clock = Ryx::activityManager()->clock();
   clock->handleTime();
   auto const& events = parts_.scenario.events;
   while ( nextEvent_ < events.size() && events[ nextEvent_ ].at == now() ) {
      apply( events[ nextEvent_ ] );
      ++nextEvent_;
   }
   clock->handleTime();
}

bool
Run::advance() {
   auto const next = nextInstant();
   auto const until = parts_.scenario.until;
   bool const isLast = until && ( !next || *next > *until );
   if ( !next && !isLast ) {
      return false;
   }
   Milliseconds const then = isLast ? *until : *next;
   Milliseconds const reached = parts_.pacer.waitUntil( then );
   parts_.time.instantIs( std::max( now(), reached ) );
   return reached == then && !isLast;
}

std::optional< Milliseconds >
Run::nextInstant() const {
   auto const& events = parts_.scenario.events;
   std::optional< Milliseconds > event;
   if ( nextEvent_ < events.size() ) {
      event = events[ nextEvent_ ].at;
   }
   return earlier( event, wakeUp() );
}

std::optional< Milliseconds >
Run::wakeUp() const {
   return parts_.time.instantOf( Ryx::activityManager()->clock()->nextTimeMin() );
}

void
Run::apply( Event const& event ) {
   parts_.sink.event(
      now(), { nextEvent_, [ &event ] { return event.patch(); }, event.label } );
   event.forEachChange( [ this ]( Item const& change ) {
      if ( change.key() == agentKey ) {
         parts_.agent.apply( change );
      } else {
         parts_.mounts.applyMount( change );
      }
   } );
}

} // namespace ostra
