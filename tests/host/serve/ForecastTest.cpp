// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Forecasts: that they change nothing, what bounds them, and how they end.

#include "LiveProcess"
#include "Shared"

#include <host/run/NdjsonSink>
#include <host/serve/Forecast>

#include <gmock/gmock.h>

#include <fmt/format.h>

#include <atomic>
#include <cerrno>
#include <csignal>

#include <event2/event.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using ostra::asLines;
using ostra::FakeDriver;
using ostra::ForecastLimits;
using ostra::Forecasts;
using ostra::Json;
using ostra::LiveProcess;
using ostra::Milliseconds;
using ostra::PatchRefusal;
using ostra::RecordOutput;
using ostra::reloadedSwitch;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

namespace {

bool
hasChild() {
   siginfo_t child{};
   return waitid( P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT ) == 0 || errno != ECHILD;
}

[[noreturn]] void
pauseForEver() {
   for ( ;; ) {
      pause();
   }
}

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
   ostra::Shared< State > state_;
};

class Forecast : public testing::Test {
 protected:
   // Lets the loop go on until no child is left, or for some seconds.
   void turnUntilNoChild() {
      for ( int i = 0; i < 5'000 && hasChild(); ++i ) {
         event_base_loop( process.loop().base(), EVLOOP_NONBLOCK );
         usleep( 1'000 );
      }
      EXPECT_FALSE( hasChild() );
   }
   // Of one that is played to its end by the loop.
   Forecasts::Outcome outcomeOf(
      std::string const& text,
      ostra::MakeRecordOutput const& makeOutput = asLines,
      ForecastLimits const& limits = {} ) {
      event_base* const base = process.loop().base();
      Forecasts forecasts( base, process.host().live(), limits );
      auto const scenario = ostra::readForecast( process.host().live(), text );
      std::optional< Forecasts::Outcome > taken;
      forecasts.start( scenario, makeOutput, [ &taken ]( Forecasts::Outcome outcome ) {
         taken = std::move( outcome );
      } );
      while ( !taken ) {
         event_base_loop( base, EVLOOP_ONCE );
      }
      EXPECT_EQ( forecasts.running(), 0U );
      turnUntilNoChild();
      return *std::move( taken );
   }
   std::vector< Json > forecast( std::string const& text ) {
      auto const outcome = outcomeOf( text );
      EXPECT_FALSE( outcome.problem ) << outcome.problem->found;
      return ostra::jsonLines( outcome.records );
   }
   std::string problemOf(
      ostra::MakeRecordOutput const& makeOutput, ForecastLimits const& limits = {} ) {
      auto const outcome = outcomeOf( "{}", makeOutput, limits );
      return outcome.problem ? outcome.problem->found : "none";
   }
   PatchRefusal::Kind refusal( std::string const& text ) {
      try {
         ostra::readForecast( process.host().live(), text );
      } catch ( PatchRefusal const& refused ) {
         complaint = refused.complaint();
         return refused.kind();
      }
      ADD_FAILURE() << text;
      return PatchRefusal::Kind::notFound;
   }

 private:
   ostra::TemporaryDirectory const directory_;

 protected:
   ostra::SimulatedClock clock;
   FakeDriver driver;
   LiveProcess process{ directory_.path(), clock, driver };
   ostra::Complaint complaint;
};

} // namespace

