// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/api/LongAnswers>

#include <algorithm>
#include <chrono>
#include <exception>
#include <ostream>
#include <utility>

namespace ostra {

namespace {

// Somebody waits for it, so that it does not give way.
ForecastLimits
limits() {
   ForecastLimits limits;
   limits.time = std::chrono::minutes( 1 );
   limits.work = std::chrono::minutes( 1 );
   limits.output = 512U << 20;
   limits.memory = 2U << 30;
   limits.nice = 0;
   limits.reserved = 64U << 20;
   return limits;
}

http::Response
notMade( std::string const& what, std::string const& why ) {
   return http::problemResponse(
      { 503, what, why, "another try later", { { "Retry-After", "1" } } } );
}

} // namespace

LongAnswers::LongAnswers( event_base* base, LiveSwitch& live )
      : live_( live ), copies_( base, live, limits() ) {}

LongAnswers::Asked*
LongAnswers::sameAs( std::string const& what ) {
   if ( making_ && making_->what == what && making_->version == live_.version() ) {
      return &*making_;
   }
   auto const found =
      std::find_if( waiting_.begin(), waiting_.end(), [ & ]( Asked const& asked ) {
         return asked.what == what;
      } );
   return found == waiting_.end() ? nullptr : &*found;
}

void
LongAnswers::send( std::string const& what, Make make, http::Reply const& reply ) {
   if ( Asked* const asked = sameAs( what ) ) {
      asked->replies.push_back( reply );
      return;
   }
   waiting_.push_back( { what, std::move( make ), { reply } } );
   begin();
}

void
LongAnswers::begin() {
   while ( !making_ && !waiting_.empty() ) {
      Asked next = std::move( waiting_.front() );
      waiting_.pop_front();
      live_.time().refresh();
      next.version = live_.version();
      making_ = std::move( next );
      try {
         copies_.start(
            [ this ]( std::ostream& out ) { out << making_->make() << '\n'; },
            [ this ]( Forecasts::Outcome outcome ) { take( std::move( outcome ) ); } );
      } catch ( std::exception const& error ) {
         // Whatever it is: with one that is never over nobody would be answered any more.
         answerAll( notMade( making_->what, error.what() ) );
      }
   }
}

void
LongAnswers::take( Forecasts::Outcome outcome ) {
   answerAll(
      outcome.problem
         ? notMade( making_->what, outcome.problem->found )
         : http::textResponse( "application/json", std::move( outcome.records ) ) );
   begin();
}

// Whoever is answered may ask for more at once.
void
LongAnswers::answerAll( http::Response const& response ) {
   Asked const made = std::move( *making_ );
   making_.reset();
   for ( http::Reply const& reply : made.replies ) {
      reply.send( response );
   }
}

} // namespace ostra
