// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include "Play"
#include "RandomLife"

#include <host/web/PortStory>

#include <map>
#include <memory>

namespace ostra {

namespace {

// Counts what is asked of the state.
class CountedView final : public StateView {
 public:
   explicit CountedView( StateView const& state ) : state_( state ) {}

   Json at( Path const& path ) const override {
      ++questions;
      return state_.at( path );
   }
   std::vector< std::string > keys( Path const& path ) const override {
      auto keys = state_.keys( path );
      questions += keys.size();
      return keys;
   }

   mutable std::size_t questions = 0;

 private:
   StateView const& state_;
};

// A story of a run, and each port as it was told last, without why.
class ToldPorts {
 public:
   explicit ToldPorts( StateView const& state )
         : story_( state, [ this ]( Milliseconds, char const* type, Json const& members ) {
              if ( type == std::string( "ports" ) ) {
                 keep( members.at( "ports" ) );
              }
           } ) {}

   PortStory& story() { return story_; }
   std::map< std::string, Json > const& ports() const { return ports_; }

 private:
   void keep( Json const& ports ) {
      for ( Json port : ports ) {
         port.erase( "why" );
         ports_[ port.at( "interface" ) ] = port;
      }
   }

   std::map< std::string, Json > ports_;
   PortStory story_;
};

// Compares, whenever the time goes on, what was told bit by bit with what there is.
class ComparedStory final : public RecordSink {
 public:
   void start( StartRecord const&, StateView const& state ) override {
      view_ = std::make_unique< CountedView >( state );
      told_ = std::make_unique< ToldPorts >( *view_ );
   }
   void write( Milliseconds at, WriteRecord const& record ) override {
      told_->story().write( at, record );
   }
   void event( Milliseconds at, EventRecord const& record ) override {
      told_->story().tell();
      told_->story().event( at, record.patch() );
   }
   void log( Milliseconds, LogMessageRecord const& ) override {}
   void trace( Milliseconds, TraceLineRecord const& ) override {}
   void end( Milliseconds, EndRecord const& ) override {}

   void settle() {
      std::size_t const before = view_->questions;
      told_->story().tell();
      questions.push_back( view_->questions - before );
      ToldPorts present( *view_ );
      present.story().tell();
      for ( auto const& [ name, port ] : present.ports() ) {
         ASSERT_TRUE( told_->ports().contains( name ) ) << name;
         EXPECT_EQ( told_->ports().at( name ).dump(), port.dump() );
      }
      for ( auto const& [ name, port ] : told_->ports() ) {
         bool const isThere = present.ports().contains( name );
         EXPECT_TRUE( isThere || !port.at( "isPresent" ) ) << port.dump();
         EXPECT_TRUE( isThere || port.at( "state" ) == "notHeld" ) << port.dump();
      }
   }

   // Of each instant.
   std::vector< std::size_t > questions;

 private:
   std::unique_ptr< CountedView > view_;
   std::unique_ptr< ToldPorts > told_;
};

std::vector< std::size_t >
compareAll( std::string const& scenario ) {
   RunOptions options;
   options.input.plugin = OSTRA_PLUGIN;
   options.input.scenario = temporaryFile( "story.yaml", scenario );
   std::ostringstream out;
   std::vector< std::size_t > questions;
   playScenario( options, out, [ & ]( std::ostream& ) {
      auto sink = std::make_unique< ComparedStory >();
      ComparedStory* const borrowed = sink.get();
      return RunOutput{ { std::move( sink ), [ borrowed, &questions ] {
                            borrowed->settle();
                            questions = borrowed->questions;
                         } } };
   } );
   return questions;
}

// One port goes and comes at each instant.
std::string
flapOf( std::size_t ports, std::size_t instants ) {
   std::string scenario = fmt::format(
      "mounts:\n"
      "  mlagConfig: {{ enabled: true, domainId: d, localInterface: Vlan1,\n"
      "    peerAddress: 10.0.0.1, peerLinkIntf: Port-Channel1, reloadDelay: 100000 }}\n"
      "  ethPhyIntfStatus: {{ intfStatus: {{ Ethernet1-{}: {{}} }} }}\n"
      "events:\n",
      ports );
   for ( std::size_t i = 0; i < instants; ++i ) {
      scenario += fmt::format(
         "  - {{ at: {}, ethPhyIntfStatus: {{ intfStatus: {{ Ethernet7: {} }} }} }}\n",
         i + 1,
         i % 2 ? "{}" : "null" );
   }
   return scenario;
}

} // namespace

TEST( PortStory, WhatIsToldBitByBitIsWhatThereIs ) {
   for ( unsigned seed = 1; seed <= 150 && !HasFailure(); ++seed ) {
      SCOPED_TRACE( fmt::format( "seed {}", seed ) );
      Dice dice( seed );
      compareAll( someScenario( dice ).dump() );
   }
}

TEST( PortStory, APortThatChangesIsNoReasonToLookAtAllOthers ) {
   constexpr std::size_t instants = 20;
   auto const few = compareAll( flapOf( 10, instants ) );
   auto const many = compareAll( flapOf( 200, instants ) );
   ASSERT_EQ( few.size(), many.size() );
   // Behind the start and the first of them, before the delay is over.
   for ( std::size_t i = 2; i <= instants; ++i ) {
      EXPECT_EQ( few[ i ], many[ i ] ) << i;
      EXPECT_LT( many[ i ], 50U ) << i;
   }
}

} // namespace ostra
