// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/Instant>

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace ostra {

namespace {

constexpr std::string_view expectedInstant = "a number of seconds, in whole milliseconds";

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
   return std::isfinite( seconds ) &&
      std::abs( seconds ) > secondsOf( lastScenarioInstant );
}

std::string
expectedFor( double seconds, std::string_view otherwise ) {
   if ( !isBeyondClock( seconds ) ) {
      return std::string( otherwise );
   }
   return seconds < 0
      ? fmt::format( "at least {}", toJson( secondsOf( -lastScenarioInstant ) ).dump() )
      : fmt::format( "at most {}", toJson( secondsOf( lastScenarioInstant ) ).dump() );
}

std::optional< Milliseconds >
scenarioInstant( double seconds ) {
   auto const found = exactInstant( seconds );
   return found && *found >= Milliseconds( 0 ) ? found : std::nullopt;
}

} // namespace

Milliseconds
instantOf( Item const& item ) {
   auto const found = exactInstant( numberOf( item ) );
   if ( !found ) {
      item.refuse( expectedFor( numberOf( item ), expectedInstant ) );
   }
   return *found;
}

Milliseconds
scenarioInstantOf( Item const& item ) {
   auto const found = scenarioInstant( numberOf( item ) );
   if ( !found ) {
      item.refuse( expectedFor( numberOf( item ), expectedScenarioInstant ) );
   }
   return *found;
}

std::optional< Milliseconds >
scenarioInstant( std::string const& text ) {
   return scenarioInstant( numberOf( plainKind( text ), text ) );
}

std::string
expectedInsteadOf( std::string const& text ) {
   double const seconds = numberOf( plainKind( text ), text );
   return expectedFor( seconds < 0 ? 0 : seconds, expectedScenarioInstant );
}

} // namespace ostra
