// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The one thing that is promised about threads: pointers to an object may be copied and
// released on any of them, by one that was started within a callback and while one of them
// pins and unpins it, too. Built with ThreadSanitizer by tests/threads/run.

#include <Ryx/Clock>
#include <Ryx/State>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <latch>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr unsigned threads = 4;
constexpr unsigned copies = 20000;

std::atomic< int > gone = 0;

// Its destructor reads what another thread may have written last.
class Node final : public Ryx::Entity {
 public:
   explicit Node( Ryx::Ptr< Node > next = nullptr ) : next_( std::move( next ) ) {}
   ~Node() override { gone += written_ == 1; }

   void write() { written_ = 1; }

 private:
   unsigned written_ = 0;
   Ryx::Ptr< Node > next_;
};

void
expect( bool fulfilled, char const* what ) {
   if ( !fulfilled ) {
      std::printf( "FAILED: %s\n", what );
      std::exit( 1 );
   }
}

// All begin at once, or the first would be done before the last is there.
template< class Work >
void
onEveryThread( Work work ) {
   std::latch begin( threads );
   std::vector< std::thread > running;
   for ( unsigned i = 0; i < threads; ++i ) {
      running.emplace_back( [ &begin, work, i ] {
         begin.arrive_and_wait();
         work( i );
      } );
   }
   for ( std::thread& thread : running ) {
      thread.join();
   }
}

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

// A notifier, and a notifiee that does what it is told when it is called.
class Lamp final : public Ryx::EntityOf< Lamp > {
 public:
   static constexpr std::string_view fwkTypeName = "Threads::Lamp";

   class NotifieeConst : public Ryx::NotifieeConstOf< Lamp, Ryx::Entity::NotifieeConst > {
    public:
      virtual void onLit() {}
   };
   static constexpr auto attributes() {
      return Ryx::AttributeList<
         Ryx::Value< "lit", &Lamp::lit_, &NotifieeConst::onLit > >();
   }
   ~Lamp() override { ++gone; }

   void litIs( unsigned v ) { set< &Lamp::lit_ >( v ); }

 private:
   unsigned lit_ = 0;
};

class Watcher final : public Lamp::NotifieeConst {
 public:
   Watcher( Ryx::Ptr< Lamp > const& lamp, std::string name, std::string& called )
         : name_( std::move( name ) ), called_( called ) {
      isWeakReferenceIs( true );
      notifierIs( lamp );
      isRegisteredNotifieeIs( true );
   }
   ~Watcher() override { called_ += '-' + name_; }

   void onLit() override {
      called_ += name_;
      if ( action ) {
         std::exchange( action, nullptr )();
      }
   }
   std::function< void() > action;

 private:
   std::string name_;
   std::string& called_;
};

class Timer final : public Ryx::Clock::NotifieeConst {
 public:
   explicit Timer( std::function< void() > given ) : action( std::move( given ) ) {}
   ~Timer() override { ++gone; }
   void onTime() override { action(); }

   std::function< void() > action;
};

// A lamp with three watchers, the second of which starts the first thread of the process.
struct Row {
   // Lets go of `given` on a thread that the callback waits for.
   template< class Given >
   void letGoElsewhere( Given& given ) {
      b->action = [ &given ] { std::thread( [ &given ] { given = nullptr; } ).join(); };
   }
   void light() {
      lamp->litIs( 1 );
      if ( thread.joinable() ) {
         thread.join();
      }
   }

   std::string called;
   Ryx::Ptr< Lamp > lamp = Ryx::make< Lamp >();
   Ryx::Ptr< Watcher > a = Ryx::make< Watcher >( lamp, "a", called );
   Ryx::Ptr< Watcher > b = Ryx::make< Watcher >( lamp, "b", called );
   Ryx::Ptr< Watcher > c = Ryx::make< Watcher >( lamp, "c", called );
   std::thread thread;
};

void
letGoOfALaterNotifiee() {
   Row row;
   row.letGoElsewhere( row.c );
   row.light();
   expect( row.called == "ab-c", "a later one that was let go elsewhere is not called" );
}

