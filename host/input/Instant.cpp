// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/input/Instant>

#include <host/base/Duration>

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace ostra {

namespace {

constexpr std::string_view expectedInstant = "a number of seconds, in whole milliseconds";
constexpr std::string_view expectedTime =
   "a number of seconds, in whole milliseconds, or a time like 1h30m or 01:30:00.000";

double
numberOf( NodeKind kind, std::string_view text, bool takesDurations = true ) {
   if ( kind == NodeKind::number ) {
      return plainNumber( text );
   }
   bool const isDuration = kind == NodeKind::text && takesDurations;
   auto const seconds = isDuration ? durationSeconds( text ) : std::nullopt;
   return seconds.value_or( std::numeric_limits< double >::quiet_NaN() );
}

bool
takesTimes( Item const& item ) {
   return item.node().tree().takesShorthand();
}

double
numberOf( Item const& item ) {
   return numberOf( item.node().kind(), item.node().text(), takesTimes( item ) );
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
      item.refuse( expectedFor(
         numberOf( item ), takesTimes( item ) ? expectedTime : expectedInstant ) );
   }
   return *found;
}

Milliseconds
scenarioInstantOf( Item const& item ) {
   auto const found = scenarioInstant( numberOf( item ) );
   if ( !found ) {
      item.refuse( expectedFor(
         numberOf( item ),
         takesTimes( item ) ? expectedScenarioTime : expectedScenarioInstant ) );
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
   return expectedFor( seconds < 0 ? 0 : seconds, expectedScenarioTime );
}

} // namespace ostra
