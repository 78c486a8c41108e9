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

#include <fuzz/Require>

#include <host/run/Diagnostics>
#include <host/run/NdjsonSink>
#include <host/run/Run>
#include <host/text/TextReport>

#include <Ryx/RyxType>

#include <algorithm>
#include <cstdint>
#include <sstream>

namespace {

using fuzz::require;
using ostra::Failure;
using ostra::Json;

constexpr char file[] = "file";

ostra::RyxType const&
agentType() {
   static auto const* const type = ostra::RyxType::type( Ryx::Name( "OstraMlag::Agent" ) );
   return *type;
}

long long
lineCount( std::string const& text ) {
   // A carriage return ends a line of YAML too.
   return 1 + std::count_if( text.begin(), text.end(), []( char c ) {
             return c == '\n' || c == '\r';
          } );
}

// The column behind the last one of a line. Columns count octets of UTF-8, of which another
// encoding may take fewer, and only a line feed begins them anew.
long long
lastColumn( std::string const& text, long long line ) {
   bool const isPlain = std::all_of( text.begin(), text.end(), []( char c ) {
      return static_cast< signed char >( c ) > 0 && c != '\r';
   } );
   if ( !isPlain ) {
      return 3 * static_cast< long long >( text.size() ) + 1;
   }
   std::istringstream in( text );
   std::string content;
   for ( ; line > 0; --line ) {
      std::getline( in, content );
   }
   return static_cast< long long >( content.size() ) + 1;
}

// "file:12:3: ..." within the file.
void
checkRefusal( Failure const& failure, std::string const& text ) {
   std::string const message = failure.what();
   require( failure.status() == ostra::ExitStatus::badInput, "status: ", message );
   std::istringstream in( message.substr( std::min( message.size(), sizeof file ) ) );
   long long line = 0;
   long long column = 0;
   char colon = 0;
   char secondColon = 0;
   in >> line >> colon >> column >> secondColon;
   require( in && colon == ':' && secondColon == ':', "no place: ", message );
   require( line >= 1 && line <= lineCount( text ), "line: ", message );
   require( column >= 1 && column <= lastColumn( text, line ), "column: ", message );
   auto const why = message.find_first_not_of( ' ', message.find( ": " ) + 1 );
   require( why != std::string::npos, "no reason: ", message );
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
   auto const document = ostra::parseDocument( "state", state.dump() );
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
   try {
      scenario = readScenario( ostra::parseDocument( file, text ), mounts, agentType );
   } catch ( Failure const& failure ) {
      checkRefusal( failure, text );
      return 0;
   }
   play( scenario, mounts, size % 2 == 0 );
   return 0;
}
