// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/IntfRanges>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>

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

// Of two pieces without that number: the kinds, then how many numbers they have, then these.
std::strong_ordering
compareBeside( Piece const& a, Piece const& b, unsigned place ) {
   auto order = a.first.kind() <=> b.first.kind();
   order = order != 0 ? order : a.count <=> b.count;
   for ( unsigned i = 0; i < a.count && order == 0; ++i ) {
      order = i == place ? order : a.from[ i ] <=> b.from[ i ];
   }
   for ( unsigned i = 0; i < a.count && order == 0; ++i ) {
      order = i == place ? order : a.to[ i ] <=> b.to[ i ];
   }
   return order;
}

// Sorting takes longer than finding that nothing is to be sorted, as mostly is so.
template< class Less >
void
sortPieces( std::vector< Piece >& pieces, Less less ) {
   if ( !std::is_sorted( pieces.begin(), pieces.end(), less ) ) {
      std::sort( pieces.begin(), pieces.end(), less );
   }
}

// Joins the pieces that are neighbours in that number.
void
fold( std::vector< Piece >& pieces, unsigned place ) {
   // Beside each other come pieces that differ in that number alone, in the number's order.
   sortPieces( pieces, [ place ]( Piece const& a, Piece const& b ) {
      auto const order = compareBeside( a, b, place );
      return order != 0 ? order < 0 : a.from[ place ] < b.from[ place ];
   } );
   std::size_t joined = 0;
   for ( std::size_t i = 1; i < pieces.size(); ++i ) {
      Piece& last = pieces[ joined ];
      bool const goesOn = pieces[ i ].from[ place ] == last.to[ place ] + 1;
      if ( goesOn && compareBeside( last, pieces[ i ], place ) == 0 ) {
         last.to[ place ] = pieces[ i ].to[ place ];
      } else {
         pieces[ ++joined ] = pieces[ i ];
      }
   }
   pieces.erase( pieces.begin() + std::ptrdiff_t( joined + 1 ), pieces.end() );
}

unsigned
mostNumbers( std::vector< Piece > const& pieces ) {
   unsigned most = 0;
   for ( Piece const& piece : pieces ) {
      most = std::max( most, piece.count );
   }
   return most;
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
   for ( unsigned place = mostNumbers( pieces ); place-- > 0; ) {
      fold( pieces, place );
   }
   sortPieces( pieces, []( Piece const& a, Piece const& b ) { return a.first < b.first; } );
   std::string all;
   IntfId previous;
   for ( Piece const& piece : pieces ) {
      all += beginning( piece.first, previous ) + text( piece );
      previous = piece.first;
   }
   return all;
}

} // namespace ostra
