// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Pointers that several threads copy and release at a time.

#include "Threads"

namespace threading {

namespace {

// Copies that come and go on all threads leave the count as it was.
void
copyAndRelease() {
   auto const node = Ryx::make< Node >();
   node->write();
   constexpr unsigned rounds = 20;
   for ( unsigned round = 0; round < rounds; ++round ) {
      onEveryThread( [ &node ]( unsigned ) {
         std::vector< Ryx::Ptr< Node > > held;
         for ( unsigned i = 0; i < copies; ++i ) {
            held.push_back( node );
            if ( i % 3 == 0 ) {
               held.clear();
            }
         }
      } );
   }
   expect( node->references() == 1, "every copy was counted and released" );
}

// The last pointer goes on whichever thread is last, once, and what the others did to the
// object happened before.
void
releaseLast() {
   gone = 0;
   constexpr int rounds = 500;
   for ( int round = 0; round < rounds; ++round ) {
      auto node = Ryx::make< Node >();
      std::vector< Ryx::Ptr< Node > > shares( threads, node );
      node = nullptr;
      onEveryThread( [ &shares ]( unsigned i ) {
         if ( i == 0 ) {
            shares[ i ]->write();
         }
         shares[ i ] = nullptr;
      } );
   }
   expect( gone == rounds, "every object went once, written" );
}

// So do objects that hold each other.
void
releaseChains() {
   gone = 0;
   constexpr int length = 200;
   Ryx::Ptr< Node > chain;
   std::vector< Ryx::Ptr< Node > > nodes;
   for ( int i = 0; i < length; ++i ) {
      chain = Ryx::make< Node >( chain );
      chain->write();
      nodes.push_back( chain );
   }
   chain = nullptr;
   onEveryThread( [ &nodes ]( unsigned i ) {
      for ( std::size_t at = i; at < nodes.size(); at += threads ) {
         nodes[ at ] = nullptr;
      }
   } );
   expect( gone == length, "every object of the chain went once" );
}

// One thread pins and unpins while the others copy and release.
void
pinMeanwhile() {
   auto const node = Ryx::make< Node >();
   constexpr unsigned rounds = 2000;
   onEveryThread( [ &node ]( unsigned i ) {
      std::vector< Ryx::Ptr< Node > > held;
      for ( unsigned round = 0; round < rounds; ++round ) {
         if ( i == 0 ) {
            node->isNondestructingIs( round % 2 == 0 );
         } else {
            held.push_back( node );
            if ( round % 3 == 0 ) {
               held.clear();
            }
         }
      }
   } );
   expect( node->references() == 1, "every copy was counted, pinned or not" );
}

// A weak notifiee that is in no notifier's list.
class Unregistered final : public Lamp::NotifieeConst {
 public:
   explicit Unregistered( Ryx::Ptr< Lamp > const& lamp ) {
      isWeakReferenceIs( true );
      notifierIs( lamp );
   }
};

// They go on any thread while one of them binds others.
void
releaseUnregistered() {
   auto lamp = Ryx::make< Lamp >();
   std::vector< Ryx::Ptr< Unregistered > > notifiees;
   for ( unsigned i = 0; i < copies; ++i ) {
      notifiees.push_back( Ryx::make< Unregistered >( lamp ) );
   }
   onEveryThread( [ &notifiees, &lamp ]( unsigned i ) {
      for ( std::size_t at = i; at < notifiees.size(); at += threads ) {
         notifiees[ at ] = i == 0 ? Ryx::make< Unregistered >( lamp ) : nullptr;
      }
   } );
   lamp = nullptr;
   for ( auto const& notifiee : notifiees ) {
      expect(
         !notifiee || !notifiee->notifier(), "those that are left lose their notifier" );
   }
}

// So do timers that are bound to a clock and not registered.
void
releaseUnregisteredTimers() {
   gone = 0;
   auto const clock = Ryx::make< Ryx::Clock >();
   std::vector< Ryx::Ptr< Timer > > timers( copies );
   auto const bound = [ &clock ] {
      auto timer = Ryx::make< Timer >( nullptr );
      timer->notifierIs( clock );
      return timer;
   };
   for ( auto& timer : timers ) {
      timer = bound();
   }
   onEveryThread( [ &timers, &bound ]( unsigned i ) {
      for ( std::size_t at = i; at < timers.size(); at += threads ) {
         timers[ at ] = i == 0 ? bound() : nullptr;
      }
   } );
   timers.clear();
   expect( gone == copies + copies / threads, "every timer went once" );
}

} // namespace

void
releaseElsewhere() {
   // What was counted while there was one thread goes on being counted when there are more.
   auto const before = Ryx::make< Node >();
   auto const copy = before;
   expect( Ryx::singleThreaded(), "the process begins with one thread" );
   copyAndRelease();
   expect( !Ryx::singleThreaded(), "the process has had several threads" );
   releaseLast();
   releaseChains();
   pinMeanwhile();
   releaseUnregistered();
   releaseUnregisteredTimers();
   expect( before->references() == 2, "what one thread counted stands" );
}

} // namespace threading
