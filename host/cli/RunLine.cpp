// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/RunLine>

#include <host/base/Failure>
#include <host/cli/InputArguments>
#include <host/input/Instant>

#include <Ryx/Trace>

#include <fmt/format.h>

#include <utility>

namespace ostra {

namespace {

constexpr char runDescription[] =
   "Plays a scenario and reports every write and log. Without a scenario, a leaf switch "
   "reloads.";

constexpr int highestTraceLevel = int( Ryx::TraceHandle::levels ) - 1;

} // namespace

void
RunLine::addTrace( CLI::App& command ) {
   parser_.addValue(
      command,
      "--trace",
      "LEVEL",
      fmt::format(
         "Report the plug-in's traces of levels 0 to LEVEL, at most {}. 8 shows every "
         "handler that runs, 9 beside it every port and port-channel that is added",
         highestTraceLevel ),
      fmt::format( "a level from 0 to {}", highestTraceLevel ),
      [ this ]( std::string const& text ) {
         int const level = wholeNumber< int >( text ).value_or( -1 );
         options_.trace = level;
         return level >= 0 && level <= highestTraceLevel;
      } );
}

void
RunLine::addNarrowing( CLI::App& command ) {
   parser_.addText(
      command,
      "--trace-of",
      "NAME",
      "Report traces of this handle or function alone; without --trace, of all levels",
      "the name of a handle or a function",
      options_.narrowing.traces );
   addOnly(
      parser_,
      command,
      "Tell of these alone, with the port-channels they are in, as Ethernet1-4,7",
      options_.narrowing.interfaces );
}

void
RunLine::addUntil( CLI::App& command ) {
   parser_.addValue(
      command,
      "--until",
      "TIME",
      "Scenario time at which the run ends, in seconds or like 1h30m; overrides the "
      "scenario's own",
      std::string( expectedScenarioTime ),
      [ this ]( std::string const& text ) {
         options_.until = scenarioInstant( text );
         if ( !options_.until ) {
            refuse( "ostra run: --until", inQuotes( text ), expectedInsteadOf( text ) );
         }
         return true;
      } );
}

void
RunLine::addAgainst( CLI::App& command ) {
   parser_.addText(
      command,
      "--against",
      "FILE",
      "The scenario whose run a page (--format html) compares with this one, on one time "
      "line. For such a page, or for one of its own, a file may be a stream that was "
      "recorded with --format ndjson, too",
      expectedFile,
      options_.against );
}

// What the format has no place for would be left out without a word.
void
RunLine::refuseForFormat() const {
   RunFormat const format = options_.format;
   bool const isText = format == RunFormat::text;
   bool const isColoured = isText || format == RunFormat::table;
   bool const isTraced = isText || format == RunFormat::ndjson;
   if ( options_.colour == Colour::always && !isColoured ) {
      refuse(
         "ostra run: --colour always", "another format", "--format text or table with it" );
   }
   for ( auto const& [ option, isGiven ] :
         { std::pair{ "--trace", options_.trace.has_value() },
           std::pair{ "--trace-of", options_.narrowing.traces.has_value() } } ) {
      if ( isGiven && !isTraced ) {
         refuse(
            fmt::format( "ostra run: {}", option ),
            "another format",
            "--format text or ndjson with it" );
      }
   }
}

void
RunLine::refuseAgainst() const {
   if ( options_.against && options_.format != RunFormat::html ) {
      refuse( "ostra run: --against", "another format", "--format html" );
   }
   if (
      options_.against == "-" &&
      ( options_.input.scenario == "-" || options_.input.mounts == "-" ) ) {
      refuse(
         "ostra run: --against",
         inQuotes( "-" ),
         "a file, as standard input is read already" );
   }
}

void
RunLine::addCommand() {
   CLI::App& command = parser_.addCommand( "run", runDescription );
   addScenario( parser_, command, options_.input );
   parser_.addChoice< RunFormat >(
      command,
      "--format",
      options_.format,
      { { "text", RunFormat::text },
        { "table", RunFormat::table },
        { "json", RunFormat::json },
        { "ndjson", RunFormat::ndjson },
        { "html", RunFormat::html },
        { "svg", RunFormat::svg } },
      "For people (which it is without this), a line for each port or range of ports, "
      "one JSON object of what it comes to, one JSON object a line of all that happens, "
      "a page that shows it in a browser and needs nothing else, or a picture of its "
      "time line" );
   parser_.addChoice< Colour >(
      command,
      "--colour,--color",
      options_.colour,
      { { "auto", Colour::automatic },
        { "always", Colour::always },
        { "never", Colour::never } },
      "When the text has colours; auto: on a terminal" );
   addTrace( command );
   addNarrowing( command );
   addUntil( command );
   parser_.addFlag(
      command,
      "--real-time",
      options_.realTime,
      "Wait, so that a second of scenario time takes a second" );
   addAgainst( command );
   addMounts( parser_, command, options_.input );
   addMaxInput( parser_, command, options_.input.maxInput );
   addPlugin( parser_, command, options_.input.plugin );
}

void
RunLine::execute( std::ostream& out, std::ostream& err ) const {
   refuseTwoReaders( parser_, options_.input );
   refuseForFormat();
   refuseAgainst();
   RunOptions options = options_;
   if ( options.narrowing.traces && !options.trace ) {
      options.trace = highestTraceLevel;
   }
   for ( std::string const& line : runScenario( options, out ) ) {
      err << line << '\n';
   }
}

} // namespace ostra
