// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/PageOfRuns>

#include <host/base/Failure>
#include <host/web/Page>
#include <host/web/PageRecords>

#include <fmt/format.h>

#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

namespace ostra {

namespace {

bool
isStreamGiven( InputOptions const& input ) {
   return input.scenario && isStream( *input.scenario );
}

// A recorded stream is as it was played, with all that is in it.
void
refuseForStreams( RunOptions const& options ) {
   bool const isFirst = isStreamGiven( options.input );
   bool const isSecond = options.against && isStream( *options.against );
   bool const isNonePlayed = isFirst && ( isSecond || !options.against );
   for ( auto const& [ option, isRefused ] :
         { std::pair{ "--only",
                      ( isFirst || isSecond ) && options.narrowing.interfaces.has_value() },
           std::pair{ "--until", isNonePlayed && options.until.has_value() },
           std::pair{ "--mounts", isNonePlayed && options.input.mounts.has_value() },
           std::pair{ "--real-time", isNonePlayed && options.realTime } } ) {
      if ( isRefused ) {
         throw Failure(
            ExitStatus::badInput,
            fmt::format(
               "ostra run: {}: a stream that was recorded: expected a scenario, which is "
               "played",
               option ) );
      }
   }
}

// Plays the scenario; its page has the other run's lines inside.
std::vector< std::string >
playPage( RunOptions const& options, std::ostream& out, std::string const& behind ) {
   return playScenario( options, out, [ &behind ]( std::ostream& to ) {
      RunOutput output = makePage( to, behind );
      // A page of two runs does not tell what would release their ports.
      output.tryReleasesIs = {};
      return output;
   } );
}

std::string
streamLines( InputOptions const& input ) {
   std::ostringstream lines;
   putStream( lines, readFile( *input.scenario, input.maxInput ) );
   return lines.str();
}

// For warnings, where there are two runs.
std::string
runOf( std::optional< std::string > const& scenario ) {
   return "the run of " +
      ( !scenario             ? std::string( "<built-in>" )
           : *scenario == "-" ? std::string( "<stdin>" )
                              : oneLine( *scenario ) );
}

struct PageLines {
   std::string lines;
   std::vector< std::string > warnings = {};
   // Of a run that failed on the way, which has records up to there.
   std::optional< Failure > failure = {};
};

PageLines
playedRecords( RunOptions const& options ) {
   std::ostringstream out;
   std::vector< std::string > warnings;
   std::optional< Failure > failure;
   try {
      warnings = playPage( options, out, "" );
   } catch ( Failure const& why ) {
      if ( !out.str().ends_with( page::tail() ) ) {
         throw;
      }
      failure = why;
   }
   std::string const text = out.str();
   // Behind the end of its line.
   std::size_t const begin = page::head().size() + 1;
   return { text.substr( begin, text.size() - page::tail().size() - begin ),
            warnings,
            failure };
}

PageLines
recordsOf( RunOptions const& options ) {
   return isStreamGiven( options.input ) ? PageLines{ streamLines( options.input ) }
                                         : playedRecords( options );
}

} // namespace

std::vector< std::string >
printPageOfRuns( RunOptions const& options, std::ostream& out ) {
   refuseForStreams( options );
   RunOptions first = options;
   std::ostringstream behind;
   std::optional< Failure > failure;
   std::vector< std::string > ofSecond;
   if ( options.against ) {
      first.narrowing.run = runOf( options.input.scenario );
      RunOptions second = options;
      second.input.scenario = options.against;
      second.narrowing.run = runOf( options.against );
      PageLines const records = recordsOf( second );
      putAgainst( behind );
      behind << records.lines;
      failure = records.failure;
      ofSecond = records.warnings;
   }
   std::vector< std::string > warnings;
   if ( isStreamGiven( options.input ) ) {
      std::string const lines = streamLines( options.input );
      out << page::head() << '\n' << lines << behind.str() << page::tail();
   } else {
      warnings = playPage( first, out, behind.str() );
   }
   warnings.insert( warnings.end(), ofSecond.begin(), ofSecond.end() );
   if ( failure ) {
      throw *failure;
   }
   return warnings;
}

} // namespace ostra
