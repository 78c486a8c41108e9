// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/ChildEnd>

#include <host/base/Failure>

#include <cerrno>
#include <csignal>
#include <utility>

#include <event2/event.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostra {

void
ChildEnd::Deleter::operator()( event* event ) const noexcept {
   event_free( event );
}

// By edges: a process that traces the child hears of its end first, and until then the
// descriptor is readable and the child cannot be reaped.
ChildEnd::ChildEnd( event_base* base, Child child, Ended ended )
      : child_( child ),
        ended_( std::move( ended ) ),
        event_( event_new(
           base,
           child.end,
           EV_READ | EV_PERSIST | EV_ET,
           []( int, short, void* self ) { static_cast< ChildEnd* >( self )->look(); },
           this ) ) {
   if ( !event_ || event_add( event_.get(), nullptr ) != 0 ) {
      throw Failure( ExitStatus::failed, "no event for the end of a process" );
   }
}

ChildEnd::~ChildEnd() {
   event_.reset();
   close( child_.end );
}

void
ChildEnd::kill() noexcept {
   if ( !isReaped_ ) {
      ::kill( child_.pid, SIGKILL );
   }
}

std::optional< int >
ChildEnd::reap() noexcept {
   if ( isReaped_ ) {
      return std::nullopt;
   }
   int status = 0;
   pid_t const ended = waitpid( child_.pid, &status, WNOHANG );
   isReaped_ = ended == child_.pid || ( ended < 0 && errno == ECHILD );
   return ended == child_.pid ? std::optional( status ) : std::nullopt;
}

void
ChildEnd::look() {
   if ( auto const status = reap() ) {
      event_del( event_.get() );
      Ended const ended = std::move( ended_ );
      ended( *status );
   }
}

void
ChildEnd::wait( std::chrono::milliseconds longest ) noexcept {
   using Clock = std::chrono::steady_clock;
   auto const last = Clock::now() + longest;
   reap();
   // A signal ends a wait before its time.
   for ( auto left = longest; !isReaped_ && left.count() > 0;
         left = std::chrono::duration_cast< std::chrono::milliseconds >(
            last - Clock::now() ) ) {
      pollfd end{ child_.end, POLLIN, 0 };
      poll( &end, 1, static_cast< int >( left.count() ) );
      reap();
   }
}

EndingChildren::~EndingChildren() {
   using Clock = std::chrono::steady_clock;
   auto const last = Clock::now() + std::chrono::seconds( 1 );
   for ( auto const& [ pid, child ] : children_ ) {
      child->wait(
         std::chrono::duration_cast< std::chrono::milliseconds >( last - Clock::now() ) );
   }
}

void
EndingChildren::add( std::unique_ptr< ChildEnd > child, std::function< void() > gone ) {
   pid_t const pid = child->pid();
   child->kill();
   child->endedIs( [ this, pid, gone = std::move( gone ) ]( int ) {
      children_.erase( pid );
      gone();
   } );
   children_[ pid ] = std::move( child );
}

} // namespace ostra
