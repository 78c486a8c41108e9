// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The keyed collection, with the ids of interfaces.

#include <Kovel/Traits>
#include <instructions/Measure>

#include <vector>

namespace bench {

namespace {

using Kovel::IntfId;
using Record = Ryx::ValueRecord< IntfId, bool >;
using Map = Ryx::HashMap< Record, IntfId >;

constexpr std::size_t size = 4096;

// Different ids for the numbers below 65,536, in no order.
IntfId
idOf( std::size_t i ) {
   return IntfId( "Ethernet" + std::to_string( i * 40'503 % 65'536 + 1 ) );
}

// The numbers below `size`, each once, in another order than they were inserted.
constexpr std::size_t
other( std::size_t i ) {
   return i * 1021 % size;
}

struct Members {
   Members() {
      for ( std::size_t i = 0; i < size; ++i ) {
         ids.push_back( idOf( i ) );
         absent.push_back( idOf( size + i ) );
         records.push_back( Ryx::make< Record >( ids.back(), true ) );
      }
   }

   std::vector< IntfId > ids;
   std::vector< IntfId > absent;
   std::vector< Ryx::Ptr< Record > > records;
   Map map;
};

std::size_t
visited( Map const& map ) {
   std::size_t count = 0;
   for ( Map::IteratorConst it( map ); it; ++it ) {
      count += it->value() ? 1 : 0;
   }
   return count;
}

} // namespace

} // namespace bench

void
bench::measureMap() {
   Members m;
   std::size_t found = 0;
   measureEach( "map/insert", size, [ & ]( std::size_t i ) {
      m.map.insert( std::move( m.records[ i ] ) );
   } );
   measureEach( "map/find-hit", size, [ & ]( std::size_t i ) {
      found += m.map.find( m.ids[ other( i ) ] ) ? 1 : 0;
   } );
   measureEach( "map/find-miss", size, [ & ]( std::size_t i ) {
      found += m.map.find( m.absent[ i ] ) ? 1 : 0;
   } );
   expect( found == size, "members, and nothing else, to be found" );
   measure( "map/iterate", size, [ & ] { found += visited( m.map ); } );
   expect( found == 2 * size, "every member to be visited" );
   measureEach(
      "map/remove", size, [ & ]( std::size_t i ) { m.map.remove( m.ids[ other( i ) ] ); } );
   expect( m.map.empty(), "every member to be removed" );
}
