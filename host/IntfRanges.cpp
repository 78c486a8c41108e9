// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/IntfRanges>

#include <fmt/format.h>

#include <algorithm>

namespace ostra {

namespace {

using Kovel::IntfId;
using Ids = std::vector< IntfId >;

std::uint32_t
lastNumber( IntfId id ) {
   return id.number( id.numberCount() - 1 );
}

std::string
numbers( IntfId id ) {
   std::string text = std::to_string( id.number( 0 ) );
   for ( unsigned i = 1; i < id.numberCount(); ++i ) {
      text += fmt::format( "/{}", id.number( i ) );
   }
   return text;
}

// Whether `next` is what follows `id` within a range.
bool
isSuccessor( IntfId id, IntfId next ) {
   unsigned const count = id.numberCount();
   if ( next.kind() != id.kind() || next.numberCount() != count ) {
      return false;
   }
   for ( unsigned i = 0; i + 1 < count; ++i ) {
      if ( next.number( i ) != id.number( i ) ) {
         return false;
      }
   }
   return lastNumber( next ) == lastNumber( id ) + 1;
}

std::string
range( IntfId first, IntfId last ) {
   std::string text = numbers( first );
   if ( first != last ) {
      text += fmt::format( "-{}", lastNumber( last ) );
   }
   return text;
}

std::string
beginning( IntfId id, IntfId const* previous ) {
   if ( previous && previous->kind() == id.kind() ) {
      return ",";
   }
   return ( previous ? ", " : "" ) + std::string( id.prefix() );
}

} // namespace

std::string
intfRanges( Ids ids ) {
   std::sort( ids.begin(), ids.end() );
   ids.erase( std::unique( ids.begin(), ids.end() ), ids.end() );
   auto const isBreak = []( IntfId a, IntfId b ) { return !isSuccessor( a, b ); };
   std::string text;
   for ( auto first = ids.begin(); first != ids.end(); ) {
      auto last = std::adjacent_find( first, ids.end(), isBreak );
      last = last == ids.end() ? ids.end() - 1 : last;
      text += beginning( *first, first == ids.begin() ? nullptr : &*( first - 1 ) );
      text += range( *first, *last );
      first = last + 1;
   }
   return text;
}

} // namespace ostra
