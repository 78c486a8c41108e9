// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Every callback of an observer that a host has on the state objects throws once, each in a
// run of its own: the observer hears of its own exception, everybody else hears what he
// would have heard, and the plug-in does what it would have done. The same for the host's
// log and trace sinks.

#include "Example"

#include <OstraMlag/OstraMlag>
#include <Ryx/Log>
#include <Ryx/Trace>

#include <gtest/gtest.h>
#include <support/Examples>

#include <stdexcept>

namespace faults {

namespace {

// What all observers of a run hear together, and which call of them throws.
struct Ear {
   std::vector< std::string > heard;
   std::vector< Ryx::AttributeId > exceptions;
   // From 1; 0: none.
   std::size_t throwsAt = 0;

   void hear( std::string const& what ) {
      heard.push_back( what );
      if ( heard.size() == throwsAt ) {
         throw std::runtime_error( what );
      }
   }
};

class Observer final : public Ryx::Entity::NotifieeConst {
 public:
   Observer( Ryx::Ptr< Ryx::Entity const > const& entity, Ear& ear ) : ear_( ear ) {
      notifierIs( entity );
      isRegisteredNotifieeIs( true );
   }
   bool isStreamAdapter() const override { return true; }
   void onAttribute( Ryx::AttributeId id ) override {
      hear( notifier()->attributeString( id ) );
   }
   void onCollectionNotification( Ryx::String8 member ) override { hear( member ); }
   void onIsNondestructing() override { hear( "isNondestructing" ); }
   void onParent() override { hear( "parent" ); }
   void onZeroReferences() override { ear_.hear( "zero references" ); }
   void onNotificationException( Ryx::AttributeId id ) override {
      ear_.exceptions.push_back( id );
   }

 private:
   void hear( std::string const& what ) {
      ear_.hear( notifier()->name().string() + " " + what );
   }

   Ear& ear_;
};

using Observers = std::vector< Ryx::Ptr< Observer > >;

Observers
observersOf( Example const& example, Ear& ear ) {
   Observers observers;
   for ( auto const& object : example.objects() ) {
      observers.push_back( Ryx::make< Observer >( object, ear ) );
   }
   return observers;
}

class Sink final : public Ryx::LogSink, public Ryx::TraceSink {
 public:
   Sink() {
      Ryx::logSinkIs( this );
      Ryx::traceSinkIs( this );
   }
   ~Sink() override {
      Ryx::traceConfigReset();
      Ryx::traceSinkIs( nullptr );
      Ryx::logSinkIs( nullptr );
   }
   Sink( Sink const& ) = delete;
   Sink& operator=( Sink const& ) = delete;
   void log( Ryx::LogRecord const& record ) override { ear.hear( record.text ); }
   void trace( Ryx::TraceRecord const& record ) override { ear.hear( record.text ); }

   Ear ear;
};

// What one run leaves and tells: to those who throw, to those behind them, to the sinks.
struct Life {
   Json end;
   Ear throwing;
   Ear behind;
   Ear sinks;
};

struct Faults {
   std::size_t observer = 0;
   std::size_t sink = 0;
   bool traces = false;
};

Life
play( ostra::Document const& document, Faults const& faults ) {
   Life run;
   Sink sink;
   Ryx::traceEnabledIs( "*", faults.traces );
   sink.ear.throwsAt = faults.sink;
   run.throwing.throwsAt = faults.observer;
   {
      Example example( document );
      auto const throwing = observersOf( example, run.throwing );
      auto const behind = observersOf( example, run.behind );
      while ( example.advance() ) {
         example.act();
      }
      run.end = example.state();
      run.sinks = sink.ear;
   }
   return run;
}

void
expectSame( Life const& run, Life const& twin ) {
   EXPECT_EQ( run.end, twin.end );
   EXPECT_EQ( run.throwing.heard, twin.throwing.heard );
   EXPECT_EQ( run.behind.heard, twin.behind.heard );
   EXPECT_TRUE( run.behind.exceptions.empty() );
   EXPECT_EQ( run.sinks.heard, twin.sinks.heard );
}

class ThrowingObservers : public ::testing::TestWithParam< std::string > {
 public:
   ostra::Document const document = readExample( GetParam() );
};

TEST_P( ThrowingObservers, EachCallbackMayThrow ) {
   Life const twin = play( document, {} );
   ASSERT_EQ( twin.throwing.heard, twin.behind.heard );
   ASSERT_FALSE( twin.throwing.heard.empty() );
   for ( std::size_t i = 1; i <= twin.throwing.heard.size() && !HasFailure(); ++i ) {
      SCOPED_TRACE( twin.throwing.heard[ i - 1 ] );
      Life const run = play( document, { .observer = i } );
      expectSame( run, twin );
      EXPECT_EQ( run.throwing.exceptions.size(), 1u );
   }
}

TEST_P( ThrowingObservers, EachMessageAndTraceMayThrow ) {
   Life const twin = play( document, { .traces = true } );
   ASSERT_FALSE( twin.sinks.heard.empty() );
   // Traces are many and one like the other.
   std::size_t const stride = 1 + twin.sinks.heard.size() / 50;
   for ( std::size_t i = 1; i <= twin.sinks.heard.size() && !HasFailure(); i += stride ) {
      SCOPED_TRACE( twin.sinks.heard[ i - 1 ] );
      expectSame( play( document, { .sink = i, .traces = true } ), twin );
   }
}

INSTANTIATE_TEST_SUITE_P(
   Examples,
   ThrowingObservers,
   ::testing::ValuesIn( support::exampleNames() ),
   support::exampleTestName );

TEST( ThrowingObserversOfTheAgent, HearOfTheirExceptions ) {
   auto agent = OstraMlag::agentFactory( "agent" );
   Ear throwing;
   Ear behind;
   Ryx::Ptr< Ryx::Entity const > const entity = agent;
   auto const first = Ryx::make< Observer >( entity, throwing );
   auto const second = Ryx::make< Observer >( entity, behind );
   for ( std::size_t call : { 1u, 2u, 3u } ) {
      throwing.throwsAt = call;
      if ( call == 1 ) {
         agent->isNondestructingIs( true );
      } else if ( call == 2 ) {
         agent->isNondestructingIs( false );
      } else {
         agent->parentIs( OstraMlag::agentFactory( "parent" ) );
      }
      EXPECT_EQ( throwing.heard, behind.heard );
      EXPECT_EQ( throwing.exceptions.size(), call );
   }
   EXPECT_EQ( throwing.exceptions, ( std::vector< Ryx::AttributeId >{ 6, 6, 256 } ) );
   agent->parentIs( nullptr );
}

} // namespace

} // namespace faults
