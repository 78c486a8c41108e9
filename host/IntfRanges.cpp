// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/IntfRanges>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

namespace ostra {

namespace {

using Kovel::IntfId;
using Ids = std::vector< IntfId >;

// Interfaces of one kind and as many numbers: those with each number in its range.
struct Piece {
   explicit Piece( IntfId id ) : first( id ), count( id.numberCount() ) {
      for ( unsigned i = 0; i < count; ++i ) {
         from[ i ] = to[ i ] = id.number( i );
      }
   }

   IntfId first;
   unsigned count;
   std::array< std::uint32_t, IntfId::maxNumberCount > from{};
   std::array< std::uint32_t, IntfId::maxNumberCount > to{};
};

// Beside each other come pieces that differ in that number alone, in the number's order.
auto
orderFor( unsigned place ) {
   return [ place ]( Piece const& a, Piece const& b ) {
      auto const key = [ place ]( Piece piece ) {
         std::uint32_t const number = std::exchange( piece.from[ place ], 0 );
         piece.to[ place ] = 0;
         return std::tuple( piece.first.kind(), piece.count, piece.from, piece.to, number );
      };
      return key( a ) < key( b );
   };
}

// Whether `next` begins behind `piece` in that number and is the same in all others.
bool
goesOn( Piece const& piece, Piece next, unsigned place ) {
   if ( next.from[ place ] != piece.to[ place ] + 1 ) {
      return false;
   }
   next.from[ place ] = piece.from[ place ];
   next.to[ place ] = piece.to[ place ];
   return next.first.kind() == piece.first.kind() && next.count == piece.count &&
      next.from == piece.from && next.to == piece.to;
}

// Joins the pieces that are neighbours in that number.
std::vector< Piece >
folded( std::vector< Piece > pieces, unsigned place ) {
   std::sort( pieces.begin(), pieces.end(), orderFor( place ) );
   std::vector< Piece > joined;
   for ( Piece const& piece : pieces ) {
      if ( !joined.empty() && goesOn( joined.back(), piece, place ) ) {
         joined.back().to[ place ] = piece.to[ place ];
      } else {
         joined.push_back( piece );
      }
   }
   return joined;
}

std::string
text( Piece const& piece ) {
   std::string text;
   for ( unsigned i = 0; i < piece.count; ++i ) {
      text += fmt::format( "{}{}", i == 0 ? "" : "/", piece.from[ i ] );
      text += piece.from[ i ] == piece.to[ i ] ? "" : fmt::format( "-{}", piece.to[ i ] );
   }
   return text;
}

std::string
beginning( IntfId id, IntfId previous ) {
   if ( previous.kind() == id.kind() ) {
      return ",";
   }
   return ( previous ? ", " : "" ) + std::string( id.prefix() );
}

} // namespace

std::string
intfRanges( Ids ids ) {
   std::sort( ids.begin(), ids.end() );
   ids.erase( std::unique( ids.begin(), ids.end() ), ids.end() );
   std::vector< Piece > pieces( ids.begin(), ids.end() );
   for ( unsigned place = IntfId::maxNumberCount; place-- > 0; ) {
      pieces = folded( std::move( pieces ), place );
   }
   std::sort( pieces.begin(), pieces.end(), []( Piece const& a, Piece const& b ) {
      return a.first < b.first;
   } );
   std::string all;
   IntfId previous;
   for ( Piece const& piece : pieces ) {
      all += beginning( piece.first, previous ) + text( piece );
      previous = piece.first;
   }
   return all;
}

} // namespace ostra
