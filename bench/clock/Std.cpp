// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Clocks on containers of the standard library: a std::multimap by time, and a
// std::priority_queue in which the former arming of a timer stays until its time comes or
// such entries prevail; the latter also with what a firing of Ryx promises.

#include <Ryx/Exception>
#include <clock/Timers>

#include <algorithm>
#include <map>
#include <memory>
#include <queue>
#include <vector>

namespace {

class Timer {
 public:
   virtual ~Timer() = default;
   virtual void onTime() { ++fired; }

   unsigned fired = 0;
};

// Each is an object of its own.
template< class Timer >
using Timers = std::vector< std::unique_ptr< Timer > >;

template< class Timer >
Timers< Timer >
makeTimers( std::size_t count ) {
   Timers< Timer > timers;
   while ( timers.size() < count ) {
      timers.push_back( std::make_unique< Timer >() );
   }
   return timers;
}

template< class Timers >
unsigned
firedBy( Timers const& timers ) {
   unsigned fired = 0;
   for ( auto const& timer : timers ) {
      fired += timer->fired;
   }
   return fired;
}

// A timer has the node of its entry at all times, so that none is allocated.
class MultimapClock {
   class Entry;
   using Queue = std::multimap< Ryx::Seconds, Entry* >;
   class Entry final : public Timer {
    public:
      Queue::node_type node;
      Queue::iterator place;
   };

 public:
   explicit MultimapClock( std::size_t timers ) : timers_( makeTimers< Entry >( timers ) ) {
      for ( auto const& timer : timers_ ) {
         timer->node = queue_.extract( queue_.emplace( 0, timer.get() ) );
      }
   }
   void arm( std::size_t timer, Ryx::Seconds when ) {
      Entry& entry = *timers_[ timer ];
      if ( !entry.node ) {
         entry.node = queue_.extract( entry.place );
      }
      entry.node.key() = when;
      entry.place = queue_.insert( std::move( entry.node ) );
   }
   void fireAll() {
      while ( !queue_.empty() && queue_.begin()->first <= bench::latest ) {
         Entry* const due = queue_.begin()->second;
         due->node = queue_.extract( queue_.begin() );
         due->onTime();
      }
   }
   unsigned fired() const { return firedBy( timers_ ); }

 private:
   Queue queue_;
   Timers< Entry > timers_;
};

// Promises says what a timer is, what a firing does with it, and what time it is.
template< class Promises >
class LazyClock {
   using NumberedTimer = typename Promises::Timer;

 public:
   explicit LazyClock( std::size_t timers )
         : timers_( makeTimers< NumberedTimer >( timers ) ) {
      for ( auto const& timer : timers_ ) {
         timer->registration = ++registrations_;
      }
   }
   void arm( std::size_t timer, Ryx::Seconds when ) {
      if ( queue_.size() > 2 * timers_.size() + 16 ) {
         queue_.dropFormer();
      }
      NumberedTimer& armed = *timers_[ timer ];
      armed.arming = ++armings_;
      queue_.push( { when, armings_, &armed } );
   }
   void fireAll() {
      Promises::timeIs( bench::latest );
      while ( !queue_.empty() && queue_.top().when <= Promises::now() ) {
         Entry const due = queue_.top();
         queue_.pop();
         if ( due.isLast() ) {
            due.timer->arming = 0;
            Promises::fire( *due.timer );
         }
      }
      Promises::timeIs( 0 );
   }
   unsigned fired() const { return firedBy( timers_ ); }

 private:
   struct Entry {
      bool isLast() const { return timer->arming == arming; }
      friend bool operator<( Entry const& a, Entry const& b ) {
         return a.when != b.when ? a.when > b.when
                                 : Promises::order( a ) > Promises::order( b );
      }

      Ryx::Seconds when;
      unsigned long arming;
      NumberedTimer* timer;
   };
   class Queue : public std::priority_queue< Entry > {
    public:
      void dropFormer() {
         std::erase_if( this->c, []( Entry const& entry ) { return !entry.isLast(); } );
         std::make_heap( this->c.begin(), this->c.end() );
      }
   };

   Queue queue_;
   Timers< NumberedTimer > timers_;
   unsigned long armings_ = 0;
   unsigned long registrations_ = 0;
};

class NumberedTimer : public Timer {
 public:
   unsigned long arming = 0;
   unsigned long registration = 0;
};

struct NoPromises {
   using Timer = NumberedTimer;

   static void timeIs( Ryx::Seconds ) {}
   static Ryx::Seconds now() { return bench::latest; }
   static unsigned long order( auto const& entry ) { return entry.arming; }
   static void fire( Timer& timer ) { timer.onTime(); }
};

class HostTime final : public Ryx::TimeSource {
 public:
   Ryx::Seconds now() const override { return value; }

   Ryx::Seconds value = 0;
};

// What a firing of Ryx promises: a timer that is called is kept, what it throws goes to it
// and to nobody else and is known to be expected, equal times come in order of
// registration, the time is what the host says at every call, and a timer may be one that
// is called later by somebody else.
struct SamePromises {
   class Timer : public NumberedTimer {
    public:
      virtual void onException() {}

      unsigned references = 1;
      bool isDeferred = false;
   };

   static inline HostTime time;
   static inline std::vector< Timer* > deferred;

   static void timeIs( Ryx::Seconds value ) {
      time.value = value;
      Ryx::timeSourceIs( &time );
   }
   static Ryx::Seconds now() { return Ryx::now(); }
   static unsigned long order( auto const& entry ) { return entry.timer->registration; }
   static void fire( Timer& timer ) {
      ++timer.references;
      if ( timer.isDeferred ) {
         deferred.push_back( &timer );
      } else {
         try {
            Ryx::Expect const scope( 0 );
            timer.onTime();
         } catch ( ... ) {
            timer.onException();
         }
      }
      if ( --timer.references == 0 ) {
         delete &timer;
      }
   }
};

bool const measured = bench::measured< MultimapClock >( "std::multimap" ) &&
   bench::measured< LazyClock< NoPromises > >( "lazy std::priority_queue" ) &&
   bench::measured< LazyClock< SamePromises > >( "lazy queue with the same promises" );

} // namespace
