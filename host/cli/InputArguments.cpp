// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/InputArguments>

#include <host/base/Failure>
#include <host/base/IntfRanges>
#include <host/input/DocumentTree>

#include <Ryx/Exception>

#include <fmt/format.h>

namespace ostra {

namespace {

// The offsets in a document are not large enough for a longer file.
constexpr std::size_t greatestMaxInput = DocumentTree::longestText / mebibyte;

} // namespace

CLI::Option&
addScenario( CliParser& parser, CLI::App& command, InputOptions& input ) {
   return parser.addText(
      command,
      "SCENARIO",
      " ",
      "A file, or - for standard input",
      expectedFile,
      input.scenario );
}

void
addPlugin( CliParser& parser, CLI::App& command, std::optional< std::string >& plugin ) {
   parser.addText(
      command,
      "--plugin",
      "PATH",
      "The plug-in; without it, the one that belongs to this program",
      "the plug-in's file",
      plugin );
}

void
addMounts( CliParser& parser, CLI::App& command, InputOptions& input ) {
   parser.addText(
      command,
      "--mounts",
      "FILE",
      "The state at which an earlier run ended, over which the scenario's own mounts "
      "are laid: that run's ndjson stream, its last line, or the state in that. Times "
      "in it are absolute: to resume, give the scenario the startTime at which it goes "
      "on, the earlier one plus the t of the end",
      expectedFile,
      input.mounts );
}

void
addMaxInput( CliParser& parser, CLI::App& command, std::size_t& maxInput ) {
   parser.addValue(
      command,
      "--max-input",
      "MIB",
      fmt::format(
         "The longest file that is read, in MiB, also with what its aliases stand for; "
         "{} without it",
         defaultMaxInput / mebibyte ),
      fmt::format( "a number of MiB from 1 to {}", greatestMaxInput ),
      [ &maxInput ]( std::string const& text ) {
         std::size_t const mebibytes = wholeNumber< std::size_t >( text ).value_or( 0 );
         maxInput = mebibytes * mebibyte;
         return mebibytes >= 1 && mebibytes <= greatestMaxInput;
      } );
}

void
addOnly(
   CliParser& parser,
   CLI::App& command,
   std::string const& help,
   std::optional< std::vector< Kovel::IntfId > >& interfaces ) {
   parser.addValue(
      command,
      "--only",
      "INTERFACES",
      help,
      "interfaces, as Ethernet1-4,7",
      [ &interfaces, name = command.get_name() ]( std::string const& text ) {
         try {
            interfaces = interfacesOf( text );
         } catch ( Ryx::RangeException const& error ) {
            throw Failure(
               ExitStatus::badInput,
               fmt::format(
                  "ostra {}: --only: {}", name, shortenedIn( error.message(), text ) ) );
         }
         return true;
      } );
}

void
refuseTwoReaders( CliParser const& parser, InputOptions const& input ) {
   if ( input.scenario == "-" && input.mounts == "-" ) {
      refuse(
         fmt::format( "ostra {}: --mounts", parser.command() ),
         inQuotes( "-" ),
         "a file, as standard input is the scenario" );
   }
}

} // namespace ostra