// What the deliveries do not need may go at any time.
void
letGoOfOthersMeanwhile() {
   Row row;
   Row inner;
   std::vector< Ryx::Ptr< Node > > nodes;
   for ( unsigned i = 0; i < copies; ++i ) {
      nodes.push_back( Ryx::make< Node >() );
      nodes.back()->write();
   }
   row.b->action = [ & ] {
      row.thread = std::thread( [ &nodes ] { nodes.clear(); } );
      auto const late = Ryx::make< Watcher >( row.lamp, "late", row.called );
      for ( unsigned i = 1; i < 100; ++i ) {
         inner.lamp->litIs( i );
      }
      row.a = nullptr;
   };
   row.light();
   expect( row.called == "ab-a-latec", "callbacks go on as ever" );
   expect( gone == copies, "every object went once, written" );
}

void
letGoOfTheNotifieeThatIsCalled() {
   Row row;
   row.letGoElsewhere( row.b );
   Watcher* const raw = row.b.ptr();
   row.a->action = [ &row, raw ] {
      auto start = std::exchange( raw->action, nullptr );
      raw->action = [ &row, start ] {
         start();
         expect( row.called == "ab", "the one that is called exists until it returns" );
      };
   };
   row.light();
   expect( row.called == "ab-bc", "it goes before the next is called" );
}

void
letGoOfTheNotifier() {
   Row row;
   row.letGoElsewhere( row.lamp );
   row.c->action = [] { expect( gone == 0, "the notifier exists until all were called" ); };
   row.light();
   expect( row.called == "abc" && gone == 1, "the notifier goes once" );
}

// Deliveries that begin later leave the outer one alone, and it them.
void
letGoWithinADeliveryInADelivery() {
   Row row;
   Row inner;
   row.letGoElsewhere( row.c );
   auto start = std::exchange( row.b->action, nullptr );
   row.b->action = [ &inner, start ] {
      start();
      inner.letGoElsewhere( inner.c );
      inner.light();
      inner.light();
   };
   row.light();
   expect( inner.called == "ab-c", "the inner delivery is like any other" );
   expect( row.called == "ab-c", "the outer one is, too" );
}

void
letGoOfATimer() {
   auto const clock = Ryx::make< Ryx::Clock >();
   Ryx::Ptr< Timer > timer;
   std::thread thread;
   timer = Ryx::make< Timer >( [ &timer, &thread ] {
      thread = std::thread( [ &timer ] { timer = nullptr; } );
      thread.join();
      expect( gone == 0, "a timer exists until its call returns" );
   } );
   timer->notifierIs( clock );
   timer->isRegisteredNotifieeIs( true );
   auto const other = Ryx::make< Timer >( [] { expect( gone == 1, "and no longer" ); } );
   other->notifierIs( clock );
   other->isRegisteredNotifieeIs( true );
   expect( clock->handleTime() == 2, "both timers are called" );
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

struct Scene {
   char const* name;
   void ( *play )();
};

// Each for a process of its own, which has had one thread only.
constexpr Scene scenes[] = {
   { "later notifiee", letGoOfALaterNotifiee },
   { "others meanwhile", letGoOfOthersMeanwhile },
   { "notifiee that is called", letGoOfTheNotifieeThatIsCalled },
   { "notifier", letGoOfTheNotifier },
   { "delivery in a delivery", letGoWithinADeliveryInADelivery },
   { "timer", letGoOfATimer },
};

int
playScene( std::string const& name ) {
   expect( Ryx::singleThreaded(), "a scene begins with one thread" );
   for ( Scene const& scene : scenes ) {
      if ( scene.name == name ) {
         scene.play();
         return 0;
      }
   }
   return 1;
}

void
playScenes( char const* program ) {
   for ( Scene const& scene : scenes ) {
      pid_t const child = fork();
      if ( child == 0 ) {
         execl( program, program, scene.name, nullptr );
         _exit( 1 );
      }
      int status = 1;
      expect( waitpid( child, &status, 0 ) == child && status == 0, scene.name );
   }
}

} // namespace

int
main( int argc, char** argv ) {
   if ( argc > 1 ) {
      return playScene( argv[ 1 ] );
   }
   playScenes( argv[ 0 ] );
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
   std::puts( "pointers were released elsewhere" );
   return 0;
}
