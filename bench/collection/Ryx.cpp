// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Ryx: a HashMap of records that carry their link.

#include <Ryx/HashMap>
#include <collection/Collection>

namespace {

class Subject {
 public:
   class Record final : public bench::Record, public Ryx::HashMapLink< Record > {
    public:
      using bench::Record::Record;
      Kovel::IntfId fwkKey() const noexcept { return key(); }
   };

   void insert( Ryx::Ptr< Record > const& record ) { map_.insert( record ); }
   void erase( Kovel::IntfId const& key ) { map_.remove( key ); }
   Record* find( Kovel::IntfId const& key ) const { return map_.find( key ); }
   unsigned sum() const {
      unsigned sum = 0;
      for ( Map::IteratorConst it( map_ ); it; ++it ) {
         sum += it->value;
      }
      return sum;
   }

 private:
   using Map = Ryx::HashMap< Record, Kovel::IntfId >;

   Map map_;
};

bool const measured = bench::measured< Subject >( "Ryx" );

} // namespace
