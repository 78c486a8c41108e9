// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Iterators of a collection, typed and by name, while it is changed at every point, in step
// with a sorted row of its members.

#include "Laws"
#include "RyxWorld"

#include <Ryx/GenericIfOf>

#include <algorithm>

namespace {

using laws::none;
using laws::Station;
using Words = std::vector< std::uint32_t >;
using ByName = Ryx::Ptr< Ryx::GenericIf::Iterator >;

// Enough for several sizes of the table.
constexpr unsigned keys = 48;
constexpr Ryx::AttributeId noteId = 260;
constexpr std::size_t iterators = 5;

struct Member {
   unsigned key;
   unsigned value;
   // Members that were removed and put in again are others.
   unsigned number;
};

// Two iterators, which are to stand at the same place, and that place.
struct Standing {
   Station::NoteIterator typed;
   ByName byName;
   bool atEnd = false;
   Member member{};
};

struct Reached {
   unsigned programs = 0;
   unsigned memberGone = 0;
   unsigned memberReplaced = 0;
   unsigned atEnd = 0;
};

class Bench {
 public:
   explicit Bench( Reached& reached ) : reached_( reached ) {}

   void run( Words const& words ) {
      for ( std::uint32_t const word : words ) {
         perform( word % 16, word / 16 );
         check();
      }
   }

 private:
   using Place = std::vector< Member >::iterator;

   // The first member that sorts at or after a key.
   Place placeOf( unsigned key ) {
      return std::find_if( row_.begin(), row_.end(), [ key ]( Member const& member ) {
         return Ryx::bitReversed( member.key ) >= Ryx::bitReversed( key );
      } );
   }
   Place after( unsigned key ) {
      Place const place = placeOf( key );
      return place != row_.end() && place->key == key ? place + 1 : place;
   }
   bool present( Standing const& standing ) {
      Place const place = placeOf( standing.member.key );
      return !standing.atEnd && place != row_.end() &&
         place->number == standing.member.number;
   }
   void stand( Standing& standing, Place place ) {
      standing.atEnd = place == row_.end();
      if ( !standing.atEnd ) {
         standing.member = *place;
      }
   }

   void set( unsigned key, unsigned value ) {
      station_->noteIs( key, value );
      Place const place = placeOf( key );
      if ( place != row_.end() && place->key == key ) {
         place->value = value;
      } else {
         row_.insert( place, { key, value, made_++ } );
      }
   }
   void del( unsigned key ) {
      station_->noteDel( key );
      std::erase_if( row_, [ key ]( Member const& member ) { return member.key == key; } );
   }
   void setMany( unsigned value ) {
      for ( unsigned key = 0; key < keys; ++key ) {
         set( key, value );
      }
   }
   void delMany( unsigned number ) {
      for ( unsigned key = 0; key < keys; ++key ) {
         if ( key % 8 != number % 8 ) {
            del( key );
         }
      }
   }
   void delAll() {
      station_->noteDelAll();
      row_.clear();
   }
   void begin() {
      Standing standing{ station_->noteIterator(), byName_->attributeIterator( noteId ) };
      stand( standing, row_.begin() );
      standing_.push_back( std::move( standing ) );
   }
   void clone( Standing const& standing ) {
      Standing copy = standing;
      copy.byName = standing.byName->iterClone();
      standing_.push_back( std::move( copy ) );
   }
   void step( Standing& standing ) {
      if ( standing.atEnd ) {
         ++reached_.atEnd;
         RC_ASSERT_THROWS_AS( ++standing.typed, Ryx::RangeException );
         RC_ASSERT_THROWS_AS( standing.byName->iterInc(), Ryx::RangeException );
      } else {
         ++standing.typed;
         standing.byName->iterInc();
         stand( standing, after( standing.member.key ) );
      }
   }
   void remove( Standing& standing, bool byName ) {
      if ( standing.atEnd ) {
         return;
      }
      bool const removes = present( standing );
      reached_.memberGone += !removes;
      Place const place = placeOf( standing.member.key );
      reached_.memberReplaced +=
         !removes && place != row_.end() && place->key == standing.member.key;
      if ( byName ) {
         standing.byName->iterDel();
      } else {
         station_->noteRemove( standing.typed );
      }
      if ( removes ) {
         row_.erase( place );
      }
   }
   void perform( unsigned op, unsigned number ) {
      unsigned const key = number % keys;
      if ( op < 4 ) {
         return set( key, number / keys % 3 );
      }
      if ( op < 7 ) {
         return del( key );
      }
      if ( op == 7 ) {
         return number % 4 == 0 ? setMany( number % 3 )
            : number % 4 == 1   ? delMany( number / 4 )
            : number % 4 == 2   ? delAll()
                                : begin();
      }
      if ( standing_.empty() ) {
         return begin();
      }
      if ( standing_.size() > iterators ) {
         standing_.erase( standing_.begin() );
      }
      Standing& standing = standing_[ number % standing_.size() ];
      if ( op < 13 ) {
         step( standing );
      } else if ( op == 13 ) {
         clone( Standing( standing ) );
      } else {
         remove( standing, op == 14 );
      }
   }

   void check() {
      for ( Standing const& standing : standing_ ) {
         RC_ASSERT( static_cast< bool >( standing.typed ) == !standing.atEnd );
         RC_ASSERT( standing.byName->nonNull() == !standing.atEnd );
         if ( standing.atEnd ) {
            continue;
         }
         RC_ASSERT( standing.typed.key() == standing.member.key );
         RC_ASSERT(
            standing.byName->iterKey()->strRep() == std::to_string( standing.member.key ) );
         if ( present( standing ) ) {
            unsigned const value = placeOf( standing.member.key )->value;
            RC_ASSERT( standing.typed->value() == value );
            RC_ASSERT( standing.byName->iterObj()->strRep() == std::to_string( value ) );
         } else {
            RC_ASSERT( !standing.typed.ptr() );
            RC_ASSERT_THROWS_AS( standing.byName->iterObj(), Ryx::RangeException );
         }
      }
      RC_ASSERT( station_->notes().size() == row_.size() );
      auto expected = row_.begin();
      for ( Station::NoteStorage::Map::IteratorConst it( station_->notes() ); it; ++it ) {
         RC_ASSERT( it.key() == expected->key );
         RC_ASSERT( it->value() == expected->value );
         ++expected;
      }
   }

   Reached& reached_;
   laws::RyxWorld world_;
   Ryx::Ptr< Station > const station_ = Ryx::make< Station >( world_, 0u );
   Ryx::Ptr< Ryx::GenericIf > const byName_ =
      Ryx::make< Ryx::GenericIfOf< Station > >( station_, false );
   std::vector< Member > row_;
   std::vector< Standing > standing_;
   unsigned made_ = 0;
};

TEST( IteratorLaws, GoThroughAChangingCollectionAsThroughASortedRow ) {
   Reached reached;
   laws::check( [ &reached ] {
      ++reached.programs;
      Bench( reached ).run( *laws::anyWords( 2 ) );
      RC_ASSERT( laws::Resident::residents == 0 );
   } );
   if ( reached.programs < laws::enough ) {
      return;
   }
   EXPECT_GT( reached.memberGone, 0u );
   EXPECT_GT( reached.memberReplaced, 0u );
   EXPECT_GT( reached.atEnd, 0u );
}

} // namespace
