// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/Milliseconds>

#include <cmath>

namespace ostra {

std::optional< Milliseconds >
firstInstantAt( double seconds ) noexcept {
   constexpr Milliseconds one( 1 );
   if ( !( seconds <= secondsOf( lastInstant ) ) ) {
      return std::nullopt;
   }
   if ( seconds <= secondsOf( -lastInstant ) ) {
      return -lastInstant;
   }
   Milliseconds instant(
      static_cast< Milliseconds::rep >( std::ceil( seconds * 1000.0 ) ) );
   // The product is rounded: the true first one may be a neighbour.
   while ( secondsOf( instant - one ) >= seconds ) {
      instant -= one;
   }
   while ( secondsOf( instant ) < seconds ) {
      instant += one;
   }
   return instant;
}

std::optional< Milliseconds >
exactInstant( double seconds ) noexcept {
   if ( !( std::abs( seconds ) <= secondsOf( lastScenarioInstant ) ) ) {
      return std::nullopt;
   }
   Milliseconds const instant( std::llround( seconds * 1000.0 ) );
   return secondsOf( instant ) == seconds ? std::optional( instant ) : std::nullopt;
}

} // namespace ostra
