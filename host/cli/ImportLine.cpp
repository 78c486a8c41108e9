// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/ImportLine>

#include <host/base/Failure>
#include <host/cli/InputArguments>
#include <host/import/ForeignNames>
#include <host/import/Import>

#include <fmt/format.h>

namespace ostra {

namespace {

constexpr char importDescription[] = "Writes a scenario of a switch from what is known of "
                                     "it: the output of `ip -json -details "
                                     "link`, or a config_db.json.";

std::vector< InterfaceRule >
namesIn( std::string const& configFile ) {
   Config config = loadConfig( configFile );
   if ( config.linux.interfaces.empty() ) {
      throw Failure(
         ExitStatus::badInput,
         fmt::format( "{}: linux.interfaces: none: expected patterns", config.name ) );
   }
   return std::move( config.linux.interfaces );
}

} // namespace

void
ImportLine::addCommand() {
   CLI::App& command = parser_.addCommand( "import", importDescription );
   parser_
      .addText(
         command, "FILE", " ", "A file, or - for standard input", expectedFile, file_ )
      .required();
   parser_.addText(
      command,
      "--names",
      "FILE",
      "A configuration of `ostra serve` whose patterns in linux.interfaces say which "
      "device is which interface; without it, the usual names, as swp1 or PortChannel7",
      "the configuration's file",
      names_ );
   parser_.addText(
      command,
      "--peer-link",
      "NAME",
      "The port or port-channel that is the MLAG peer link, where the file does not say it",
      "a port or port-channel of the file",
      peerLink_ );
   addMaxInput( parser_, command, maxInput_ );
}

void
ImportLine::execute( std::ostream& out, std::ostream& err ) const {
   ImportOptions options{ names_ ? namesIn( *names_ ) : usualNames(),
                          peerLink_,
                          maxInput_ };
   auto const imported = importScenario( readFile( *file_, maxInput_ ), options );
   for ( std::string const& line : imported.warnings ) {
      err << oneLine( line ) << '\n';
   }
   out << imported.text;
}

} // namespace ostra
