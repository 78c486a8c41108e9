// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Forecasts: that they change nothing, and what bounds them.

#include "LiveForecast"

#include <gmock/gmock.h>

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <csignal>

#include <event2/event.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using ostra::asLines;
using ostra::ForecastLimits;
using ostra::Forecasts;
using ostra::Json;
using ostra::Milliseconds;
using ostra::PatchRefusal;
using ostra::pauseForEver;
using ostra::RecordOutput;
using ostra::reloadedSwitch;
using testing::SizeIs;
using testing::StartsWith;

namespace {

class Forecast : public ostra::LiveForecast {
 protected:
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
   // Whoever gives way may get no processor for long.
   limits.nice = 0;
   limits.time = std::chrono::hours( 1 );
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
   int const own = getpriority( PRIO_PROCESS, 0 );
   for ( int const nice : { 0, ForecastLimits().nice, 19 } ) {
      ForecastLimits limits;
      limits.nice = nice;
      auto const throwNice = []( std::ostream& ) -> RecordOutput {
         throw std::runtime_error( std::to_string( getpriority( PRIO_PROCESS, 0 ) ) );
      };
      EXPECT_EQ(
         problemOf( throwNice, limits ), std::to_string( std::min( own + nice, 19 ) ) );
   }
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

TEST_F( Forecast, SaysHowItHasEndedWhereNobodyWantsToHearOfThat ) {
   process.start();
   auto const before = std::signal( SIGCHLD, SIG_IGN );
   EXPECT_EQ(
      problemOf( []( std::ostream& ) -> RecordOutput { std::abort(); } ),
      "ended by signal 6" );
   std::signal( SIGCHLD, before );
}
