// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Deliveries within which a callback starts the first thread of the process.

#include "Threads"

#include <utility>

#include <sys/wait.h>
#include <unistd.h>

namespace threading {

namespace {

// A notifiee that does what it is told when it is called.
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

} // namespace

bool
playScene( std::string const& name ) {
   expect( Ryx::singleThreaded(), "a scene begins with one thread" );
   for ( Scene const& scene : scenes ) {
      if ( scene.name == name ) {
         scene.play();
         return true;
      }
   }
   return false;
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

} // namespace threading
