// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// sigc++.

#include <delivery/Delivery>

#include <sigc++/sigc++.h>

#include <deque>

namespace {

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
         changed_.emit( value );
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
   sigc::signal< void, int > changed_;
   sigc::connection another_;
};

bool const measured = bench::measuredSet< Subject >( "set/sigc++" ) &&
   bench::measuredConnect< Subject >( "connect/sigc++" );

} // namespace