TEST_F( Forecast, ChangesNothing ) {
   process.start( reloadedSwitch() );
   Json const state = process.at( {} );
   auto const history = process.history();
   auto const records = forecast( R"({"patch": {"mlagStatus": {"mlagState": 3}}})" );
   EXPECT_EQ(
      records.back().at( "state" ).at( "mlagissuCause" ).at( "intfStatus" ),
      Json::object() );
   process.turn();
   EXPECT_EQ( process.at( {} ), state );
   EXPECT_EQ( process.history(), history );
   EXPECT_EQ( process.host().live().revision(), 0 );
   process.pass( 20'000 );
   EXPECT_THAT( process.errdisabled(), SizeIs( 1 ) );
}

TEST_F( Forecast, CountsFromThePresentAndEndsWhenNothingIsLeft ) {
   process.start( reloadedSwitch() );
   // Of a driver that is silent the host awaits answers, which is no part of it.
   driver.isSilent = true;
   EXPECT_EQ(
      process.patch( R"({"ethPhyIntfStatus": {"intfStatus": {"Ethernet7": {}}}})" ), "" );
   clock.moment += Milliseconds( 3500 );
   auto const records = forecast( "{}" );
   EXPECT_EQ( records.back().at( "type" ), "end" );
   EXPECT_EQ( records.back().at( "t" ), 26.5 );
   EXPECT_EQ( forecast( R"({"until": 1.25})" ).back().at( "t" ), 1.25 );
   EXPECT_EQ(
      forecast( R"({"patch": {"mlagStatus": {"mlagState": 3}}})" ).back().at( "t" ), 0 );
}

TEST_F( Forecast, IsRefusedInTheWordsOfAPatch ) {
   process.start( reloadedSwitch() );
   EXPECT_EQ(
      refusal( R"({"patch": {"mlagStatus": {"mlagState": "soon"}}})" ),
      PatchRefusal::Kind::invalid );
   EXPECT_EQ( complaint.where, "mlagStatus.mlagState" );
   EXPECT_EQ(
      refusal( R"({"patch": {"mlagConfig": {"reloadDelay": 5}}})" ),
      PatchRefusal::Kind::notOwned );
   EXPECT_EQ( complaint.found, "owned by the configuration file" );
   EXPECT_EQ( refusal( R"({"patch": null})" ), PatchRefusal::Kind::invalid );
   EXPECT_EQ( complaint.where, "patch" );
   EXPECT_EQ( refusal( R"({"until": -1})" ), PatchRefusal::Kind::invalid );
   EXPECT_EQ( complaint.where, "until" );
   EXPECT_EQ( refusal( R"({"untl": 1})" ), PatchRefusal::Kind::invalid );
   EXPECT_EQ( complaint.where, "untl" );
   EXPECT_EQ( refusal( "[]" ), PatchRefusal::Kind::invalid );
   EXPECT_EQ( refusal( "{" ), PatchRefusal::Kind::invalid );
}

TEST_F( Forecast, HasNothingOpenButItsWayOut ) {
   process.start();
   auto const outcome = outcomeOf( "{}", []( std::ostream& out ) {
      int open = 0;
      for ( int descriptor = 0; descriptor < 1024; ++descriptor ) {
         open += fcntl( descriptor, F_GETFD ) != -1 ? 1 : 0;
      }
      out << "open: " << open << '\n';
      return asLines( out );
   } );
   EXPECT_THAT( outcome.records, StartsWith( "open: 1\n" ) );
}

TEST_F( Forecast, ThatTakesTooLongIsEndedAndSaysSo ) {
   process.start();
   ForecastLimits limits;
   limits.time = std::chrono::milliseconds( 20 );
   EXPECT_EQ(
      problemOf( []( std::ostream& ) -> RecordOutput { pauseForEver(); }, limits ),
      "not over after 20 ms" );
}

TEST_F( Forecast, ThatWorksTooMuchIsEndedAndSaysSo ) {
   process.start();
   ForecastLimits limits;
   // It gives way to everybody who has work meanwhile.
   limits.time = std::chrono::seconds( 200 );
   limits.work = std::chrono::seconds( 1 );
   EXPECT_EQ(
      problemOf(
         []( std::ostream& ) -> RecordOutput {
            for ( std::atomic< unsigned > work = 0;; ++work ) {}
         },
         limits ),
      "not over after 1000 ms" );
}

TEST_F( Forecast, ThatTellsTooMuchSaysSoAndIsNotCut ) {
   process.start();
   ForecastLimits limits;
   limits.output = 1U << 20;
   EXPECT_EQ(
      problemOf(
         []( std::ostream& out ) {
            out << std::string( 3U << 20, 'x' );
            return asLines( out );
         },
         limits ),
      "more than 1 MiB to tell" );
}

TEST_F( Forecast, ThatNeedsTooMuchMemoryIsEnded ) {
   process.start();
   ForecastLimits limits;
   limits.memory = 16U << 20;
   EXPECT_NE(
      problemOf(
         []( std::ostream& out ) {
            std::vector< char > const big( 1U << 30 );
            out << big.size();
            return asLines( out );
         },
         limits ),
      "none" );
}

TEST_F( Forecast, GivesWayToWhoeverHasWork ) {
   process.start();
   EXPECT_EQ(
      problemOf( []( std::ostream& ) -> RecordOutput {
         throw std::runtime_error( std::to_string( getpriority( PRIO_PROCESS, 0 ) ) );
      } ),
      "19" );
}

TEST_F( Forecast, ThatFailsSaysWhy ) {
   process.start();
   EXPECT_EQ(
      problemOf( []( std::ostream& out ) -> RecordOutput {
         out << "half a line";
         throw std::runtime_error( "the plug-in threw" );
      } ),
      "the plug-in threw" );
   EXPECT_EQ(
      problemOf( []( std::ostream& ) -> RecordOutput { std::abort(); } ),
      "ended by signal 6" );
}

TEST_F( Forecast, IsEndedWhenNobodyWantsItAndWithTheHost ) {
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
   EXPECT_FALSE( hasChild() );
}

TEST_F( Forecast, ThatHasStoppedHoldsNobodyUp ) {
   process.start();
   // It has told all that it will, as if it were at its end.
   auto const stop = []( std::ostream& ) -> RecordOutput {
      close( 0 );
      raise( SIGSTOP );
      pauseForEver();
   };
   ForecastLimits limits;
   limits.time = std::chrono::milliseconds( 200 );
   auto& live = process.host().live();
   auto const scenario = ostra::readForecast( live, "{}" );
   event_base* const base = process.loop().base();
   Forecasts forecasts( base, live, limits );
   std::vector< std::string > ended;
   forecasts.start( scenario, stop, [ &ended ]( Forecasts::Outcome outcome ) {
      ended.push_back( outcome.problem ? outcome.problem->found : "stopped" );
   } );
   // Long after the other one's end.
   forecasts.start( scenario, asLines, [ &ended ]( Forecasts::Outcome outcome ) {
      ended.emplace_back( outcome.problem ? outcome.problem->found : "whole" );
   } );
   while ( ended.size() < 2 ) {
      event_base_loop( base, EVLOOP_ONCE );
   }
   EXPECT_THAT( ended, ElementsAre( "whole", "not over after 200 ms" ) );
   turnUntilNoChild();
}

TEST_F( Forecast, ThatCannotBeReapedHoldsNobodyUp ) {
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

TEST_F( Forecast, ThatIsNotGoneTakesARoomWhenTooManyAreLikeThat ) {
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

TEST_F( Forecast, SaysHowItHasEndedWhereNobodyWantsToHearOfThat ) {
   process.start();
   auto const before = std::signal( SIGCHLD, SIG_IGN );
   EXPECT_EQ(
      problemOf( []( std::ostream& ) -> RecordOutput { std::abort(); } ),
      "ended by signal 6" );
   std::signal( SIGCHLD, before );
}
