// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/CommandLine>

#include <host/base/Failure>
#include <host/cli/InputArguments>
#include <host/cli/Reference>

#include <iostream>
#include <utility>

namespace ostra {

namespace {

constexpr char aboutOstra[] =
   "Loads the MLAG reload-delay plug-in and plays a switch reload against it.";
constexpr char checkDescription[] = "Validates a scenario without running it.";
constexpr char diffDescription[] =
   "Tells what two runs hold, release and say at other times; status 1 if they differ.";
constexpr char schemaDescription[] =
   "Prints what a file may have as a JSON schema, for editors.";
constexpr char serveDescription[] =
   "Runs the plug-in on this switch: keeps its state, and lets it be read and changed over "
   "HTTP.";
constexpr char typesDescription[] =
   "Lists the registered types with attribute ids, names, value types and flags.";

// For the manual page, and for nobody else.
constexpr char referenceCommand[] = "reference";
constexpr char referenceDescription[] = "Prints all commands and options as Markdown.";

constexpr char expectedCommand[] = "a command that `ostra --help` lists";
} // namespace

CommandLine::CommandLine() : parser_( "ostra", aboutOstra, expectedCommand ) {
   run_.addCommand();
   addCheck();
   addTypes();
   addSchema();
   addDiff();
   import_.addCommand();
   addServe();
   client_.addCommands();
   completion_.addCommand();
   parser_.addCommand( referenceCommand, referenceDescription ).group( "" );
}

void
CommandLine::execute( std::ostream& out ) const {
   std::string const command = parser_.command();
   if ( command == "run" ) {
      run_.execute( out, std::cerr );
   } else if ( command == "check" ) {
      refuseTwoReaders( parser_, check_.input );
      checkScenario( check_, out, std::cerr );
   } else if ( command == "types" ) {
      listTypes( types_, out );
   } else if ( command == "diff" ) {
      diffRuns( diff_, out );
   } else if ( command == "import" ) {
      import_.execute( out, std::cerr );
   } else if ( command == "schema" ) {
      printSchema( schema_, out );
   } else if ( command == "serve" ) {
      serve( serve_, out );
   } else if ( command == "completion" ) {
      completion_.execute( std::cin, out );
   } else if ( command == referenceCommand ) {
      printReference( parser_.app(), out );
   } else if ( !client_.execute( command, out ) ) {
      refuse( "ostra", "nothing to do", expectedCommand );
   }
}

void
CommandLine::addCheck() {
   CLI::App& command = parser_.addCommand( "check", checkDescription );
   addScenario( parser_, command, check_.input ).required();
   parser_.addFlag(
      command,
      "--strict",
      check_.isStrict,
      "Refuse a scenario that can be played and can hardly be meant, instead of "
      "warning" );
   addMounts( parser_, command, check_.input );
   addMaxInput( parser_, command, check_.input.maxInput );
   addPlugin( parser_, command, check_.input.plugin );
}

void
CommandLine::addTypes() {
   CLI::App& command = parser_.addCommand( "types", typesDescription );
   parser_.addText(
      command, "NAME", " ", "Only this type", "the name of a type", types_.name );
   parser_.addChoice< TypesFormat >(
      command,
      "--format",
      types_.format,
      { { "text", TypesFormat::text }, { "json", TypesFormat::json } },
      "For people (which it is without this), or a JSON array" );
   addPlugin( parser_, command, types_.plugin );
}

void
CommandLine::addSchema() {
   CLI::App& command = parser_.addCommand( "schema", schemaDescription );
   parser_.addChoice< Schema >(
      command,
      "WHAT",
      schema_,
      { { "scenario", Schema::scenario },
        { "config", Schema::config },
        { "summary", Schema::summary } },
      "scenario (which it is without this), config for the configuration of `ostra "
      "serve`, or summary for what `ostra run --format json` writes" );
}

void
CommandLine::addDiff() {
   CLI::App& command = parser_.addCommand( "diff", diffDescription );
   for ( auto const& [ name, file ] :
         { std::pair{ "FIRST", &diff_.first }, std::pair{ "SECOND", &diff_.second } } ) {
      parser_
         .addText( command, name, " ", "A scenario, or an event stream", "a file", *file )
         .required();
   }
   addPlugin( parser_, command, diff_.plugin );
}

void
CommandLine::addServe() {
   CLI::App& command = parser_.addCommand( "serve", serveDescription );
   parser_.addText(
      command,
      "--config",
      "FILE",
      "The configuration; without it, /etc/ostra/ostra.yaml if that is there",
      "the configuration's file",
      serve_.config );
   parser_.addFlag(
      command, "--check", serve_.isCheck, "Read the configuration and say what is wrong" );
   addPlugin( parser_, command, serve_.plugin );
}

} // namespace ostra
