// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/cli/Input>

#include <host/cli/BuiltinScenario>

namespace ostra {

namespace {

Document
scenarioDocument( InputOptions const& options ) {
   if ( !options.scenario ) {
      return parseScenario( "<built-in>", std::string( builtinScenario() ) );
   }
   File file = readFile( *options.scenario, options.maxInput );
   return parseScenario( std::move( file.name ), std::move( file.text ), options.maxInput );
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
      : plugin_( options.plugin ), scenario_( read( options ) ) {}

Scenario
Input::read( InputOptions const& options ) {
   if ( options.mounts ) {
      readState( readFile( *options.mounts, options.maxInput ), mounts_, options.maxInput );
   }
   return readScenario( scenarioDocument( options ), mounts_, [ this ]() -> RyxType const& {
      return plugin_.agentType();
   } );
}

void
Input::releaseDocument() {
   if ( scenario_.events.empty() ) {
      scenario_.document.reset();
   }
}

} // namespace ostra
