// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Loop>

#include <host/base/Failure>

#include <Ryx/Activity>
#include <Ryx/Clock>

#include <event2/event.h>

#include <cstdint>
#include <string>
#include <utility>

#include <unistd.h>

namespace ostra {

namespace {

[[noreturn]] void
fail( char const* what ) {
   throw Failure( ExitStatus::failed, std::string( "ostra: no " ) + what );
}

// Reading it is all: its only message is that the loop goes on.
void
drain( evutil_socket_t descriptor, short, void* ) {
   std::uint64_t expirations = 0;
   static_cast< void >( !::read( descriptor, &expirations, sizeof expirations ) );
}

void
perform( evutil_socket_t, short, void* task ) {
   ( *static_cast< Loop::Task* >( task ) )();
}

} // namespace

void
Loop::Deleter::operator()( event_base* base ) const noexcept {
   event_base_free( base );
}

void
Loop::Deleter::operator()( event* event ) const noexcept {
   event_free( event );
}

Loop::Loop( LiveTime& time ) : time_( time ), base_( event_base_new() ) {
   if ( !base_ ) {
      fail( "event loop" );
   }
   if ( time_.clock().descriptor() >= 0 ) {
      addTimer();
   }
}

Loop::~Loop() = default;

void
Loop::addTimer() {
   Event timer( event_new(
      base(), time_.clock().descriptor(), EV_READ | EV_PERSIST, drain, nullptr ) );
   if ( !timer || event_add( timer.get(), nullptr ) != 0 ) {
      fail( "timer" );
   }
   events_.push_back( std::move( timer ) );
}

void
Loop::signalIs( int signal, Task task ) {
   tasks_.push_back( std::make_unique< Task >( std::move( task ) ) );
   Event event( evsignal_new( base(), signal, perform, tasks_.back().get() ) );
   if ( !event || event_add( event.get(), nullptr ) != 0 ) {
      fail( "signal handler" );
   }
   events_.push_back( std::move( event ) );
}

void
Loop::guard( Task const& task ) noexcept {
   try {
      task();
   } catch ( ... ) {
      failure_ = std::current_exception();
      event_base_loopbreak( base() );
   }
}

void
Loop::run() {
   while ( !isStopped_ ) {
      turn( EVLOOP_ONCE );
   }
}

void
Loop::turn() {
   turn( EVLOOP_NONBLOCK );
}

void
Loop::turn( int flags ) {
   auto const clock = Ryx::activityManager()->clock();
   time_.clock().wakeUpIs( clock->nextTimeMin() );
   event_base_loop( base(), flags );
   if ( failure_ ) {
      std::rethrow_exception( std::exchange( failure_, nullptr ) );
   }
   time_.refresh();
   isQuiet_ = clock->handleTime() == 0;
   turnEnd_();
   isQuiet_ = false;
}

} // namespace ostra
