// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The scenario reader. An input is a file.
//
//  1. It is accepted, or refused with exit status 2 and a message that names a place that
//     the file has.
//  2. What is accepted can be played: nothing is thrown, every record is a line of JSON,
//     time does not go back, every event comes in order and at its time, and the last
//     line is the end.
//  3. The state at the end is taken as the mounts of another run and reads the same there.

#include <fuzz/Refusal>

#include <host/base/JsonLine>
#include <host/run/Diagnostics>
#include <host/run/NdjsonSink>
#include <host/run/Run>
#include <host/text/TextReport>

#include <Ryx/RyxType>

#include <cstdint>
#include <sstream>

namespace {

using fuzz::require;
using ostra::Failure;
using ostra::Json;

ostra::RyxType const&
agentType() {
   static auto const* const type = ostra::RyxType::type( Ryx::Name( "OstraMlag::Agent" ) );
   return *type;
}

void
playTo( ostra::RecordSink& sink, ostra::Scenario const& scenario, ostra::Mounts& mounts ) {
   ostra::ScenarioTime time( scenario.startTime );
   ostra::Agent agent( agentType(), mounts );
   ostra::Diagnostics const diagnostics(
      sink, [ &time ] { return time.instant(); }, 15 );
   ostra::VirtualPacer pacer;
   ostra::Run( { scenario, mounts, agent, time, sink, pacer, [] { return true; } } ).play();
}

// The records of a run, line by line.
class Records {
 public:
   explicit Records( ostra::Scenario const& scenario ) : scenario_( scenario ) {}

   void line( std::string const& text ) {
      require( !ended_, "a line behind the end: ", text );
      record_ = Json::parse( text );
      double const t = record_.at( "t" ).get< double >();
      require( t >= last_, "time goes back: ", text );
      last_ = t;
      ended_ = record_.at( "type" ) == "end";
      if ( record_.at( "type" ) == "event" ) {
         event( text );
      }
   }

   // The state in the last one.
   Json state() const {
      require( ended_, "no end" );
      auto const& until = scenario_.until;
      require( !until || last_ == ostra::secondsOf( *until ), "ended at ", last_ );
      bool const isDue = next_ < scenario_.events.size() &&
         ( !until || scenario_.events[ next_ ].at <= *until );
      require( !isDue, "no event ", next_ );
      return record_.at( "state" );
   }

 private:
   void event( std::string const& text ) {
      require( record_.at( "index" ) == next_, "not event ", next_, ": ", text );
      require( last_ == ostra::secondsOf( scenario_.events[ next_ ].at ), "when: ", text );
      ++next_;
   }

   ostra::Scenario const& scenario_;
   Json record_;
   double last_ = 0;
   std::size_t next_ = 0;
   bool ended_ = false;
};

Json
checkRecords( std::string const& text, ostra::Scenario const& scenario ) {
   std::istringstream in( text );
   Records records( scenario );
   for ( std::string line; std::getline( in, line ); ) {
      records.line( line );
   }
   return records.state();
}

void
checkState( Json const& state ) {
   ostra::Mounts mounts;
   auto const document = ostra::parseDocument( "state", ostra::lineOf( state ) );
   mounts.apply( ostra::Item( document ) );
   require(
      mounts.state() == state, "state: ", state.dump(), "\nread as ", mounts.state() );
}

void
play( ostra::Scenario const& scenario, ostra::Mounts& mounts, bool asText ) {
   std::ostringstream out;
   if ( asText ) {
      ostra::TextReport report( out, { .colour = true, .trace = true } );
      playTo( report, scenario, mounts );
      checkState( mounts.state() );
   } else {
      ostra::NdjsonSink sink( out );
      playTo( sink, scenario, mounts );
      checkState( checkRecords( out.str(), scenario ) );
   }
}

} // namespace

extern "C" int
LLVMFuzzerTestOneInput( std::uint8_t const* data, std::size_t size ) {
   std::string const text( data, data + size );
   ostra::Mounts mounts;
   ostra::Scenario scenario;
   // A short text may stand for many interfaces: so many as are played soon.
   constexpr std::size_t longest = 65536;
   try {
      scenario = readScenario(
         ostra::parseScenario( fuzz::file, text, longest ), mounts, agentType );
   } catch ( Failure const& failure ) {
      fuzz::checkRefusal( failure, text );
      return 0;
   }
   play( scenario, mounts, size % 2 == 0 );
   return 0;
}
