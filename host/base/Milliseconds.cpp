// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Milliseconds>

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace ostra {

namespace {

constexpr std::string_view expectedMoment = "a number of seconds, in whole milliseconds";

double
numberOf( NodeKind kind, std::string_view text ) {
   return kind == NodeKind::number ? plainNumber( text )
                                   : std::numeric_limits< double >::quiet_NaN();
}

double
numberOf( Item const& item ) {
   return numberOf( item.node().kind(), item.node().text() );
}

bool
isBeyondClock( double seconds ) {
   return std::isfinite( seconds ) && std::abs( seconds ) > secondsOf( lastScenarioMoment );
}

std::string
expectedFor( double seconds, std::string_view otherwise ) {
   if ( !isBeyondClock( seconds ) ) {
      return std::string( otherwise );
   }
   return seconds < 0
      ? fmt::format( "at least {}", toJson( secondsOf( -lastScenarioMoment ) ).dump() )
      : fmt::format( "at most {}", toJson( secondsOf( lastScenarioMoment ) ).dump() );
}

std::optional< Milliseconds >
scenarioMoment( double seconds ) {
   auto const found = exactMoment( seconds );
   return found && *found >= 0 ? found : std::nullopt;
}

} // namespace

std::optional< Milliseconds >
firstMomentAt( double seconds ) noexcept {
   if ( !( seconds <= secondsOf( lastMoment ) ) ) {
      return std::nullopt;
   }
   if ( seconds <= secondsOf( -lastMoment ) ) {
      return -lastMoment;
   }
   auto moment = static_cast< Milliseconds >( std::ceil( seconds * 1000.0 ) );
   // The product is rounded: the true first one may be a neighbour.
   while ( secondsOf( moment - 1 ) >= seconds ) {
      --moment;
   }
   while ( secondsOf( moment ) < seconds ) {
      ++moment;
   }
   return moment;
}

std::optional< Milliseconds >
exactMoment( double seconds ) noexcept {
   if ( !( std::abs( seconds ) <= secondsOf( lastScenarioMoment ) ) ) {
      return std::nullopt;
   }
   Milliseconds const moment = std::llround( seconds * 1000.0 );
   return secondsOf( moment ) == seconds ? std::optional( moment ) : std::nullopt;
}

Milliseconds
momentOf( Item const& item ) {
   auto const found = exactMoment( numberOf( item ) );
   if ( !found ) {
      item.refuse( expectedFor( numberOf( item ), expectedMoment ) );
   }
   return *found;
}

Milliseconds
scenarioMomentOf( Item const& item ) {
   auto const found = scenarioMoment( numberOf( item ) );
   if ( !found ) {
      item.refuse( expectedFor( numberOf( item ), expectedScenarioMoment ) );
   }
   return *found;
}

std::string
expectedInsteadOf( std::string const& text ) {
   double const seconds = numberOf( plainKind( text ), text );
   return expectedFor( seconds < 0 ? 0 : seconds, expectedScenarioMoment );
}

std::optional< Milliseconds >
scenarioMoment( std::string const& text ) {
   return scenarioMoment( numberOf( plainKind( text ), text ) );
}

} // namespace ostra
