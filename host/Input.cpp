// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/Input>

#include <host/BuiltinScenario>

namespace ostra {

namespace {

Document
scenarioDocument( std::optional< std::string > const& path ) {
   return path ? readDocument( *path )
               : parseDocument( "<built-in>", std::string( builtinScenario() ) );
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
        document_( scenarioDocument( options.scenario ) ),
        scenario_( read( options ) ) {}

Scenario
Input::read( InputOptions const& options ) {
   refuseTwoReaders( options );
   MountsPatch below;
   if ( options.mounts ) {
      below = readState( readFile( *options.mounts ), mounts_ );
   }
   Scenario scenario = readScenario(
      document_, mounts_, [ this ]() -> RyxType const& { return plugin_.agentType(); } );
   mounts_.apply( below );
   mounts_.apply( scenario.mounts );
   return scenario;
}

} // namespace ostra
