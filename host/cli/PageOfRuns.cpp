// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/PageOfRuns>

#include <host/web/HtmlSink>
#include <host/web/Page>
#include <host/web/PageRecords>

#include <memory>
#include <sstream>
#include <string_view>

namespace ostra {

namespace {

bool
isStreamGiven( InputOptions const& input ) {
   return input.scenario && isStream( *input.scenario );
}

// Plays the scenario; its page has the other run's lines inside.
void
playPage( RunOptions const& options, std::ostream& out, std::string const& behind ) {
   playScenario( options, out, [ &behind ]( std::ostream& to ) {
      auto sink = std::make_unique< HtmlSink >( to, behind );
      HtmlSink* const borrowed = sink.get();
      return RunOutput{ { std::move( sink ), [ borrowed ] { borrowed->settle(); } } };
   } );
}

std::string
streamLines( InputOptions const& input ) {
   std::ostringstream lines;
   putStream( lines, readFile( *input.scenario, input.maxInput ) );
   return lines.str();
}

std::string
recordsOf( RunOptions const& options ) {
   if ( isStreamGiven( options.input ) ) {
      return streamLines( options.input );
   }
   std::ostringstream page;
   playPage( options, page, "" );
   std::string const text = page.str();
   // Behind the end of its line.
   std::size_t const begin = page::head().size() + 1;
   return text.substr( begin, text.size() - page::tail().size() - begin );
}

} // namespace

void
printPageOfRuns( RunOptions const& options, std::ostream& out ) {
   std::ostringstream behind;
   if ( options.against ) {
      RunOptions other = options;
      other.input.scenario = options.against;
      putAgainst( behind );
      behind << recordsOf( other );
   }
   if ( !isStreamGiven( options.input ) ) {
      playPage( options, out, behind.str() );
      return;
   }
   std::string const lines = streamLines( options.input );
   out << page::head() << '\n' << lines << behind.str() << page::tail();
}

} // namespace ostra
