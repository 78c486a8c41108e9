// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Clocks on containers of the standard library: a std::multimap by time, and a
// std::priority_queue in which the former arming of a timer stays until its time comes or
// such entries prevail.

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

class LazyClock {
   class NumberedTimer final : public Timer {
    public:
      unsigned long arming = 0;
   };

 public:
   explicit LazyClock( std::size_t timers )
         : timers_( makeTimers< NumberedTimer >( timers ) ) {}
   void arm( std::size_t timer, Ryx::Seconds when ) {
      if ( queue_.size() > 2 * timers_.size() + 16 ) {
         queue_.dropFormer();
      }
      timers_[ timer ]->arming = ++armings_;
      queue_.push( { when, armings_, timers_[ timer ].get() } );
   }
   void fireAll() {
      while ( !queue_.empty() && queue_.top().when <= bench::latest ) {
         Entry const due = queue_.top();
         queue_.pop();
         if ( due.isLast() ) {
            due.timer->arming = 0;
            due.timer->onTime();
         }
      }
   }
   unsigned fired() const { return firedBy( timers_ ); }

 private:
   struct Entry {
      bool isLast() const { return timer->arming == arming; }
      friend bool operator<( Entry const& a, Entry const& b ) {
         return a.when != b.when ? a.when > b.when : a.arming > b.arming;
      }

      Ryx::Seconds when;
      unsigned long arming;
      NumberedTimer* timer;
   };
   class Queue : public std::priority_queue< Entry > {
    public:
      void dropFormer() {
         std::erase_if( c, []( Entry const& entry ) { return !entry.isLast(); } );
         std::make_heap( c.begin(), c.end() );
      }
   };

   Queue queue_;
   Timers< NumberedTimer > timers_;
   unsigned long armings_ = 0;
};

bool const measured = bench::measured< MultimapClock >( "std::multimap" ) &&
   bench::measured< LazyClock >( "lazy std::priority_queue" );

} // namespace
