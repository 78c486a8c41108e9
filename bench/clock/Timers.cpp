// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <clock/Timers>

#include <algorithm>
#include <numeric>
#include <random>

bench::Armings
bench::randomArmings( std::size_t timers ) {
   constexpr std::size_t fewestArmings = 65536;
   std::mt19937 random( 1 );
   std::uniform_real_distribution< Ryx::Seconds > time( 1, latest );
   std::vector< std::size_t > order( timers );
   std::iota( order.begin(), order.end(), 0 );
   Armings armings;
   while ( armings.size() < fewestArmings ) {
      std::shuffle( order.begin(), order.end(), random );
      for ( std::size_t const timer : order ) {
         armings.push_back( { timer, time( random ) } );
      }
   }
   return armings;
}
