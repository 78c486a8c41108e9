// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Cli>

#include <host/Commands>
#include <host/Failure>
#include <host/OutputBuffer>

#include <Ryx/Trace>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <utility>
#include <vector>

#include <unistd.h>

namespace ostra {

namespace {

constexpr char programVersion[] = "ostra " OSTRA_VERSION;

constexpr char description[] =
   "Loads the MLAG reload-delay plug-in and plays a switch reload against it.";
constexpr char runDescription[] =
   "Plays a scenario and reports every write and log. Without a scenario, a leaf switch "
   "reloads.";
constexpr char checkDescription[] = "Validates a scenario without running it.";
constexpr char typesDescription[] =
   "Lists the registered types with attribute ids, names, value types and flags.";

template< class E >
using Choices = std::vector< std::pair< std::string, E > >;

// An option that takes one of these words.
template< class E >
void
addChoice(
   CLI::App& app,
   std::string const& name,
   E& value,
   Choices< E > const& choices,
   std::string const& text ) {
   std::string words;
   for ( auto const& choice : choices ) {
      words += ( words.empty() ? "" : "|" ) + choice.first;
   }
   app.add_option_function< std::string >(
         name,
         [ name, &value, choices, words ]( std::string const& word ) {
            auto const found =
               std::find_if( choices.begin(), choices.end(), [ & ]( auto const& choice ) {
                  return choice.first == word;
               } );
            if ( found == choices.end() ) {
               throw CLI::ValidationError(
                  name, fmt::format( "{}: expected {}", inQuotes( word ), words ) );
            }
            value = found->second;
         },
         text )
      ->option_text( words );
}

class CommandLine {
 public:
   CommandLine() : app_( description, "ostra" ) {
      app_.set_version_flag( "--version", programVersion );
      app_.require_subcommand( 0, 1 );
      addRun();
      addCheck();
      addTypes();
   }

   void parse( int argc, char** argv ) { app_.parse( argc, argv ); }
   // Prints what a help or version option asks for.
   void answer( CLI::ParseError const& question, std::ostream& out ) const {
      app_.exit( question, out, out );
   }

   void execute( std::ostream& out ) const {
      if ( app_.got_subcommand( "run" ) ) {
         runScenario( run_, out );
      } else if ( app_.got_subcommand( "check" ) ) {
         checkScenario( check_, out );
      } else if ( app_.got_subcommand( "types" ) ) {
         listTypes( types_, out );
      } else {
         throw Failure(
            ExitStatus::badInput, "ostra: expected a command: run, check or types" );
      }
   }

 private:
   CLI::App& addCommand( std::string const& name, std::string const& text ) {
      CLI::App* const command = app_.add_subcommand( name, text );
      command->set_version_flag( "--version", programVersion );
      return *command;
   }

   static void addPlugin( CLI::App& command, std::optional< std::string >& plugin ) {
      command.add_option( "--plugin", plugin, "The plug-in's file" )->type_name( "PATH" );
   }

   static void addMounts( CLI::App& command, InputOptions& input ) {
      command
         .add_option(
            "--mounts",
            input.mounts,
            "The state at which an earlier run ended: the line of its end or the "
            "state in it; the scenario's own mounts are laid over it" )
         ->type_name( "FILE" );
   }

   void addRun() {
      CLI::App& command = addCommand( "run", runDescription );
      command.add_option(
         "SCENARIO", run_.input.scenario, "A file, or - for standard input" );
      addChoice< RunFormat >(
         command,
         "--format",
         run_.format,
         { { "text", RunFormat::text }, { "ndjson", RunFormat::ndjson } },
         "For people, or one JSON object a line" );
      addChoice< Colour >(
         command,
         "--colour,--color",
         run_.colour,
         { { "auto", Colour::automatic },
           { "always", Colour::always },
           { "never", Colour::never } },
         "When the text has colours; auto: on a terminal" );
      command.add_option( "--trace", run_.trace, "Report trace lines up to that level" )
         ->check( CLI::Range( 0, int( Ryx::TraceHandle::levels ) - 1 ) )
         ->type_name( "LEVEL" );
      command
         .add_option(
            "--until",
            run_.until,
            "Scenario time at which the run ends, in seconds; overrides the "
            "scenario's own" )
         ->type_name( "T" );
      command.add_flag( "--real-time", run_.realTime, "A second takes a second" );
      addMounts( command, run_.input );
      addPlugin( command, run_.input.plugin );
   }

   void addCheck() {
      CLI::App& command = addCommand( "check", checkDescription );
      command.add_option( "SCENARIO", check_.scenario, "A file, or - for standard input" )
         ->required();
      addMounts( command, check_ );
      addPlugin( command, check_.plugin );
   }

   void addTypes() {
      CLI::App& command = addCommand( "types", typesDescription );
      command.add_option( "NAME", types_.name, "Only this type" );
      addChoice< TypesFormat >(
         command,
         "--format",
         types_.format,
         { { "text", TypesFormat::text }, { "json", TypesFormat::json } },
         "For people, or a JSON array" );
      addPlugin( command, types_.plugin );
   }

   CLI::App app_;
   RunOptions run_;
   InputOptions check_;
   TypesOptions types_;
};

int
complain( ExitStatus status, std::string const& line ) {
   std::cerr << oneLine( line ) << '\n';
   return static_cast< int >( status );
}

// Does what the command line says and returns the exit status, with the complaint made.
int
execute( int argc, char** argv, std::ostream& out ) {
   CommandLine line;
   try {
      line.parse( argc, argv );
      line.execute( out );
      return 0;
   } catch ( CLI::ParseError const& error ) {
      if ( error.get_exit_code() != 0 ) {
         return complain( ExitStatus::badInput, fmt::format( "ostra: {}", error.what() ) );
      }
      line.answer( error, out );
      return 0;
   } catch ( Failure const& failure ) {
      out.flush();
      return complain( failure.status(), failure.what() );
   } catch ( std::exception const& error ) {
      out.flush();
      return complain( ExitStatus::failed, fmt::format( "ostra: {}", error.what() ) );
   }
}

} // namespace

int
runCommandLine( int argc, char** argv ) {
   std::signal( SIGPIPE, SIG_IGN );
   OutputBuffer buffer( STDOUT_FILENO );
   std::ostream out( &buffer );
   int const status = execute( argc, argv, out );
   out.flush();
   // Whoever read the output may have gone, which is no failure.
   if ( buffer.error() == 0 || buffer.error() == EPIPE ) {
      return status;
   }
   return complain(
      ExitStatus::failed,
      fmt::format( "ostra: cannot write: {}", std::strerror( buffer.error() ) ) );
}

} // namespace ostra
