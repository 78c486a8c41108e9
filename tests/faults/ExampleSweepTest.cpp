// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Every allocation that the plug-in and the framework make while an example is played is
// refused once, each in a run of its own:
//
//  - What comes out of the step is std::bad_alloc or RangeException, or nothing.
//  - Each state object then says what it says before or after that step in a run without a
//    fault.
//  - A step out of which something came can be taken again, and then has done all of it.
//  - The run goes on to its end; what is held is released, at the latest when the run
//    without a fault releases it. There is no outage where the example has none.
//  - No memory is lost.
//
// The longer examples are swept in strides; with OSTRA_FAULTS=all in the environment every
// allocation of every example has its turn.

#include "Example"
#include "Stride"

#include <Ryx/Log>

#include <gtest/gtest.h>
#include <support/AllocationCounter>
#include <support/Examples>

#include <algorithm>
#include <array>
#include <string_view>

namespace faults {

namespace {

// The run without a fault.
struct Twin {
   // Before each step, and at the end.
   std::vector< Json > states;
   // What stays held then that should not, or empty.
   std::vector< std::string > outages;
   // In each step.
   std::vector< std::size_t > allocations;
};

Twin
playTwin( Script const& script ) {
   Example example( script );
   Twin twin;
   while ( example.advance() ) {
      twin.states.push_back( example.state() );
      twin.outages.push_back( example.outage() );
      support::AllocationCounter const counter;
      example.act();
      twin.allocations.push_back( counter.allocations() );
   }
   twin.states.push_back( example.state() );
   twin.outages.push_back( example.outage() );
   return twin;
}

// One run in which the n-th allocation of one step is refused.
class FaultyRun {
 public:
   FaultyRun( Script const& script, Twin const& twin, std::size_t step )
         : example_( script ), twin_( twin ), step_( step ) {
      for ( std::size_t i = 0; i <= step; ++i ) {
         if ( i > 0 ) {
            example_.act();
         }
         EXPECT_TRUE( example_.advance() );
      }
   }

   void play( std::size_t nth ) {
      bool const threw = fail( nth );
      Json const now = example_.state();
      for ( auto const& [ mount, value ] : now.items() ) {
         expectBeforeOrAfter( mount, value );
      }
      if ( threw ) {
         example_.act();
         EXPECT_EQ( example_.state(), twin_.states[ step_ + 1 ] );
      }
      expectNoOutageOfItsOwn( step_ + 1 );
      finish( threw );
   }

   std::string const& step() const { return example_.step(); }

 private:
   bool fail( std::size_t nth ) {
      support::AllocationFailure const failure( nth, support::AllocationFailure::Of::one );
      bool threw = false;
      try {
         example_.act();
      } catch ( std::bad_alloc const& ) {
         threw = true;
      } catch ( Ryx::RangeException const& ) {
         threw = true;
      }
      EXPECT_TRUE( failure.refused() );
      return threw;
   }

   void expectBeforeOrAfter( std::string const& mount, Json const& value ) const {
      Json const& before = twin_.states[ step_ ].at( mount );
      Json const& after = twin_.states[ step_ + 1 ].at( mount );
      // A copy that breaks off leaves what it has copied.
      if ( example_.setsChild() && mount.ends_with( "IntfStatusDir" ) ) {
         for ( auto const& [ key, status ] : value.at( "intfStatus" ).items() ) {
            EXPECT_TRUE( after.at( "intfStatus" ).contains( key ) ) << mount;
         }
         return;
      }
      EXPECT_TRUE(
         value == before || value == after ||
         ( mount == "igmpsnoopingConfig" && isReleased( before, after, value ) ) )
         << mount << " says " << value << "\nbefore " << before << "\nafter " << after;
   }

   // A released port-channel whose link cannot be watched is let go at once.
   static bool isReleased( Json const& before, Json const& after, Json const& value ) {
      auto const& forced = value.at( "forceEnabledPorts" );
      return before == after &&
         forced.size() + 1 == before.at( "forceEnabledPorts" ).size();
   }

   // Before the step of that number.
   void expectNoOutageOfItsOwn( std::size_t step ) const {
      EXPECT_TRUE( !twin_.outages.at( step ).empty() || example_.outage().empty() )
         << example_.outage() << " before step " << step;
   }

