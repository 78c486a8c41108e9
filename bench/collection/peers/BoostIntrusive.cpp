// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// boost::intrusive::unordered_set at its quickest: tables of a power of two that are doubled
// when members outnumber buckets, links that are not checked.

#include <collection/Collection>

#include <boost/intrusive/unordered_set.hpp>

#include <memory>

namespace {

namespace intrusive = boost::intrusive;

class Subject {
 public:
   class Record final : public bench::Record,
                        public intrusive::unordered_set_base_hook<
                           intrusive::link_mode< intrusive::normal_link > > {
    public:
      using bench::Record::Record;
   };

   Subject() = default;
   Subject( Subject const& ) = delete;
   Subject& operator=( Subject const& ) = delete;
   ~Subject() {
      set_.clear_and_dispose( []( Record* record ) { record->deleteReference(); } );
   }

   void insert( Ryx::Ptr< Record > const& record ) {
      record->newReference();
      set_.insert( *record );
      if ( set_.size() > set_.bucket_count() ) {
         grow();
      }
   }
   void erase( Kovel::IntfId const& key ) {
      set_.erase_and_dispose( key, []( Record* record ) { record->deleteReference(); } );
   }
   Record* find( Kovel::IntfId const& key ) const {
      auto const found = set_.find( key );
      return found == set_.end() ? nullptr : const_cast< Record* >( &*found );
   }
   unsigned sum() const {
      unsigned sum = 0;
      for ( Record const& record : set_ ) {
         sum += record.value;
      }
      return sum;
   }

 private:
   struct KeyOf {
      using type = Kovel::IntfId;
      type const& operator()( Record const& record ) const { return record.key(); }
   };
   using Set = intrusive::unordered_set<
      Record,
      intrusive::key_of_value< KeyOf >,
      intrusive::hash< std::hash< Kovel::IntfId > >,
      intrusive::power_2_buckets< true > >;
   using Buckets = std::unique_ptr< Set::bucket_type[] >;

   void grow() {
      std::size_t const count = 2 * set_.bucket_count();
      Buckets buckets( new Set::bucket_type[ count ] );
      set_.rehash( Set::bucket_traits( buckets.get(), count ) );
      buckets_ = std::move( buckets );
   }

   static constexpr std::size_t fewestBuckets = 8;

   Buckets buckets_{ new Set::bucket_type[ fewestBuckets ] };
   Set set_{ Set::bucket_traits( buckets_.get(), fewestBuckets ) };
};

bool const measured = bench::measured< Subject >( "boost::intrusive::unordered_set" );

} // namespace
