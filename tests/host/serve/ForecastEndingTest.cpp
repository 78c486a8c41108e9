// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How forecasts end, also if something keeps them from that; the host waits for none.

#include "LiveForecast"
#include "Shared"
#include "SignalAction"

#include <host/base/Failure>

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>

using ostra::asLines;
using ostra::Failure;
using ostra::ForecastLimits;
using ostra::Forecasts;
using ostra::hasChild;
using ostra::pauseForEver;
using ostra::RecordOutput;
using ostra::Shared;
using testing::ElementsAre;

namespace {

// A process that traces another one, which cannot be reaped as long as that goes on, whatever
// kills it.
class Tracer {
 public:
   enum State { none, tracing, refused, gone };

   // In the process that is to be traced.
   void start() {
      prctl( PR_SET_PTRACER, PR_SET_PTRACER_ANY );
      pid_t const traced = getpid();
      if ( fork() == 0 ) {
         bool const isTracing = ptrace( PTRACE_SEIZE, traced, 0, 0 ) == 0;
         *state_ = isTracing ? tracing : refused;
         // Not for ever when nobody ends it.
         for ( int i = 0; i < 500 && *state_ == tracing; ++i ) {
            usleep( 10'000 );
         }
         *state_ = gone;
         _exit( 0 );
      }
   }
   State state() const { return *state_; }
   State waited() const {
      while ( *state_ == none ) {
         usleep( 1'000 );
      }
      return *state_;
   }
   void end() { *state_ = gone; }

 private:
   Shared< State > state_;
};

// The library of the loop gets memory so many times, and then none as long as this lives.
class LoopMemory {
 public:
   explicit LoopMemory( int times ) {
      left = times;
      event_set_mem_functions( some, std::realloc, std::free );
   }
   ~LoopMemory() { event_set_mem_functions( std::malloc, std::realloc, std::free ); }
   LoopMemory( LoopMemory const& ) = delete;
   LoopMemory& operator=( LoopMemory const& ) = delete;

 private:
   static void* some( std::size_t size ) {
      return left-- > 0 ? std::malloc( size ) : nullptr;
   }

   static inline int left;
};

int
openDescriptors() {
   int open = 0;
   for ( int descriptor = 0; descriptor < 1024; ++descriptor ) {
      open += fcntl( descriptor, F_GETFD ) != -1 ? 1 : 0;
   }
   return open;
}

class ForecastEnding : public ostra::LiveForecast {};

} // namespace

TEST_F( ForecastEnding, IsEndedWhenNobodyWantsItAndWithTheHost ) {
   process.start();
   auto const never = []( std::ostream& ) -> RecordOutput { pauseForEver(); };
   auto& live = process.host().live();
   auto const scenario = ostra::readForecast( live, "{}" );
   {
      Forecasts forecasts( process.loop().base(), live );
      auto const id =
         forecasts.start( scenario, never, []( Forecasts::Outcome ) { ADD_FAILURE(); } );
      EXPECT_TRUE( forecasts.hasRoom() );
      EXPECT_FALSE( forecasts.hasRoom( 1 ) );
      forecasts.cancel( id );
      EXPECT_TRUE( forecasts.hasRoom( 1 ) );
      turnUntilNoChild();
      forecasts.start( scenario, never, []( Forecasts::Outcome ) { ADD_FAILURE(); } );
      forecasts.start( scenario, never, []( Forecasts::Outcome ) { ADD_FAILURE(); } );
      EXPECT_FALSE( forecasts.hasRoom() );
      EXPECT_TRUE( hasChild() );
   }
   // They are killed; on a busy machine they may take longer to go than the host waits.
   for ( int i = 0; i < 30'000 && hasChild(); ++i ) {
      waitpid( -1, nullptr, WNOHANG );
      usleep( 1'000 );
   }
   EXPECT_FALSE( hasChild() );
}

TEST_F( ForecastEnding, ThatHasStoppedHoldsNobodyUp ) {
   process.start();
   Shared< bool > hasToldAll;
   // It has told all that it will, as if it were at its end.
   auto const stop = [ &hasToldAll ]( std::ostream& ) -> RecordOutput {
      close( 0 );
      *hasToldAll = true;
      raise( SIGSTOP );
      pauseForEver();
   };
   std::vector< std::string > ended;
   auto const take = [ &ended ]( Forecasts::Outcome outcome ) {
      ended.push_back( outcome.problem ? outcome.problem->found : "whole" );
   };
   auto& live = process.host().live();
   auto const scenario = ostra::readForecast( live, "{}" );
   event_base* const base = process.loop().base();
   ForecastLimits patient;
   patient.time = std::chrono::minutes( 2 );
   Forecasts forecasts( base, live, patient );
   auto const stopped = forecasts.start( scenario, stop, take );
   while ( !*hasToldAll ) {
      usleep( 1'000 );
   }
   forecasts.start( scenario, asLines, take );
   while ( ended.empty() ) {
      event_base_loop( base, EVLOOP_ONCE );
   }
   EXPECT_THAT( ended, ElementsAre( "whole" ) );
   EXPECT_EQ( forecasts.running(), 1U );
   forecasts.cancel( stopped );

   ForecastLimits brief;
   brief.time = std::chrono::milliseconds( 200 );
   Forecasts hurried( base, live, brief );
   hurried.start( scenario, stop, take );
   while ( ended.size() < 2 ) {
      event_base_loop( base, EVLOOP_ONCE );
   }
   EXPECT_EQ( ended.back(), "not over after 200 ms" );
   turnUntilNoChild();
}

TEST_F( ForecastEnding, ThatCannotBeReapedHoldsNobodyUp ) {
   process.start();
   Tracer tracer;
   auto const traced = [ &tracer ]( std::ostream& ) -> RecordOutput {
      tracer.start();
      pauseForEver();
   };
   auto& live = process.host().live();
   auto const scenario = ostra::readForecast( live, "{}" );
   Forecasts forecasts( process.loop().base(), live );
   auto const id =
      forecasts.start( scenario, traced, []( Forecasts::Outcome ) { ADD_FAILURE(); } );
   if ( tracer.waited() == Tracer::refused ) {
      GTEST_SKIP() << "a process may not trace another one here";
   }
   forecasts.cancel( id );
   EXPECT_EQ( tracer.state(), Tracer::tracing );
   EXPECT_TRUE( forecasts.hasRoom( 1 ) );
   int turns = 0;
   while ( event_base_loop( process.loop().base(), EVLOOP_NONBLOCK ) == 0 && turns < 100 ) {
      ++turns;
   }
   EXPECT_EQ( turns, 100 );
   EXPECT_EQ( tracer.state(), Tracer::tracing );
   EXPECT_TRUE( hasChild() );
   tracer.end();
   turnUntilNoChild();
}

TEST_F( ForecastEnding, ThatIsNotGoneTakesARoomWhenTooManyAreLikeThat ) {
   process.start();
   Tracer tracer;
   auto const traced = [ &tracer ]( std::ostream& ) -> RecordOutput {
      tracer.start();
      pauseForEver();
   };
   ForecastLimits limits;
   limits.atOnce = 1;
   auto& live = process.host().live();
   Forecasts forecasts( process.loop().base(), live, limits );
   auto const id = forecasts.start(
      ostra::readForecast( live, "{}" ), traced, []( Forecasts::Outcome ) {} );
   if ( tracer.waited() == Tracer::refused ) {
      GTEST_SKIP() << "a process may not trace another one here";
   }
   forecasts.cancel( id );
   EXPECT_FALSE( forecasts.hasRoom() );
   tracer.end();
   turnUntilNoChild();
   EXPECT_TRUE( forecasts.hasRoom() );
}

// One behind the other they would take three seconds.
TEST_F( ForecastEnding, ThoseThatAreNotGoneAreWaitedForTogether ) {
   using Clock = std::chrono::steady_clock;
   // What it would be at least, if they were waited for one after another.
   constexpr std::chrono::milliseconds inARow( 2700 );
   auto taken = Clock::duration::max();
   for ( int tries = 0; tries < 10 && taken >= inARow; ++tries ) {
      std::array< Tracer, 3 > tracers;
      {
         ostra::EndingChildren ending;
         for ( Tracer& tracer : tracers ) {
            pid_t const copy = fork();
            if ( copy == 0 ) {
               tracer.start();
               pauseForEver();
            }
            auto const end = static_cast< int >( syscall( SYS_pidfd_open, copy, 0 ) );
            if ( tracer.waited() == Tracer::refused ) {
               kill( copy, SIGKILL );
               waitpid( copy, nullptr, 0 );
               close( end );
               GTEST_SKIP() << "a process may not trace another one here";
            }
            ending.add(
               std::make_unique< ostra::ChildEnd >(
                  process.loop().base(), ostra::Child{ copy, end }, []( int ) {} ),
               [] { ADD_FAILURE(); } );
         }
         taken = Clock::duration( Clock::now().time_since_epoch() );
      }
      taken = Clock::now().time_since_epoch() - taken;
      for ( Tracer& tracer : tracers ) {
         // On a machine that is too slow it was not there all the time.
         taken = tracer.state() == Tracer::tracing ? taken : Clock::duration::max();
         tracer.end();
      }
      while ( hasChild() ) {
         waitpid( -1, nullptr, 0 );
      }
   }
   if ( taken == Clock::duration::max() ) {
      GTEST_SKIP() << "this machine is too slow";
   }
   EXPECT_GE( taken, std::chrono::milliseconds( 900 ) );
   EXPECT_LT( taken, inARow );
}

TEST_F( ForecastEnding, CopiesOfAllKindsAreKilledBeforeAnyIsWaitedFor ) {
   process.start();
   auto const never = []( std::ostream& ) -> RecordOutput { pauseForEver(); };
   auto& live = process.host().live();
   auto const scenario = ostra::readForecast( live, "{}" );
   {
      Forecasts one( process.loop().base(), live );
      one.start( scenario, never, []( Forecasts::Outcome ) { ADD_FAILURE(); } );
   }
   // Nobody has waited for it, and whoever began it hears no more of it.
   EXPECT_TRUE( hasChild() );
   turnUntilNoChild();
}

// The third event of a forecast is that of its end.
TEST_F( ForecastEnding, IsOverAtOnceWhenTheLoopHasNoMemoryToHearOfIt ) {
   process.start();
   auto& live = process.host().live();
   auto const scenario = ostra::readForecast( live, "{}" );
   auto const never = []( std::ostream& ) -> RecordOutput { pauseForEver(); };
   ForecastLimits limits;
   limits.atOnce = 1;
   Forecasts forecasts( process.loop().base(), live, limits );
   int const open = openDescriptors();
   for ( int left = 0; left < 3; ++left ) {
      {
         LoopMemory const memory( left );
         EXPECT_THROW(
            forecasts.start( scenario, never, []( Forecasts::Outcome ) { ADD_FAILURE(); } ),
            Failure )
            << left;
      }
      EXPECT_FALSE( hasChild() );
      EXPECT_EQ( openDescriptors(), open );
      EXPECT_EQ( forecasts.running(), 0U );
      EXPECT_TRUE( forecasts.hasRoom() );
   }
   forecasts.start( scenario, never, []( Forecasts::Outcome ) { ADD_FAILURE(); } );
   EXPECT_EQ( forecasts.running(), 1U );
}

TEST_F( ForecastEnding, IsWaitedForAlthoughSignalsComeMeanwhile ) {
   ostra::SignalAction const heard( SIGUSR1, []( int ) {} );
   pid_t const host = getpid();
   pid_t const copy = fork();
   if ( copy == 0 ) {
      for ( int i = 0; i < 100; ++i ) {
         kill( host, SIGUSR1 );
         usleep( 1'000 );
      }
      _exit( 0 );
   }
   auto const end = static_cast< int >( syscall( SYS_pidfd_open, copy, 0 ) );
   ostra::ChildEnd child( process.loop().base(), { copy, end }, []( int ) {} );
   child.wait( std::chrono::minutes( 10 ) );
   EXPECT_FALSE( hasChild() );
}

TEST_F( ForecastEnding, NeedsADescriptorThatTheLoopCanHear ) {
   // Nobody can wait for a file.
   std::FILE* const file = std::tmpfile();
   EXPECT_THROW(
      ostra::ChildEnd( process.loop().base(), { getpid(), fileno( file ) }, []( int ) {} ),
      Failure );
   EXPECT_EQ( std::fclose( file ), 0 );
}
