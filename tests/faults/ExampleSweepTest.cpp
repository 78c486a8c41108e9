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
//    without a fault releases it.
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

namespace faults {

namespace {

// The run without a fault.
struct Twin {
   // Before each step, and at the end.
   std::vector< Json > states;
   // In each step.
   std::vector< std::size_t > allocations;
};

Twin
playTwin( Script const& script ) {
   Example example( script );
   Twin twin;
   while ( example.advance() ) {
      twin.states.push_back( example.state() );
      support::AllocationCounter const counter;
      example.act();
      twin.allocations.push_back( counter.allocations() );
      EXPECT_EQ( example.outage(), "" ) << example.step();
   }
   twin.states.push_back( example.state() );
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
      EXPECT_EQ( example_.outage(), "" );
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

   // After an exception everything was made up for. Without one, an observer may have
   // missed something: then nothing is held at the end that would not be.
   void finish( bool isMadeUpFor ) {
      while ( example_.advance() ) {
         example_.act();
         ASSERT_EQ( example_.outage(), "" ) << "after " << example_.step();
      }
      EXPECT_TRUE( example_.audiencesAreUnanimous() );
      Json const end = example_.state();
      if ( isMadeUpFor ) {
         EXPECT_EQ( end, twin_.states.back() );
         return;
      }
      for ( char const* mount : { "mlagProtoStatus", "mlagissuCause", "lacpConfig" } ) {
         EXPECT_EQ( end.at( mount ), twin_.states.back().at( mount ) );
      }
      auto const& forced = twin_.states.back().at( "igmpsnoopingConfig" );
      auto const& forcedNow = end.at( "igmpsnoopingConfig" );
      for ( auto const& key : forcedNow.at( "forceEnabledPorts" ).items() ) {
         EXPECT_TRUE( forced.at( "forceEnabledPorts" ).contains( key.key() ) )
            << key.key() << " stays forced";
      }
   }

   Example example_;
   Twin const& twin_;
   std::size_t const step_;
};

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
