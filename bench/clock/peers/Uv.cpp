// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// libuv's timers.

#include <clock/Timers>

#include <cstdint>
#include <memory>
#include <uv.h>
#include <vector>

namespace {

// The loop's time is put back by `latest` before timers are armed, so that one turn of the
// loop, which brings it up to date, finds all of them due.
class Subject {
 public:
   explicit Subject( std::size_t timers ) {
      uv_loop_init( &loop_ );
      while ( timers_.size() < timers ) {
         timers_.push_back( std::make_unique< uv_timer_t >() );
         uv_timer_init( &loop_, timers_.back().get() );
         timers_.back()->data = this;
      }
      putBack();
   }
   Subject( Subject const& ) = delete;
   Subject& operator=( Subject const& ) = delete;
   ~Subject() {
      for ( auto const& timer : timers_ ) {
         uv_close( reinterpret_cast< uv_handle_t* >( timer.get() ), nullptr );
      }
      uv_run( &loop_, UV_RUN_DEFAULT );
      uv_loop_close( &loop_ );
   }

   void arm( std::size_t timer, Ryx::Seconds when ) {
      uv_timer_start( timers_[ timer ].get(), onTime, milliseconds( when ), 0 );
   }
   void fireAll() {
      uv_run( &loop_, UV_RUN_NOWAIT );
      putBack();
   }
   unsigned fired() const { return fired_; }

 private:
   static std::uint64_t milliseconds( Ryx::Seconds seconds ) {
      return static_cast< std::uint64_t >( seconds * 1000 );
   }
   static void onTime( uv_timer_t* timer ) {
      ++static_cast< Subject* >( timer->data )->fired_;
   }
   void putBack() {
      uv_update_time( &loop_ );
      loop_.time -= milliseconds( bench::latest );
   }

   uv_loop_t loop_;
   std::vector< std::unique_ptr< uv_timer_t > > timers_;
   unsigned fired_ = 0;
};

bool const measured = bench::measured< Subject >( "libuv" );

} // namespace