   // After an exception everything was made up for. Without one, an observer may have
   // missed something: then nothing is held at the end that would not be.
   void finish( bool isMadeUpFor ) {
      for ( std::size_t step = step_ + 2; example_.advance(); ++step ) {
         example_.act();
         expectNoOutageOfItsOwn( step );
         if ( testing::Test::HasFailure() ) {
            return;
         }
      }
      EXPECT_TRUE( example_.audiencesAreUnanimous() );
      Json const end = example_.state();
      if ( isMadeUpFor ) {
         EXPECT_EQ( end, twin_.states.back() );
         return;
      }
      for ( char const* mount : { "mlagProtoStatus", "lacpConfig" } ) {
         EXPECT_EQ( end.at( mount ), twin_.states.back().at( mount ) );
      }
      expectNoMoreThanTwin( end, "mlagissuCause", "intfStatus" );
      expectNoMoreThanTwin( end, "igmpsnoopingConfig", "forceEnabledPorts" );
   }

   void expectNoMoreThanTwin(
      Json const& end, char const* mount, char const* collection ) const {
      auto const& expected = twin_.states.back().at( mount ).at( collection );
      for ( auto const& [ key, value ] : end.at( mount ).at( collection ).items() ) {
         EXPECT_TRUE( expected.contains( key ) ) << mount << " still has " << key;
      }
   }

   Example example_;
   Twin const& twin_;
   std::size_t const step_;
};

// The examples that show what can stay held when nothing goes wrong but the operation.
constexpr std::array< std::string_view, 3 > examplesOfOutages = { "becomes-mlag-late",
                                                                  "endless-delay",
                                                                  "standby-left-behind" };

bool
hasOutage( Twin const& twin ) {
   auto const isOutage = []( std::string const& outage ) { return !outage.empty(); };
   return std::ranges::any_of( twin.outages, isOutage );
}

class Silence final : public Ryx::LogSink {
   void log( Ryx::LogRecord const& ) override {}
};

class ExampleSweep : public ::testing::TestWithParam< std::string > {
 public:
   ExampleSweep() { Ryx::logSinkIs( &silence_ ); }
   ~ExampleSweep() override { Ryx::logSinkIs( nullptr ); }

 private:
   Silence silence_;
};

TEST_P( ExampleSweep, EveryAllocationMayFail ) {
   Script const script = readExample( GetParam() );
   // What is made on first use is made now.
   playTwin( script );
   Twin const twin = playTwin( script );
   EXPECT_EQ( hasOutage( twin ), std::ranges::count( examplesOfOutages, GetParam() ) == 1 );
   {
      SCOPED_TRACE( "warming up" );
      auto const first = std::ranges::find_if(
         twin.allocations, []( std::size_t allocations ) { return allocations > 0; } );
      auto const step = static_cast< std::size_t >( first - twin.allocations.begin() );
      FaultyRun( script, twin, step ).play( 1 );
   }
   std::size_t total = 0;
   for ( std::size_t const allocations : twin.allocations ) {
      total += allocations;
   }
   std::size_t const step = strideOf( total, 150 );
   std::size_t swept = 0;
   std::size_t turn = 0;
   for ( std::size_t i = 0; i < twin.allocations.size(); ++i ) {
      for ( std::size_t nth = 1; nth <= twin.allocations[ i ]; ++nth ) {
         if ( turn++ % step != 0 ) {
            continue;
         }
         std::size_t const before = support::liveAllocations();
         {
            FaultyRun run( script, twin, i );
            SCOPED_TRACE(
               run.step() + ", allocation " + std::to_string( nth ) + " of " +
               std::to_string( twin.allocations[ i ] ) );
            run.play( nth );
         }
         EXPECT_EQ( support::liveAllocations(), before );
         ++swept;
         if ( HasFailure() ) {
            return;
         }
      }
   }
   EXPECT_GT( swept, 0u );
   RecordProperty( "refused", static_cast< int >( swept ) );
   std::cout << swept << " of " << total << " allocations refused\n";
}

INSTANTIATE_TEST_SUITE_P(
   Examples,
   ExampleSweep,
   ::testing::ValuesIn( support::exampleNames() ),
   support::exampleTestName );

} // namespace

} // namespace faults
