// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Boost.Signals2, told that there are no threads.

#include <delivery/Delivery>

#include <boost/signals2/connection.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal.hpp>
#include <boost/signals2/signal_type.hpp>

#include <deque>

namespace {

namespace signals2 = boost::signals2;
using Signal = signals2::signal_type<
   void( int ),
   signals2::keywords::mutex_type< signals2::dummy_mutex > >::type;

class Subject {
 public:
   explicit Subject( std::size_t listeners ) : heard_( listeners ) {
      for ( unsigned& heard : heard_ ) {
         changed_.connect( [ &heard ]( int ) { ++heard; } );
      }
   }
   void set( int value ) {
      if ( value_ != value ) {
         value_ = value;
         changed_( value );
      }
   }
   unsigned heard() const { return heard_.front(); }
   void connect() {
      another_ = changed_.connect( [ this ]( int ) { ++heardByAnother_; } );
   }
   void disconnect() { another_.disconnect(); }

 private:
   int value_ = 0;
   std::deque< unsigned > heard_;
   unsigned heardByAnother_ = 0;
   Signal changed_;
   signals2::connection another_;
};

bool const measured = bench::measuredSet< Subject >( "set/Boost.Signals2" ) &&
   bench::measuredConnect< Subject >( "connect/Boost.Signals2" );

} // namespace
