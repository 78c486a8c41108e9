// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/ClientLine>

#include <host/base/Failure>
#include <host/cli/InputArguments>
#include <host/cli/Serve>
#include <host/cli/WhyInRun>
#include <host/client/Why>
#include <host/input/Instant>

#include <fmt/format.h>

namespace ostra {

namespace {

constexpr char onlyHelp[] =
   "Tell of these alone, as Ethernet1-4,7, and of the host as a whole: when it started, "
   "what it read and what the plug-in has logged";

} // namespace

void
ClientLine::addCommands() {
   addShow();
   add( "alarms", "Shows what an operator has to hear of.", "json" );
   addOnly(
      parser_,
      add( "watch", "Follows what happens on the live host.", "ndjson" ),
      onlyHelp,
      only_ );
   addHistory();
   addPatches();
   addRelease();
   addForecast();
   addWhy();
}

CLI::App&
ClientLine::add(
   std::string const& name, std::string const& help, std::string const& json ) {
   CLI::App& command = parser_.addCommand( name, help );
   parser_.addText(
      command,
      "--socket",
      "PATH",
      "The host's socket; without it, that of your own host if there is one, else "
      "/run/ostra/ostra.sock",
      "the host's socket",
      socket_ );
   parser_.addChoice< bool >(
      command,
      "--format",
      isJson_,
      { { "text", false }, { json, true } },
      "For people (which it is without this), or for programs" );
   parser_.addChoice< Colour >(
      command,
      "--colour,--color",
      colour_,
      { { "auto", Colour::automatic },
        { "always", Colour::always },
        { "never", Colour::never } },
      "When the text has colours; auto: on a terminal" );
   return command;
}

void
ClientLine::addShow() {
   CLI::App& command = add( "show", "Shows the live host's state.", "json" );
   parser_.addChoice< Shown >(
      command,
      "WHAT",
      shown_,
      { { "summary", Shown::summary },
        { "ports", Shown::ports },
        { "state", Shown::state } },
      "What is to be shown; the summary without it" );
   parser_.addText(
      command,
      "PATH",
      " ",
      "Of the state, as mlagConfig.reloadDelay",
      "a path in the state",
      path_ );
}

void
ClientLine::addHistory() {
   CLI::App& command =
      add( "history", "Shows what has happened on the live host.", "ndjson" );
   parser_.addText(
      command, "--since", "ID", "Only what came behind that record", "a number", since_ );
   parser_.addText( command, "--limit", "N", "At most that many", "a number", limit_ );
   addOnly( parser_, command, onlyHelp, only_ );
}

void
ClientLine::addPatches() {
   CLI::App& set = add( "set", "Changes the live host's state in one instant.", "json" );
   parser_
      .addTexts(
         set,
         "ASSIGNMENT",
         "A path and its value, as mlagConfig.reloadDelay=120",
         "a path and its value, as mlagConfig.reloadDelay=120",
         assignments_ )
      .required();
   CLI::App& apply =
      add( "apply", "Applies a patch by name of mount, in one instant.", "json" );
   parser_
      .addText(
         apply, "FILE", " ", "A file, or - for standard input", "a file, or -", file_ )
      .required();
}

void
ClientLine::addRelease() {
   CLI::App& command = add( "release", "Releases ports by hand.", "json" );
   parser_.addTexts(
      command, "INTERFACE", "Ports that are errdisabled", "interfaces", interfaces_ );
   parser_.addFlag( command, "--all", isAll_, "All of them" );
   parser_.addFlag(
      command,
      "--offline",
      isOffline_,
      "With --all, when there is no host: take its holds from the devices" );
   parser_.addText(
      command,
      "--config",
      "FILE",
      "With --offline: the host's configuration, instead of /etc/ostra/ostra.yaml",
      "a file",
      config_ );
}

void
ClientLine::addForecast() {
   CLI::App& command =
      add( "forecast", "Shows what would happen on the live host from now on.", "ndjson" );
   parser_.addTexts(
      command,
      "PATCH",
      "What is changed first: a file, - for standard input, a patch in braces, or paths "
      "and values as `ostra set` takes them",
      "a patch",
      changes_ );
   parser_.addValue(
      command,
      "--until",
      "TIME",
      "End at that time from now, in seconds or like 1h30m",
      std::string( expectedScenarioTime ),
      [ this ]( std::string const& text ) {
         until_ = scenarioInstant( text );
         if ( !until_ ) {
            refuse(
               "ostra forecast: --until", inQuotes( text ), expectedInsteadOf( text ) );
         }
         return true;
      } );
}

void
ClientLine::addWhy() {
   CLI::App& command = add(
      "why",
      "Says why a port of the live host, or of a scenario, is held or not, and what would "
      "release it.",
      "json" );
   parser_
      .addText( command, "INTERFACE", " ", "The port", "the name of a port", interface_ )
      .required();
   parser_.addText(
      command,
      "SCENARIO",
      " ",
      "A file: asks a run of it instead of the live host",
      "a file",
      input_.scenario );
   parser_.addValue(
      command,
      "--at",
      "TIME",
      "Scenario time, in seconds or like 1h30m; 0 without it",
      std::string( expectedScenarioTime ),
      [ this ]( std::string const& text ) {
         at_ = scenarioInstant( text );
         return at_.has_value();
      } );
   parser_.addText(
      command,
      "--mounts",
      "FILE",
      "The state from which the run starts, as for `ostra run`",
      "a file",
      input_.mounts );
   parser_.addText(
      command,
      "--plugin",
      "PATH",
      "The plug-in for the run; without it, the one that belongs to this program",
      "the plug-in's file",
      input_.plugin );
}

ClientOptions
ClientLine::options() const {
   return { socket_, isJson_, hasColour( colour_ ), screenWidth(), only_ };
}

// What a command would not heed.
void
ClientLine::refuseUnheeded( std::string const& command ) const {
   std::string const where = "ostra " + command;
   if ( colour_ == Colour::always && isJson_ ) {
      refuse( where + ": --colour always", "another format", "--format text with it" );
   }
   if ( config_ && !isOffline_ ) {
      refuse( where, "--config", "--offline with it" );
   }
   if ( socket_ && input_.scenario ) {
      refuse( where, "--socket", "no SCENARIO with it, of which no host is asked" );
   }
}

bool
ClientLine::execute( std::string const& command, std::ostream& out ) const {
   refuseUnheeded( command );
   if ( command == "show" ) {
      show( out );
   } else if ( command == "alarms" ) {
      showAlarms( options(), out );
   } else if ( command == "watch" ) {
      watchLive( options(), out );
   } else if ( command == "history" ) {
      showHistory( options(), since_, limit_, out );
   } else if ( command == "set" ) {
      setLive( options(), assignments_, out );
   } else if ( command == "apply" ) {
      applyLive( options(), *file_, out );
   } else if ( command == "release" ) {
      release( out );
   } else if ( command == "forecast" ) {
      forecastLive( options(), changes_, until_, outputWidth(), out );
   } else if ( command == "why" ) {
      why( out );
   } else {
      return false;
   }
   return true;
}

void
ClientLine::show( std::ostream& out ) const {
   if ( path_ && shown_ != Shown::state ) {
      refuse( "ostra show", inQuotes( *path_ ), "a path behind state alone" );
   }
   if ( shown_ == Shown::state && colour_ == Colour::always ) {
      refuse( "ostra show: --colour always", "state", "summary or ports" );
   }
   showLive( options(), shown_, path_.value_or( "" ), out );
}

void
ClientLine::release( std::ostream& out ) const {
   if ( isAll_ == !interfaces_.empty() ) {
      refuse( "ostra release", isAll_ ? "both" : "nothing to do", "interfaces or --all" );
   }
   if ( isOffline_ && !isAll_ ) {
      refuse( "ostra release", "--offline", "--all with it" );
   }
   if ( isOffline_ ) {
      releaseOffline( config_, out );
   } else {
      releaseLive( options(), interfaces_, out );
   }
}

void
ClientLine::why( std::ostream& out ) const {
   if ( input_.scenario ) {
      tellWhyInRun(
         { input_,
           *interface_,
           at_.value_or( Milliseconds( 0 ) ),
           isJson_,
           hasColour( colour_ ),
           screenWidth() },
         out );
   } else if ( at_ || input_.mounts || input_.plugin ) {
      refuse(
         "ostra why",
         at_                ? "--at"
            : input_.mounts ? "--mounts"
                            : "--plugin",
         "a SCENARIO with it" );
   } else {
      tellWhy( options(), *interface_, out );
   }
}

} // namespace ostra
