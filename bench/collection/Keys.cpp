// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <collection/Keys>

#include <algorithm>
#include <map>
#include <random>
#include <string>

namespace bench {

namespace {

constexpr std::size_t fewestKeys = 65536;

using Random = std::mt19937;

Keys
pool( std::size_t size ) {
   Keys keys;
   keys.reserve( size );
   for ( std::size_t i = 0; i < size; ++i ) {
      keys.emplace_back(
         "Ethernet" + std::to_string( i / 64 + 1 ) + '/' + std::to_string( i % 64 + 1 ) );
   }
   return keys;
}

Keys
inOtherOrders( Keys keys, Random& random ) {
   Keys orders;
   while ( orders.size() < fewestKeys ) {
      std::shuffle( keys.begin(), keys.end(), random );
      orders.insert( orders.end(), keys.begin(), keys.end() );
   }
   return orders;
}

DrawnKeys
draw( std::size_t members ) {
   // A draw in which the first and the last bits of 64 hashes collide equally often, so that
   // no library has better luck than another.
   Random random( 365 );
   Keys all = pool( std::max( fewestKeys, 2 * members ) );
   std::shuffle( all.begin(), all.end(), random );
   auto const end = all.begin() + static_cast< std::ptrdiff_t >( members );
   Keys const in( all.begin(), end );
   Keys const out( end, end + ( end - all.begin() ) );
   return { in, out, inOtherOrders( in, random ), inOtherOrders( out, random ) };
}

} // namespace

DrawnKeys const&
drawnKeys( std::size_t members ) {
   static std::map< std::size_t, DrawnKeys > drawn;
   auto found = drawn.find( members );
   if ( found == drawn.end() ) {
      found = drawn.emplace( members, draw( members ) ).first;
   }
   return found->second;
}

} // namespace bench
