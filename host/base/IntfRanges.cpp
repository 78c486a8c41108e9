// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/IntfRanges>

#include <Kovel/Text>
#include <Ryx/Exception>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <unordered_set>

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

namespace {

constexpr std::string_view decimalDigits = "0123456789";

// Reads a text of ranges from left to right.
class RangesReader {
 public:
   explicit RangesReader( std::string_view text ) : text_( text ) {}

   Ids read() {
      Kovel::allParts( text_, ',', [ this ]( std::string_view part ) {
         part.remove_prefix( std::min( part.find_first_not_of( ' ' ), part.size() ) );
         addPart( part );
         return true;
      } );
      return std::move( ids_ );
   }

 private:
   // The least and the greatest value of a number.
   struct Bounds {
      std::string_view from;
      std::string_view to;
   };

   [[noreturn]] void refuse( std::string_view expected ) const {
      throw Ryx::RangeException( fmt::format(
         "\"{}\" is not a range of interfaces: expected {}", text_, expected ) );
   }

   // One kind's numbers; a part without a kind has that of the part before.
   void addPart( std::string_view part ) {
      std::size_t const digits =
         std::min( part.find_first_of( decimalDigits ), part.size() );
      if ( digits != 0 ) {
         prefix_ = part.substr( 0, digits );
      } else if ( part.empty() || prefix_.empty() ) {
         refuse( "a number or a name behind each comma" );
      }
      std::vector< Bounds > bounds;
      Kovel::allParts( part.substr( digits ), '/', [ & ]( std::string_view number ) {
         std::size_t const dash = number.find( '-' );
         bool const isRange = dash != number.npos;
         if ( isRange && number.find_first_of( decimalDigits, dash ) != dash + 1 ) {
            refuse( fmt::format( "a number behind \"{}\"", number.substr( 0, dash + 1 ) ) );
         }
         bounds.push_back(
            { number.substr( 0, dash ), isRange ? number.substr( dash + 1 ) : number } );
         return true;
      } );
      // The first and the last name are checked as any other.
      addAll( named( bounds, &Bounds::from ), named( bounds, &Bounds::to ), bounds );
   }

   IntfId
   named( std::vector< Bounds > const& bounds, std::string_view Bounds::*number ) const {
      std::string name( prefix_ );
      for ( Bounds const& of : bounds ) {
         name += ( &of == bounds.data() ? "" : "/" ) + std::string( of.*number );
      }
      return IntfId( name );
   }

   void addAll( IntfId first, IntfId last, std::vector< Bounds > const& bounds ) {
      std::size_t count = 1;
      for ( unsigned i = 0; i < bounds.size(); ++i ) {
         bool const isRange = bounds[ i ].from.data() != bounds[ i ].to.data();
         if ( isRange && first.number( i ) >= last.number( i ) ) {
            refuse( fmt::format(
               "a number greater than {} behind \"{}-\"",
               bounds[ i ].from,
               bounds[ i ].from ) );
         }
         count *= last.number( i ) - first.number( i ) + 1u;
         if ( count > mostInRanges - ids_.size() ) {
            refuse( fmt::format( "at most {} interfaces", mostInRanges ) );
         }
      }
      std::vector< std::uint32_t > numbers;
      for ( unsigned i = 0; i < bounds.size(); ++i ) {
         numbers.push_back( first.number( i ) );
      }
      do {
         add( IntfId( fmt::format( "{}{}", prefix_, fmt::join( numbers, "/" ) ) ) );
      } while ( advance( numbers, first, last ) );
   }

   void add( IntfId id ) {
      if ( !known_.insert( id ).second ) {
         refuse( fmt::format( "{} once", id.string() ) );
      }
      ids_.push_back( id );
   }

   // To the next ones, the last number first; false behind the last ones.
   static bool advance( std::vector< std::uint32_t >& numbers, IntfId first, IntfId last ) {
      for ( std::size_t i = numbers.size(); i-- > 0; ) {
         if ( numbers[ i ] < last.number( unsigned( i ) ) ) {
            ++numbers[ i ];
            return true;
         }
         numbers[ i ] = first.number( unsigned( i ) );
      }
      return false;
   }

   std::string_view const text_;
   std::string_view prefix_;
   Ids ids_;
   std::unordered_set< IntfId > known_;
};

} // namespace

bool
isIntfRange( std::string_view text ) {
   std::size_t const number = text.find_first_of( decimalDigits );
   if (
      number == 0 || number == text.npos ||
      text.find_first_of( ",-", number ) == text.npos ) {
      return false;
   }
   try {
      return bool( IntfId( std::string( text.substr( 0, number ) ) + "1" ) );
   } catch ( Ryx::RangeException const& ) {
      return false;
   }
}

Ids
interfacesOf( std::string_view ranges ) {
   return RangesReader( ranges ).read();
}

} // namespace ostra
