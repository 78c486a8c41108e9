// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What any delivery costs at least: a loop over virtual calls, which nobody may leave while it
// runs, and a loop over a snapshot of counted references, as plain as it can be.

#include <delivery/Delivery>
#include <delivery/LoopListener>

#include <array>
#include <memory>
#include <vector>

namespace {

using Listener = bench::LoopListener;

class Cell {
 public:
   explicit Cell( std::size_t listeners ) {
      while ( listeners_.size() < listeners ) {
         listeners_.push_back( bench::loopListener() );
         watching_.push_back( listeners_.back().get() );
      }
   }
   unsigned heard() const { return listeners_.front()->heard; }

 protected:
   // False when it is stored already.
   bool store( int value ) {
      if ( value_ == value ) {
         return false;
      }
      value_ = value;
      return true;
   }
   std::vector< Listener* > const& watching() const { return watching_; }

 private:
   int value_ = 0;
   std::vector< std::unique_ptr< Listener > > listeners_;
   std::vector< Listener* > watching_;
};

class RawLoop : public Cell {
 public:
   using Cell::Cell;
   void set( int value ) {
      if ( store( value ) ) {
         for ( Listener* listener : watching() ) {
            listener->onValue();
         }
      }
   }
};

class SnapshotLoop : public Cell {
 public:
   using Cell::Cell;
   void set( int value ) {
      if ( !store( value ) || watching().empty() ) {
         return;
      }
      std::size_t const size = watching().size();
      std::array< Listener*, 16 > few;
      std::unique_ptr< Listener*[] > const many(
         size > few.size() ? new Listener*[ size ] : nullptr );
      Listener** const snapshot = many ? many.get() : few.data();
      for ( std::size_t i = 0; i < size; ++i ) {
         snapshot[ i ] = watching()[ i ];
         ++snapshot[ i ]->references;
      }
      for ( std::size_t i = 0; i < size; ++i ) {
         snapshot[ i ]->onValue();
         --snapshot[ i ]->references;
      }
   }
};

bool const measured = bench::measuredSet< RawLoop >( "set/raw loop" ) &&
   bench::measuredSet< SnapshotLoop >( "set/snapshot loop" );

} // namespace
