// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Every callback of an observer that a host has on the state objects throws once, each in a
// run of its own: the observer hears of its own exception, everybody else hears what he
// would have heard, and the plug-in does what it would have done. The same for the host's
// log and trace sinks: each message throws once, and traces in strides.

#include "Example"
#include "Stride"

#include <OstraMlag/OstraMlag>
#include <Ryx/Log>
#include <Ryx/Trace>

#include <gtest/gtest.h>
#include <support/Examples>

#include <set>
#include <stdexcept>

namespace faults {

namespace {

// What all observers of a run hear together, and which call of them throws.
struct Ear {
   std::vector< std::string > heard;
   std::vector< Ryx::AttributeId > exceptions;
   // Of whom and of which attribute, as in `heard`.
   std::vector< std::string > exceptionsOf;
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
      ear_.exceptionsOf.push_back( named( notifier()->attributeString( id ) ) );
   }

 private:
   void hear( std::string const& what ) { ear_.hear( named( what ) ); }
   std::string named( std::string const& what ) const {
      return notifier()->name().string() + " " + what;
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
   void log( Ryx::LogRecord const& record ) override {
      messages.insert( ear.heard.size() + 1 );
      ear.hear( record.text );
   }
   void trace( Ryx::TraceRecord const& record ) override { ear.hear( record.text ); }

   Ear ear;
   // Which of what is heard are messages, from 1.
   std::set< std::size_t > messages;
};

// What one run leaves and tells: to those who throw, to those behind them, to the sinks.
struct Life {
   Json end;
   Ear throwing;
   Ear behind;
   Ear sinks;
   std::set< std::size_t > messages;
};

struct Faults {
   std::size_t observer = 0;
   std::size_t sink = 0;
   bool traces = false;
};

Life
play( Script const& script, Faults const& faults ) {
   Life run;
   Sink sink;
   Ryx::traceEnabledIs( "*", faults.traces );
   sink.ear.throwsAt = faults.sink;
   run.throwing.throwsAt = faults.observer;
   {
      Example example( script );
      example.mount();
      auto const throwing = observersOf( example, run.throwing );
      auto const behind = observersOf( example, run.behind );
      while ( example.advance() ) {
         example.act();
      }
      run.end = example.state();
      run.sinks = sink.ear;
      run.messages = sink.messages;
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
   Script const script = readExample( GetParam() );
};

TEST_P( ThrowingObservers, EachCallbackMayThrow ) {
   Life const twin = play( script, {} );
   ASSERT_EQ( twin.throwing.heard, twin.behind.heard );
   ASSERT_FALSE( twin.throwing.heard.empty() );
   for ( std::size_t i = 1; i <= twin.throwing.heard.size() && !HasFailure(); ++i ) {
      SCOPED_TRACE( twin.throwing.heard[ i - 1 ] );
      Life const run = play( script, { .observer = i } );
      expectSame( run, twin );
      ASSERT_EQ( run.throwing.exceptionsOf.size(), 1u );
      // "mount collection/key" for a member.
      std::string const& heard = twin.throwing.heard[ i - 1 ];
      EXPECT_EQ( run.throwing.exceptionsOf.front(), heard.substr( 0, heard.find( '/' ) ) );
   }
}

TEST_P( ThrowingObservers, EachMessageAndTraceMayThrow ) {
   Life const twin = play( script, { .traces = true } );
   ASSERT_FALSE( twin.sinks.heard.empty() );
   std::size_t const stride = strideOf( twin.sinks.heard.size(), 50 );
   for ( std::size_t i = 1; i <= twin.sinks.heard.size() && !HasFailure(); ++i ) {
      if ( i % stride != 0 && !twin.messages.contains( i ) ) {
         continue;
      }
      SCOPED_TRACE( twin.sinks.heard[ i - 1 ] );
      expectSame( play( script, { .sink = i, .traces = true } ), twin );
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
