// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Input>

#include <host/BuiltinScenario>

namespace ostra {

namespace {

Document
scenarioDocument( InputOptions const& options ) {
   if ( !options.scenario ) {
      return parseDocument( "<built-in>", std::string( builtinScenario() ) );
   }
   File file = readFile( *options.scenario, options.maxInput );
   return parseDocument( std::move( file.name ), std::move( file.text ), options.maxInput );
}

void
refuseTwoReaders( InputOptions const& options ) {
   if ( options.scenario == "-" && options.mounts == "-" ) {
      throw Failure(
         ExitStatus::badInput,
         "ostra: --mounts: \"-\": expected a file, as standard input is the scenario" );
   }
}

} // namespace

RyxType const&
LazyPlugin::agentType() {
   if ( !plugin_ ) {
      plugin_.emplace( path_ );
   }
   return plugin_->agentType();
}

Input::Input( InputOptions const& options )
      : plugin_( options.plugin ),
        document_( scenarioDocument( options ) ),
        scenario_( read( options ) ) {}

Scenario
Input::read( InputOptions const& options ) {
   refuseTwoReaders( options );
   if ( options.mounts ) {
      readState( readFile( *options.mounts, options.maxInput ), mounts_, options.maxInput );
   }
   return readScenario(
      document_, mounts_, [ this ]() -> RyxType const& { return plugin_.agentType(); } );
}

} // namespace ostra
